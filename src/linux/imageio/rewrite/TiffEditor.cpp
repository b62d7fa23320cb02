#include "linux/imageio/rewrite/TiffEditor.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>

#include "linux/imageio/rewrite/TiffTags.h"

namespace tessaly::imageio {
namespace {

constexpr std::size_t kMaximumDirectories = 256;
constexpr int kMaximumDepth = 6;
constexpr std::uint64_t kMaximumParts = 1 << 20;

/// Where the data that a directory describes stand: tag of the offsets, tag of the lengths.
constexpr std::array kDataTags{
    std::pair{tag::kStripOffsets, tag::kStripByteCounts},
    std::pair{tag::kTileOffsets, tag::kTileByteCounts},
    std::pair{tag::kJpegOffset, tag::kJpegLength},
};

class Editor {
public:
    Editor(TiffContext& tiff, const TiffRules& rules)
        : tiff_(tiff), rules_(rules), tailStart_((tiff.source.size() - tiff.base + 1) / 2 * 2), tail_(tiff.order) {}

    TiffEdit run(std::uint64_t firstDirectory) {
        const std::uint64_t moved = changed(TiffKind::first, firstDirectory, 0);
        const std::uint64_t header = tiff_.base + (tiff_.big ? 8 : 4);
        kept_.add(tiff_.base, tiff_.big ? 16 : 8);
        if (moved != firstDirectory) patchOffset(header, moved);
        return finished();
    }

private:
    struct Shape {
        std::size_t countSize, entrySize, offsetSize;
    };
    [[nodiscard]] Shape shape() const { return tiff_.big ? Shape{8, 20, 8} : Shape{2, 12, 4}; }

    /// A field of the directory as it will be: 12 (20) bytes.
    struct Row {
        std::uint16_t tag;
        ByteVector bytes;
    };

    void patch(std::uint64_t position, ByteVector bytes) { patches_.insert_or_assign(position, std::move(bytes)); }
    void patchOffset(std::uint64_t position, std::uint64_t offset) {
        patch(position, ByteWriter(tiff_.order).writeSized(offset, shape().offsetSize).take());
    }
    /// Appends to the tail; its offset as the structure counts.
    std::uint64_t append(Bytes bytes) {
        tail_.alignTo(2);
        const std::uint64_t offset = tailStart_ + tail_.size();
        tail_.bytes(bytes);
        return offset;
    }

    [[nodiscard]] bool isOutOfLine(const TiffEntry& entry) const {
        return entry.byteLength() > shape().offsetSize && sizeOf(entry.type) != 0;
    }
    [[nodiscard]] std::uint64_t tableLength(const TiffDirectory& directory) const {
        return shape().countSize + directory.entries.size() * shape().entrySize + shape().offsetSize;
    }
    bool enter(std::uint64_t offset) {
        if (offset == 0 || visited_.size() >= kMaximumDirectories) return false;
        if (std::ranges::find(visited_, offset) != visited_.end()) return false;
        visited_.push_back(offset);
        return true;
    }

    void noteData(const TiffDirectory& directory, ByteRanges& ranges) {
        for (const auto& [offsetTag, lengthTag] : kDataTags) {
            const auto offsets = directory.find(offsetTag);
            const auto lengths = directory.find(lengthTag);
            if (!offsets || !lengths) continue;
            for (std::uint64_t i = 0; i < std::min(offsets->count, kMaximumParts); ++i) {
                const auto offset = offsets->integer(tiff_, i);
                const auto length = lengths->integer(tiff_, i);
                if (!offset || !length) break;
                ranges.add(tiff_.base + *offset, *length);
            }
        }
    }

    /// Notes a directory that goes, with everything below it.
    void erase(std::uint64_t offset, int depth) {
        if (depth > kMaximumDepth || !enter(offset)) return;
        const TiffDirectory directory = readTiffDirectory(tiff_, offset);
        if (directory.entries.empty()) return;
        erased_.add(tiff_.base + offset, tableLength(directory));
        noteData(directory, erased_);
        for (std::size_t i = 0; i < directory.entries.size(); ++i) eraseValue(directory.entries[i], depth);
    }

