#include "linux/imageio/rewrite/MovieBoxes.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "linux/imageio/Text.h"
#include "linux/imageio/rewrite/BoxWriter.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kMaximumTable = 16 * 1024 * 1024;
constexpr std::uint64_t kMaximumText = 4 * 1024 * 1024;

template <std::size_t Count>
bool isOneOf(std::string_view type, const std::array<std::string_view, Count>& types) {
    return std::ranges::find(types, type) != types.end();
}

bool namesPosition(std::string_view name) {
    const std::string lower = lowerCase(name);
    return lower.find("location") != std::string::npos || lower.find("gps") != std::string::npos ||
           lower.find("latitude") != std::string::npos || lower.find("longitude") != std::string::npos;
}

/// User data that tells a place: QuickTime's and 3GPP's (TS 26.244, 8.2).
bool isPlaceBox(std::string_view type) {
    static constexpr std::array places{"\xA9xyz"sv, "loci"sv, "\xA9gps"sv, "gps "sv, "GPS "sv, "gps0"sv, "gsen"sv};
    return isOneOf(type, places);
}

/// A "meta" of QuickTime has no version and flags before its boxes.
std::uint64_t metaHead(ByteSource& source, const IsoBox& box) {
    const auto type = source.bytes(box.position + 4, 4);
    return type && asText(*type) == "hdlr"sv ? 0 : kFullBoxHead;
}

/// Names of the keys of a "meta" box (QuickTime File Format, "Metadata item keys atom").
std::vector<std::string> keyNames(ByteSource& source, const IsoBox& box) {
    std::vector<std::string> names;
    ByteReader reader(source.bytesUpTo(box.position, std::min(box.length, kMaximumText)));
    reader.skip(8);
    while (const auto size = reader.read<std::uint32_t>()) {
        if (*size < 8 || !reader.skip(4)) break;
        const auto name = reader.take(*size - 8U);
        if (!name) break;
        names.emplace_back(asText(*name));
    }
    return names;
}

/// Whether an item of "ilst" tells a place: by its own code, by the name in a "----" item, or by its key.
bool isPlaceItem(ByteSource& source, const IsoBox& item, const std::vector<std::string>& keys) {
    if (isPlaceBox(item.type())) return true;
    if (item.type() == "----"sv) {
        const auto name = findBox(source, item, "name"sv);
        const auto text =
            name ? source.bytes(name->position, std::min<std::uint64_t>(name->length, 256)) : std::nullopt;
        return text && namesPosition(asText(*text));
    }
    const auto index = loadInteger<std::uint32_t>(reinterpret_cast<const std::byte*>(item.code.data()), ByteOrder::big);
    return index >= 1 && index <= keys.size() && namesPosition(keys[index - 1]);
}

RewritePlan withoutPlaceItems(ByteSource& source, const IsoBox& list, const std::vector<std::string>& keys) {
    RewritePlan inside;
    IsoBoxes items(source, list);
    while (const auto item = items.next())
        if (!isPlaceItem(source, *item, keys)) copyBox(inside, *item);
    RewritePlan plan;
    addBox(plan, "ilst", std::move(inside));
    return plan;
}

RewritePlan changedMeta(ByteSource& source, const IsoBox& meta) {
    const std::uint64_t head = metaHead(source, meta);
    std::vector<std::string> keys;
    if (const auto box = findBox(source, meta, "keys"sv, head)) keys = keyNames(source, *box);
    RewritePlan inside;
    inside.copy(meta.position, head);
    IsoBoxes boxes(source, meta, head);
    while (const auto box = boxes.next()) {
        if (box->type() == "ilst"sv)
            inside.append(withoutPlaceItems(source, *box, keys), 0);
        else
            copyBox(inside, *box);
    }
    RewritePlan plan;
    addBox(plan, "meta", std::move(inside));
    return plan;
}

void addChangedXmp(ByteSource& source, const IsoBox& box, std::uint64_t head, const BlockChange& change,
                   RewritePlan& plan) {
    const auto packet = source.bytes(box.position, std::min(box.length, kMaximumText));
    const auto changed = packet ? change.xmp(*packet) : std::nullopt;
    if (!changed) return;
    RewritePlan inside;
    inside.copy(box.position - head, head);
    inside.add(*changed);
    addBox(plan, box.type(), std::move(inside));
}

