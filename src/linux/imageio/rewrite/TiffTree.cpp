#include "linux/imageio/rewrite/TiffTree.h"

#include <algorithm>

#include "linux/imageio/rewrite/TiffTags.h"

namespace tessaly::imageio {
namespace {

constexpr std::size_t kMaximumDirectories = 4096;
constexpr int kMaximumDepth = 6;
constexpr std::uint64_t kMaximumParts = 1 << 20;

/// The tag of the lengths that belong to a tag of offsets, 0 for any other tag.
std::uint16_t lengthTagOf(std::uint16_t offsetTag) {
    switch (offsetTag) {
        case tag::kStripOffsets:
            return tag::kStripByteCounts;
        case tag::kTileOffsets:
            return tag::kTileByteCounts;
        case tag::kJpegOffset:
            return tag::kJpegLength;
        default:
            return 0;
    }
}

class TreeReader {
public:
    TreeReader(TiffContext& tiff, const TiffFilter& keeps, ByteRanges& parts)
        : tiff_(tiff), keeps_(keeps), parts_(parts) {}

    std::optional<std::vector<TiffTree>> readChain(TiffKind kind, std::uint64_t offset, int depth) {
        std::vector<TiffTree> chain;
        while (offset != 0) {
            if (depth > kMaximumDepth || ++directories_ > kMaximumDirectories) return std::nullopt;
            const TiffDirectory directory = readTiffDirectory(tiff_, offset);
            if (!directory.complete) return std::nullopt;
            TiffTree tree;
            for (std::size_t i = 0; i < directory.entries.size(); ++i)
                if (!take(kind, directory, directory.entries[i], tree, depth)) return std::nullopt;
            chain.push_back(std::move(tree));
            if (kind != TiffKind::first && kind != TiffKind::further) break;
            kind = TiffKind::further;
            offset = directory.next;
        }
        return chain;
    }

private:
    bool take(TiffKind kind, const TiffDirectory& directory, const TiffEntry& entry, TiffTree& tree, int depth) {
        if (sizeOf(entry.type) == 0 || (keeps_ && !keeps_(kind, entry))) return true;
        if (const auto pointed = pointedKind(entry.tag)) return takeChildren(*pointed, entry, tree, depth);
        if (const std::uint16_t lengths = lengthTagOf(entry.tag))
            if (const auto lengthEntry = directory.find(lengths)) return takeParts(entry, *lengthEntry, tree);
        const auto value = entry.bytes(tiff_);
        if (!value) return false;
        tree.fields.push_back({entry.tag, entry.type, entry.count, copyOf(*value)});
        return true;
    }

    bool takeChildren(TiffKind kind, const TiffEntry& entry, TiffTree& tree, int depth) {
        TiffTree::Child child{entry.tag, {}};
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(entry.count, kMaximumDirectories); ++i) {
            const auto offset = entry.integer(tiff_, i);
            if (!offset) return false;
            auto trees = readChain(kind, *offset, depth + 1);
            if (!trees) return false;
            if (!trees->empty() && !trees->front().fields.empty()) child.trees.push_back(std::move(trees->front()));
        }
        if (!child.trees.empty()) tree.children.push_back(std::move(child));
        return true;
    }

    bool takeParts(const TiffEntry& offsets, const TiffEntry& lengths, TiffTree& tree) {
        if (offsets.count > kMaximumParts) return false;
        TiffTree::Parts parts{offsets.tag, offsets.type, {}};
        for (std::uint64_t i = 0; i < offsets.count; ++i) {
            const auto offset = offsets.integer(tiff_, i);
            const auto length = lengths.integer(tiff_, i);
            if (!offset || !length) return false;
            const std::uint64_t start = tiff_.base + *offset;
            const std::uint64_t size = tiff_.source.size();
            if (start > size) return false;
            // A last strip whose length reaches beyond the end of the file is common, and shown as far as it goes.
            parts_.add(start, std::min(*length, size - start));
            parts.offsets.push_back(start);
        }
        tree.parts.push_back(std::move(parts));
        return true;
    }

    TiffContext& tiff_;
    const TiffFilter& keeps_;
    ByteRanges& parts_;
    std::size_t directories_ = 0;
};

class TreeWriter {
public:
    TreeWriter(ByteOrder order, bool big) : order_(order), big_(big), writer_(order) {}

    RewritePlan run(const std::vector<TiffTree>& chain, ByteRanges& ranges) {
        writer_.text(order_ == ByteOrder::little ? "II" : "MM");
        if (big_)
            writer_.write(std::uint16_t{43}).write(std::uint16_t{8}).write(std::uint16_t{0}).write(std::uint64_t{16});
        else
            writer_.write(std::uint16_t{42}).write(std::uint32_t{8});
        std::size_t link = 0;
        for (const TiffTree& tree : chain) {
            writer_.alignTo(2);
            if (link != 0) patchOffset(link, writer_.size());
            link = writeDirectory(tree);
        }
        writer_.alignTo(2);
        const MovedRanges moved(ranges.tidy(), writer_.size(), 2);
        for (const auto& [position, target, size] : references_) {
            const std::uint64_t destination = moved.destinationOf(target).value_or(0);
            const auto bytes = ByteWriter(order_).writeSized(destination, size).take();
            for (std::size_t i = 0; i < size; ++i) writer_.patch(position + i, std::to_integer<std::uint8_t>(bytes[i]));
        }
        RewritePlan plan;
        plan.add(writer_.take());
        moved.addTo(plan);
        return plan;
    }

private:
    struct Reference {
        std::size_t position;
        std::uint64_t target;
        std::size_t size;
    };
    /// A field and where its value is made.
    struct Row {
        std::uint16_t tag;
        TiffType type;
        std::uint64_t count;
        const ByteVector* value = nullptr;
        const TiffTree::Parts* parts = nullptr;
        const TiffTree::Child* child = nullptr;
    };