    void eraseValue(const TiffEntry& entry, int depth) {
        if (isOutOfLine(entry)) erased_.add(entry.position, entry.byteLength());
        if (!pointedKind(entry.tag)) return;
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(entry.count, kMaximumDirectories); ++i)
            if (const auto offset = entry.integer(tiff_, i)) erase(*offset, depth + 1);
    }

    /// Changes the directory at `offset` and those below it. @return where it stands then.
    std::uint64_t changed(TiffKind kind, std::uint64_t offset, int depth) {
        if (depth > kMaximumDepth || !enter(offset)) return offset;
        const TiffDirectory directory = readTiffDirectory(tiff_, offset);
        const bool mends = !directory.complete && rules_.mendsDirectories && directory.entries.size() != 0;
        if (!directory.complete && !mends) return offset;
        bool differs = mends;
        std::vector<Row> rows;
        rows.reserve(directory.entries.size());
        for (std::size_t i = 0; i < directory.entries.size(); ++i)
            differs |= !keepOrChange(kind, directory.entries[i], rows, depth);
        noteData(directory, kept_);
        differs |= addSets(kind, rows);
        std::uint64_t next = directory.next;
        if (next != 0 && (kind == TiffKind::first || kind == TiffKind::further)) {
            if (rules_.removesFurther) {
                eraseChain(next, depth);
                next = 0;
            } else {
                next = changed(TiffKind::further, next, depth);
            }
            differs |= next != directory.next;
        }
        const std::uint64_t position = tiff_.base + offset;
        if (!differs) {
            kept_.add(position, tableLength(directory));
            return offset;
        }
        return place(directory, position, offset, std::move(rows), next);
    }

    void eraseChain(std::uint64_t offset, int depth) {
        while (offset != 0 && std::ranges::find(visited_, offset) == visited_.end() &&
               visited_.size() < kMaximumDirectories) {
            const std::uint64_t next = readTiffDirectory(tiff_, offset).next;
            erase(offset, depth);
            offset = next;
        }
    }

    /// Adds the row of a field as it will be. @return whether it is as it was.
    bool keepOrChange(TiffKind kind, const TiffEntry& entry, std::vector<Row>& rows, int depth) {
        // A count that is too large takes values for fields; they would not sort with the others.
        if (sizeOf(entry.type) == 0) return true;
        const bool isSet = std::ranges::any_of(
            rules_.sets, [&](const auto& set) { return set.first == kind && set.second.tag == entry.tag; });
        if (isSet || (rules_.removes && rules_.removes(kind, entry))) {
            eraseValue(entry, depth);
            return false;
        }
        if (rules_.replaces) {
            if (const auto value = entry.bytes(tiff_))
                if (auto field = rules_.replaces(kind, entry, *value)) {
                    if (field->count == 0) {
                        eraseValue(entry, depth);
                        return false;
                    }
                    rows.push_back(replaced(entry, std::move(*field)));
                    return false;
                }
        }
        if (isOutOfLine(entry)) kept_.add(entry.position, entry.byteLength());
        if (entry.tag == tag::kMake)
            if (const auto make = entry.bytes(tiff_)) make_ = std::string(asText(*make));
        if (entry.tag == tag::kMakerNote) trimNote(entry);
        const auto bytes = tiff_.source.bytes(entry.entryPosition, shape().entrySize);
        if (!bytes) return false;
        rows.push_back({entry.tag, copyOf(*bytes)});
        return !pointedKind(entry.tag) || followPointers(*pointedKind(entry.tag), entry, rows.back(), depth);
    }

    /// A field that moves takes what is overwritten of a value inside it along.
    static ByteVector patchedRow(Bytes row, std::uint64_t position, const std::vector<RewritePlan::Patch>& patches) {
        ByteVector made = copyOf(row);
        for (const RewritePlan::Patch& one : patches)
            if (one.offset >= position && one.offset + one.bytes.size() <= position + made.size())
                std::ranges::copy(one.bytes, made.begin() + static_cast<std::ptrdiff_t>(one.offset - position));
        return made;
    }