RewritePlan changedUserData(ByteSource& source, const IsoBox& userData, const BlockChange& change) {
    RewritePlan inside;
    std::uint64_t end = userData.position;
    IsoBoxes boxes(source, userData);
    while (const auto box = boxes.next()) {
        end = box->end();
        if (isPlaceBox(box->type())) continue;
        if (box->type() == "meta"sv)
            inside.append(changedMeta(source, *box), 0);
        else if (box->type() == "XMP_"sv)
            addChangedXmp(source, *box, 0, change, inside);
        else
            copyBox(inside, *box);
    }
    // QuickTime may end the list with four zeros.
    if (userData.end() > end && userData.end() - end <= 8) inside.copy(end, userData.end() - end);
    RewritePlan plan;
    addBox(plan, "udta", std::move(inside));
    return plan;
}

/// Times of creation and modification, at the head of "mvhd", "tkhd" and "mdhd", become 0, which is "unknown".
ByteVector withoutDates(ByteSource& source, const IsoBox& box) {
    const auto bytes = source.bytes(box.start, box.end() - box.start);
    if (!bytes) return {};
    ByteVector made = copyOf(*bytes);
    const auto head = static_cast<std::size_t>(box.position - box.start);
    if (made.size() < head + 20) return made;
    const std::size_t length = made[head] == std::byte{1} ? 16 : 8;
    std::fill_n(made.begin() + static_cast<std::ptrdiff_t>(head) + 4, length, std::byte{0});
    return made;
}

/// A handler without its name, which is that of the camera's firmware.
ByteVector withoutName(ByteSource& source, const IsoBox& box) {
    const auto bytes = source.bytes(box.position, std::min<std::uint64_t>(box.length, 24));
    if (!bytes || bytes->size() < 24) return {};
    ByteVector content = copyOf(*bytes);
    std::fill_n(content.begin() + 12, 12, std::byte{0});  // The maker's code.
    content.push_back(std::byte{0});
    return boxBytes("hdlr", content);
}

/// 12.1.3: of a visual entry the encoder's vendor and name.
ByteVector withoutEncoder(ByteSource& source, const IsoBox& box, std::string_view handler) {
    const auto bytes = source.bytes(box.start, box.end() - box.start);
    if (!bytes) return {};
    ByteVector made = copyOf(*bytes);
    if (handler != "vide"sv) return made;
    IsoBoxes entries(source, box, kFullBoxHead + 4);
    while (const auto entry = entries.next()) {
        const auto at = static_cast<std::size_t>(entry->start - box.start);
        const auto blank = [&](std::size_t offset, std::size_t length) {
            if (at + offset + length <= made.size() && entry->end() - entry->start >= 86)
                std::fill_n(made.begin() + static_cast<std::ptrdiff_t>(at + offset), length, std::byte{0});
        };
        blank(20, 4);
        blank(50, 32);
    }
    return made;
}

}  // namespace

RewritePlan changedTexts(ByteSource& source, const IsoBox& box, const BlockChange& change) {
    if (change.removesEverything()) return {};
    if (box.type() == "udta"sv) return changedUserData(source, box, change);
    if (box.type() == "uuid"sv) {
        RewritePlan plan;
        if (isUserBox(box, kXmpUserType))
            addChangedXmp(source, box, 16, change, plan);
        else
            copyBox(plan, box);
        return plan;
    }
    return changedMeta(source, box);
}

MovieBoxes::MovieBoxes(ByteSource& source, const IsoBox& movie, const BlockChange& change)
    : source_(source), movie_(movie), change_(change) {
    IsoBoxes boxes(source_, movie_);
    while (const auto box = boxes.next()) {
        if (box->type() == "cmov"sv) isRefused_ = true;
        if (box->type() == "trak"sv) readTrack(*box);
        if (box->type() == "gps "sv && change_.removesPlace()) dropPositionBlocks(*box);
    }
}

void MovieBoxes::readTrack(const IsoBox& box) {
    Track track{box, 0, {}};
    std::optional<IsoBox> table;
    if (const auto header = findBox(source_, box, "tkhd"sv)) {
        const bool isLong = source_.read<std::uint8_t>(header->position) == 1;
        track.identifier = source_.read<std::uint32_t>(header->position + (isLong ? 20 : 12)).value_or(0);
    }
    if (const auto media = findBox(source_, box, "mdia"sv)) {
        if (const auto handler = findBox(source_, *media, "hdlr"sv))
            if (const auto kind = source_.bytes(handler->position + 8, 4)) track.handler = asText(*kind);
        if (const auto information = findBox(source_, *media, "minf"sv))
            table = findBox(source_, *information, "stbl"sv);
    }
    if (!dropsTrack(track, table.value_or(IsoBox{}))) return;
    droppedTracks_.push_back(box.start);
    droppedIdentifiers_.push_back(track.identifier);
    if (table) dropChunks(*table);
}