    [[nodiscard]] std::size_t offsetSize() const { return big_ ? 8 : 4; }

    void patchOffset(std::size_t at, std::uint64_t offset) {
        if (big_)
            writer_.patch(at, offset);
        else
            writer_.patch(at, static_cast<std::uint32_t>(offset));
    }

    [[nodiscard]] std::vector<Row> rowsOf(const TiffTree& tree) const {
        std::vector<Row> rows;
        for (const TiffField& field : tree.fields)
            rows.push_back({field.tag, field.type, field.count, &field.value, nullptr, nullptr});
        const TiffType pointer = big_ ? TiffType::long8 : TiffType::longInteger;
        for (const TiffTree::Parts& parts : tree.parts)
            rows.push_back({parts.offsetTag, pointer, parts.offsets.size(), nullptr, &parts, nullptr});
        for (const TiffTree::Child& child : tree.children)
            rows.push_back({child.tag, pointer, child.trees.size(), nullptr, nullptr, &child});
        std::ranges::stable_sort(rows, {}, &Row::tag);
        return rows;
    }

    /// @return where the offset of the next directory is to be patched.
    std::size_t writeDirectory(const TiffTree& tree) {
        const std::vector<Row> rows = rowsOf(tree);
        writer_.writeSized(rows.size(), big_ ? 8 : 2);
        const std::size_t table = writer_.size();
        const std::size_t entrySize = big_ ? 20 : 12;
        writer_.zeros(rows.size() * entrySize + offsetSize());
        for (std::size_t i = 0; i < rows.size(); ++i) writeRow(rows[i], table + i * entrySize);
        return table + rows.size() * entrySize;
    }

    void writeRow(const Row& row, std::size_t at) {
        writer_.patch(at, row.tag);
        writer_.patch(at + 2, static_cast<std::uint16_t>(row.type));
        patchOffset(at + 4, row.count);
        const std::size_t valueAt = at + 4 + offsetSize();
        const std::size_t length = row.value ? row.value->size() : static_cast<std::size_t>(row.count) * offsetSize();
        std::size_t position = valueAt;
        if (length > offsetSize()) {
            writer_.alignTo(2);
            position = writer_.size();
            patchOffset(valueAt, position);
            writer_.zeros(length);
        }
        if (row.value)
            for (std::size_t i = 0; i < length; ++i)
                writer_.patch(position + i, std::to_integer<std::uint8_t>((*row.value)[i]));
        if (row.parts)
            for (std::size_t i = 0; i < row.parts->offsets.size(); ++i)
                references_.push_back({position + i * offsetSize(), row.parts->offsets[i], offsetSize()});
        if (row.child) writeChildren(*row.child, position);
    }

    void writeChildren(const TiffTree::Child& child, std::size_t position) {
        for (const TiffTree& tree : child.trees) {
            writer_.alignTo(2);
            patchOffset(position, writer_.size());
            writeDirectory(tree);
            position += offsetSize();
        }
    }

    ByteOrder order_;
    bool big_;
    ByteWriter writer_;
    std::vector<Reference> references_;
};

}  // namespace

void TiffTree::set(TiffField field) {
    std::erase_if(fields, [&](const TiffField& other) { return other.tag == field.tag; });
    fields.push_back(std::move(field));
}

std::optional<std::vector<TiffTree>> readTiffTrees(TiffContext& tiff, std::uint64_t offset, const TiffFilter& keeps,
                                                   ByteRanges& parts) {
    return TreeReader(tiff, keeps, parts).readChain(TiffKind::first, offset, 0);
}

RewritePlan tiffPlan(const std::vector<TiffTree>& chain, ByteOrder order, bool big, ByteRanges& parts) {
    return TreeWriter(order, big).run(chain, parts);
}

std::optional<ByteVector> compactExif(Bytes block) {
    ByteSource source(block);
    auto header = readTiffHeader(source);
    if (!header) return std::nullopt;
    bool hasNote = false;
    ByteRanges parts;
    const auto chain = readTiffTrees(
        header->context, header->firstDirectory,
        [&](TiffKind, const TiffEntry& entry) {
            hasNote |= entry.tag == tag::kMakerNote;
            return true;
        },
        parts);
    if (!chain || hasNote) return std::nullopt;
    return tiffPlan(*chain, header->context.order, header->context.big, parts).bytes(source);
}

}  // namespace tessaly::imageio