    /// Takes fields out of a note's directories, which stay where they are: the fields behind move up.
    void trimNote(const TiffEntry& note) {
        for (const NoteTrim& trim : noteTrims(tiff_, note, make_, rules_.noteFields)) {
            for (const RewritePlan::Patch& one : trim.patches) patch(one.offset, one.bytes);
            if (trim.tags.empty()) continue;
            ByteWriter rows(trim.tiff.order);
            std::uint16_t count = 0;
            for (std::size_t i = 0; i < trim.directory.entries.size(); ++i) {
                const TiffEntry entry = trim.directory.entries[i];
                const auto row = trim.tiff.source.bytes(entry.entryPosition, 12);
                if (!row) return;
                if (std::ranges::find(trim.tags, entry.tag) != trim.tags.end()) {
                    if (entry.byteLength() > 4) blanks_.add(entry.position, entry.byteLength());
                    continue;
                }
                rows.bytes(patchedRow(*row, entry.entryPosition, trim.patches));
                ++count;
            }
            const std::size_t size = trim.directory.entries.size() * 12;
            const auto next = trim.tiff.source.bytesUpTo(trim.position + 2 + size, 4);
            ByteWriter table(trim.tiff.order);
            table.write(count).bytes(rows.view()).bytes(next).zeros(size - rows.size());
            patch(trim.position, table.take());
        }
    }

    /// @return whether every directory that the field points to stays where it is.
    bool followPointers(TiffKind kind, const TiffEntry& entry, Row& row, int depth) {
        bool stays = true;
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(entry.count, kMaximumDirectories); ++i) {
            const auto offset = entry.integer(tiff_, i);
            if (!offset || *offset == 0) continue;
            const std::uint64_t moved = changed(kind, *offset, depth + 1);
            if (moved == *offset) continue;
            if (isOutOfLine(entry)) {
                patchOffset(entry.position + i * shape().offsetSize, moved);
            } else {
                const auto bytes = ByteWriter(tiff_.order).writeSized(moved, shape().offsetSize).take();
                std::ranges::copy(bytes, row.bytes.end() - static_cast<std::ptrdiff_t>(shape().offsetSize));
                stays = false;
            }
        }
        return stays;
    }

    /// A field of new length, in the old value's place where it fits.
    Row replaced(const TiffEntry& entry, TiffField field) {
        if (isOutOfLine(entry) && field.value.size() <= entry.byteLength() && field.value.size() > shape().offsetSize &&
            entry.position >= tiff_.base) {
            erased_.add(entry.position, entry.byteLength());
            kept_.add(entry.position, field.value.size());
            patch(entry.position, field.value);
            return row(field, entry.position - tiff_.base);
        }
        eraseValue(entry, kMaximumDepth);
        return row(std::move(field));
    }

    Row row(TiffField field) {
        if (field.value.size() <= shape().offsetSize) return row(field, 0);
        const std::uint64_t offset = append(field.value);
        return row(field, offset);
    }

    [[nodiscard]] Row row(const TiffField& field, std::uint64_t offset) const {
        ByteWriter writer(tiff_.order);
        writer.write(field.tag).write(static_cast<std::uint16_t>(field.type));
        writer.writeSized(field.count, shape().offsetSize);
        if (field.value.size() <= shape().offsetSize)
            writer.bytes(field.value).zeros(shape().offsetSize - field.value.size());
        else
            writer.writeSized(offset, shape().offsetSize);
        return {field.tag, writer.take()};
    }

    bool addSets(TiffKind kind, std::vector<Row>& rows) {
        const std::size_t before = rows.size();
        for (const auto& [directory, field] : rules_.sets)
            if (directory == kind) rows.push_back(row(field));
        if (kind == TiffKind::first) {
            addMissing(TiffKind::exif, tag::kExif, rows);
            addMissing(TiffKind::gps, tag::kGps, rows);
        }
        if (kind == TiffKind::exif) addMissing(TiffKind::interoperability, tag::kInteroperability, rows);
        return rows.size() != before;
    }