/// Pictures, sound and subtitles stay; timed metadata, time codes and hints go when everything does, and whatever tells
/// positions goes with the place.
bool MovieBoxes::dropsTrack(const Track& track, const IsoBox& table) {
    static constexpr std::array shown{"vide"sv, "soun"sv, "text"sv, "sbtl"sv, "subt"sv, "clcp"sv, "auxv"sv, "pict"sv};
    if (!change_.removesPlace()) return false;
    const bool isShown = isOneOf(track.handler, shown);
    if (change_.removesEverything() && !isShown) return true;
    const auto description = findBox(source_, table, "stsd"sv);
    return description && tellsPlace(*description, table, track.handler);
}

bool MovieBoxes::tellsPlace(const IsoBox& description, const IsoBox& table, std::string_view handler) {
    if (handler == "vide"sv || handler == "soun"sv) return false;
    const auto format = source_.bytes(description.position + kFullBoxHead + 8, 4);
    if (!format) return false;
    const std::string_view code = asText(*format);
    if (code == "gpmd"sv || code == "camm"sv) return true;
    const Bytes described = source_.bytesUpTo(description.position, std::min<std::uint64_t>(description.length, 65536));
    if (code == "mebx"sv) return asText(described).find("location") != std::string_view::npos;
    const std::string_view sample = asText(firstSample(table));
    // Sony's: tag 0x8500, the version of its GPS tags, of 4 bytes.
    if (code == "rtmd"sv) return sample.find("\x85\x00\x00\x04"sv) != std::string_view::npos;
    return sample.find("GPS") != std::string_view::npos;  // A drone's flight, as subtitles.
}

Bytes MovieBoxes::firstSample(const IsoBox& table) {
    const auto sizes = findBox(source_, table, "stsz"sv);
    auto offsets = findBox(source_, table, "stco"sv);
    const bool wide = !offsets;
    if (wide) offsets = findBox(source_, table, "co64"sv);
    if (!sizes || !offsets) return {};
    std::uint64_t size = source_.read<std::uint32_t>(sizes->position + 4).value_or(0);
    if (size == 0) size = source_.read<std::uint32_t>(sizes->position + 12).value_or(0);
    const auto at = wide ? source_.read<std::uint64_t>(offsets->position + 8)
                         : std::optional<std::uint64_t>(source_.read<std::uint32_t>(offsets->position + 8));
    if (!at) return {};
    sample_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size, 65536)));
    sample_.resize(source_.copyTo(*at, sample_));
    return sample_;
}

/// 8.7.3 to 8.7.5: a chunk's length is that of its samples.
void MovieBoxes::dropChunks(const IsoBox& table) {
    const auto sizes = findBox(source_, table, "stsz"sv);
    const auto runs = findBox(source_, table, "stsc"sv);
    auto offsets = findBox(source_, table, "stco"sv);
    const bool wide = !offsets;
    if (wide) offsets = findBox(source_, table, "co64"sv);
    if (!sizes || !runs || !offsets) return;
    const auto content = [&](const IsoBox& box) {
        return ByteReader(source_.bytesUpTo(box.position, std::min(box.length, kMaximumTable)));
    };
    ByteReader size = content(*sizes), run = content(*runs), offset = content(*offsets);
    size.skip(kFullBoxHead);
    const std::uint32_t uniform = size.read<std::uint32_t>().value_or(0);
    size.skip(4);
    run.skip(kFullBoxHead + 4);
    offset.skip(kFullBoxHead);
    const std::uint32_t chunks = offset.read<std::uint32_t>().value_or(0);
    std::uint32_t perChunk = 0;
    std::uint32_t nextRun = run.read<std::uint32_t>().value_or(UINT32_MAX);
    for (std::uint32_t chunk = 1; chunk <= chunks; ++chunk) {
        if (chunk == nextRun) {
            perChunk = run.read<std::uint32_t>().value_or(0);
            run.skip(4);
            nextRun = run.read<std::uint32_t>().value_or(UINT32_MAX);
        }
        const auto at =
            wide ? offset.read<std::uint64_t>() : std::optional<std::uint64_t>(offset.read<std::uint32_t>());
        if (!at || offset.remaining() > kMaximumTable) return;
        std::uint64_t length = std::uint64_t{uniform} * perChunk;
        if (uniform == 0)
            for (std::uint32_t i = 0; i < perChunk; ++i) {
                const auto one = size.read<std::uint32_t>();
                if (!one) break;
                length += *one;
            }
        droppedData_.add(*at, length);
    }
}

/// Dash cameras keep an index of position blocks, which stand between the chunks: version, count, offset and length
/// each.
void MovieBoxes::dropPositionBlocks(const IsoBox& box) {
    ByteReader reader(source_.bytesUpTo(box.position, std::min(box.length, kMaximumTable)));
    reader.skip(4);
    const std::uint32_t count = reader.read<std::uint32_t>().value_or(0);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto offset = reader.read<std::uint32_t>();
        const auto length = reader.read<std::uint32_t>();
        if (!offset || !length) return;
        droppedData_.add(*offset, *length);
    }
}

namespace {

/// Writes the boxes of a movie with its offsets moved.
class MoviePlan {
public:
    MoviePlan(ByteSource& source, const BlockChange& change, const std::vector<std::uint64_t>& droppedTracks,
              const std::vector<std::uint32_t>& droppedIdentifiers,
              const std::function<std::uint64_t(std::uint64_t)>& destinationOf, bool wide)
        : source_(source),
          change_(change),
          droppedTracks_(droppedTracks),
          droppedIdentifiers_(droppedIdentifiers),
          destinationOf_(destinationOf),
          wide_(wide) {}

    RewritePlan inside(const IsoBox& parent) {
        RewritePlan plan;
        IsoBoxes boxes(source_, parent);
        boxes.setLimit(100'000);
        while (const auto box = boxes.next()) add(plan, parent, *box);
        return plan;
    }

private:
    void add(RewritePlan& plan, const IsoBox& parent, const IsoBox& box) {
        const std::string_view type = box.type();
        static constexpr std::array containers{"mdia"sv, "minf"sv, "stbl"sv};
        if (type == "trak"sv) return addTrack(plan, box);
        if (isOneOf(type, containers)) return addBox(plan, type, inside(box));
        if (type == "stco"sv || type == "co64"sv) return addOffsets(plan, box);
        if (type == "udta"sv || type == "meta"sv || type == "uuid"sv) {
            if (change_.removesPlace()) return plan.append(changedTexts(source_, box, change_), 0);
            return copyBox(plan, box);
        }
        if (type == "gps "sv && change_.removesPlace()) return;
        if (type == "tref"sv && !droppedIdentifiers_.empty()) return addReferences(plan, box);
        if (change_.removesEverything()) return addClean(plan, parent, box);
        copyBox(plan, box);
    }

    void addTrack(RewritePlan& plan, const IsoBox& box) {
        if (std::ranges::find(droppedTracks_, box.start) != droppedTracks_.end()) return;
        handler_.clear();
        if (const auto media = findBox(source_, box, "mdia"sv))
            if (const auto handler = findBox(source_, *media, "hdlr"sv))
                if (const auto kind = source_.bytes(handler->position + 8, 4)) handler_ = asText(*kind);
        addBox(plan, "trak", inside(box));
    }

    void addClean(RewritePlan& plan, const IsoBox& parent, const IsoBox& box) {
        const std::string_view type = box.type();
        static constexpr std::array padding{"free"sv, "skip"sv, "wide"sv, "iods"sv};
        static constexpr std::array inMovie{"mvhd"sv, "mvex"sv, "pssh"sv, "rmra"sv};
        static constexpr std::array inTrack{"tkhd"sv, "edts"sv, "tref"sv, "tapt"sv, "clip"sv, "matt"sv, "load"sv};
        if (isOneOf(type, padding)) return;
        if (parent.type() == "moov"sv && !isOneOf(type, inMovie)) return;
        if (parent.type() == "trak"sv && !isOneOf(type, inTrack)) return;
        if (type == "mvhd"sv || type == "tkhd"sv || type == "mdhd"sv) return plan.add(withoutDates(source_, box));
        if (type == "hdlr"sv) return plan.add(withoutName(source_, box));
        if (type == "stsd"sv) return plan.add(withoutEncoder(source_, box, handler_));
        if (type == "dinf"sv) return addDataInformation(plan, box);
        copyBox(plan, box);
    }

    /// References to the file itself; QuickTime's may carry an alias, with the names of disk, folders and user.
    void addDataInformation(RewritePlan& plan, const IsoBox& box) {
        const auto references = findBox(source_, box, "dref"sv);
        if (!references) return copyBox(plan, box);
        ByteWriter content;
        content.write(std::uint32_t{0});
        const std::size_t countAt = content.size();
        content.write(std::uint32_t{0});
        std::uint32_t count = 0;
        IsoBoxes entries(source_, *references, kFullBoxHead + 4);
        while (const auto entry = entries.next()) {
            if ((source_.read<std::uint32_t>(entry->position).value_or(0) & 1U) == 0) return copyBox(plan, box);
            content.write(std::uint32_t{12}).text(entry->type()).write(std::uint32_t{1});
            ++count;
        }
        content.patch(countAt, count);
        plan.add(boxBytes("dinf", boxBytes("dref", content.view())));
    }

    /// 8.3.3: lists of track identifiers by kind; those that are gone are left out.
    void addReferences(RewritePlan& plan, const IsoBox& box) {
        ByteWriter content;
        IsoBoxes kinds(source_, box);
        while (const auto kind = kinds.next()) {
            ByteReader reader(source_.bytesUpTo(kind->position, std::min(kind->length, kMaximumText)));
            ByteWriter kept;
            while (const auto identifier = reader.read<std::uint32_t>())
                if (std::ranges::find(droppedIdentifiers_, *identifier) == droppedIdentifiers_.end())
                    kept.write(*identifier);
            if (kept.size() > 0) content.bytes(boxBytes(kind->type(), kept.view()));
        }
        if (content.size() > 0) plan.add(boxBytes("tref", content.view()));
    }

    // 8.7.5.
    void addOffsets(RewritePlan& plan, const IsoBox& box) {
        const bool wasWide = box.type() == "co64"sv;
        ByteReader reader(source_.bytesUpTo(box.position, std::min(box.length, kMaximumTable)));
        reader.skip(kFullBoxHead);
        const std::uint32_t count = reader.read<std::uint32_t>().value_or(0);
        const bool wide = wasWide || wide_;
        ByteWriter content;
        content.write(std::uint32_t{0}).write(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            const auto offset =
                wasWide ? reader.read<std::uint64_t>() : std::optional<std::uint64_t>(reader.read<std::uint32_t>());
            if (!offset || (!wasWide && reader.remaining() > kMaximumTable)) break;
            const std::uint64_t moved = destinationOf_(*offset);
            wide ? content.write(moved) : content.write(static_cast<std::uint32_t>(moved));
        }
        plan.add(boxBytes(wide ? "co64" : "stco", content.view()));
    }

    ByteSource& source_;
    const BlockChange& change_;
    const std::vector<std::uint64_t>& droppedTracks_;
    const std::vector<std::uint32_t>& droppedIdentifiers_;
    const std::function<std::uint64_t(std::uint64_t)>& destinationOf_;
    bool wide_;
    std::string handler_;
};

}  // namespace

RewritePlan MovieBoxes::plan(const std::function<std::uint64_t(std::uint64_t)>& destinationOf, bool wide) const {
    RewritePlan whole;
    addBox(whole, "moov",
           MoviePlan(source_, change_, droppedTracks_, droppedIdentifiers_, destinationOf, wide).inside(movie_));
    return whole;
}

namespace {

class PlacePatches {
public:
    explicit PlacePatches(ByteSource& source) : source_(source) {}