    void addMissing(TiffKind kind, std::uint16_t pointer, std::vector<Row>& rows) {
        const bool isWanted = std::ranges::any_of(rules_.sets, [&](const auto& set) { return set.first == kind; }) ||
                              (kind == TiffKind::exif && std::ranges::any_of(rules_.sets, [](const auto& set) {
                                   return set.first == TiffKind::interoperability;
                               }));
        if (!isWanted || std::ranges::find(rows, pointer, &Row::tag) != rows.end()) return;
        std::vector<Row> inside;
        addSets(kind, inside);
        const std::uint64_t offset = append(table(std::move(inside), 0));
        rows.push_back(row({pointer, TiffType::longInteger, 1,
                            ByteWriter(tiff_.order).write(static_cast<std::uint32_t>(offset)).take()},
                           0));
    }

    [[nodiscard]] ByteVector table(std::vector<Row> rows, std::uint64_t next) const {
        std::ranges::stable_sort(rows, {}, &Row::tag);
        ByteWriter writer(tiff_.order);
        writer.writeSized(rows.size(), shape().countSize);
        for (const Row& one : rows) writer.bytes(one.bytes);
        return writer.writeSized(next, shape().offsetSize).take();
    }

    std::uint64_t place(const TiffDirectory& directory, std::uint64_t position, std::uint64_t offset,
                        std::vector<Row> rows, std::uint64_t next) {
        const std::size_t count = rows.size();
        ByteVector bytes = table(std::move(rows), next);
        if (count > directory.entries.size() || !directory.complete) {
            erased_.add(position, tableLength(directory));
            return append(bytes);
        }
        bytes.resize(static_cast<std::size_t>(tableLength(directory)));
        kept_.add(position, bytes.size());
        patch(position, std::move(bytes));
        return offset;
    }

    TiffEdit finished() {
        TiffEdit edit;
        edit.tailStart = tiff_.base + tailStart_;
        edit.tail = tail_.take();
        std::map<std::uint64_t, ByteVector> all;
        const auto blank = [&](const ByteRange& range) {
            const std::uint64_t end = std::min(range.end, tiff_.source.size());
            if (range.start < end) all[range.start] = ByteVector(static_cast<std::size_t>(end - range.start));
        };
        for (const ByteRange& range : erased_.without(kept_)) blank(range);
        for (const ByteRange& range : blanks_.tidy()) blank(range);
        for (auto& [position, bytes] : patches_) all[position] = std::move(bytes);
        std::uint64_t end = 0;
        for (auto& [position, bytes] : all) {
            if (position < end) continue;  // Structures that overlap each other: the first one holds.
            end = position + bytes.size();
            edit.patches.push_back({position, std::move(bytes)});
        }
        return edit;
    }

    TiffContext& tiff_;
    const TiffRules& rules_;
    std::uint64_t tailStart_;
    ByteWriter tail_;
    ByteRanges kept_, erased_, blanks_;
    std::map<std::uint64_t, ByteVector> patches_;
    std::vector<std::uint64_t> visited_;
    std::string make_;
};

}  // namespace

std::optional<TiffKind> pointedKind(std::uint16_t tag) noexcept {
    switch (tag) {
        case tag::kExif:
            return TiffKind::exif;
        case tag::kGps:
            return TiffKind::gps;
        case tag::kInteroperability:
            return TiffKind::interoperability;
        case tag::kSubDirectories:
            return TiffKind::image;
        default:
            return std::nullopt;
    }
}

ByteVector TiffEdit::applied(Bytes block) const {
    ByteVector whole = copyOf(block);
    for (const RewritePlan::Patch& patch : patches)
        if (patch.offset + patch.bytes.size() <= whole.size())
            std::ranges::copy(patch.bytes, whole.begin() + static_cast<std::ptrdiff_t>(patch.offset));
    if (tail.empty()) return whole;
    whole.resize(static_cast<std::size_t>(tailStart));
    whole.insert(whole.end(), tail.begin(), tail.end());
    return whole;
}

std::optional<TiffEdit> editTiff(ByteSource& source, std::uint64_t base, const TiffRules& rules) {
    auto header = readTiffHeader(source, base);
    if (!header) return std::nullopt;
    return Editor(header->context, rules).run(header->firstDirectory);
}

}  // namespace tessaly::imageio