    std::vector<RewritePlan::Patch> run(std::uint64_t offset, std::uint64_t length) {
        walk(IsoBoxes(source_, offset, length), 0);
        return std::move(patches_);
    }

private:
    void walk(IsoBoxes boxes, int depth) {
        static constexpr std::array containers{"moov"sv, "udta"sv, "trak"sv};
        while (const auto box = boxes.next()) {
            if (isPlaceBox(box->type()))
                blank(*box);
            else if (depth < 4 && isOneOf(box->type(), containers))
                walk(IsoBoxes(source_, *box), depth + 1);
            else if (box->type() == "meta"sv && depth > 0)
                walkMeta(*box);
        }
    }

    void walkMeta(const IsoBox& meta) {
        const std::uint64_t head = metaHead(source_, meta);
        std::vector<std::string> keys;
        if (const auto box = findBox(source_, meta, "keys"sv, head)) keys = keyNames(source_, *box);
        const auto list = findBox(source_, meta, "ilst"sv, head);
        if (!list) return;
        IsoBoxes items(source_, *list);
        while (const auto item = items.next())
            if (isPlaceItem(source_, *item, keys)) blank(*item);
    }

    void blank(const IsoBox& box) {
        if (box.length > kMaximumText) return;
        ByteWriter writer;
        writer.text("free").zeros(static_cast<std::size_t>(box.end() - box.start - 8));
        patches_.push_back({box.start + 4, writer.take()});
    }

    ByteSource& source_;
    std::vector<RewritePlan::Patch> patches_;
};

}  // namespace

std::vector<RewritePlan::Patch> placePatches(ByteSource& source, std::uint64_t offset, std::uint64_t length) {
    return PlacePatches(source).run(offset, length);
}

}  // namespace tessaly::imageio
