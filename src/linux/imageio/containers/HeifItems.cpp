#include "linux/imageio/containers/HeifItems.h"

#include <algorithm>
#include <utility>

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

// Phones cut a picture into a few hundred tiles at most; this is enough for four gigapixels.
constexpr std::size_t kMaximumItems = 20'000;
constexpr std::size_t kMaximumExtents = 64;
constexpr std::size_t kMaximumContentType = 64;
constexpr std::size_t kMaximumProperties = 32;  // Of one item.
constexpr std::uint64_t kMaximumTable = 8 * 1024 * 1024;

/// The content of a full box as a cursor, with its version.
struct FullBox {
    ByteReader reader;
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
};

std::optional<FullBox> open(ByteSource& source, const IsoBox& box) {
    const Bytes content = source.bytesUpTo(box.position, std::min(box.length, kMaximumTable));
    FullBox full{ByteReader(content)};
    const auto head = full.reader.read<std::uint32_t>();
    if (!head) return std::nullopt;
    full.version = static_cast<std::uint8_t>(*head >> 24U);
    full.flags = *head & 0xFFFFFFU;
    return full;
}

/// A number of 0, 4 or 8 bytes, as "iloc" declares its fields.
std::uint64_t sized(ByteReader& reader, unsigned size) {
    if (size == 4) return reader.read<std::uint32_t>().value_or(0);
    if (size == 8) return reader.read<std::uint64_t>().value_or(0);
    reader.skip(size);
    return 0;
}

std::optional<std::uint32_t> identifier(ByteReader& reader, bool wide) {
    if (wide) return reader.read<std::uint32_t>();
    return reader.read<std::uint16_t>();
}

std::string textUpToNul(ByteReader& reader) {
    const std::string_view rest = asText(reader.rest());
    const auto end = std::min(rest.find('\0'), rest.size());
    std::string text(rest.substr(0, end));
    reader.skip(std::min(end + 1, rest.size()));
    return text;
}

}  // namespace

HeifItems::HeifItems(ByteSource& source, const IsoBox& meta) : source_(source) {
    std::optional<IsoBox> info, locations, references, properties;
    IsoBoxes boxes(source, meta, kFullBoxHead);
    while (const auto box = boxes.next()) {
        const std::string_view type = box->type();
        if (type == "pitm"sv) {
            if (auto full = open(source, *box)) primary_ = identifier(full->reader, full->version > 0).value_or(0);
        }
        if (type == "iinf"sv) info = box;
        if (type == "iloc"sv) locations = box;
        if (type == "iref"sv) references = box;
        if (type == "iprp"sv) properties = box;
        if (type == "idat"sv) idat_ = *box;
    }
    if (info) readInfo(*info);
    if (locations) readLocations(*locations);
    if (references) readReferences(*references);
    if (properties) readProperties(*properties);
}

const HeifItem* HeifItems::find(std::uint32_t id) const noexcept {
    const auto found = std::ranges::lower_bound(items_, id, {}, &HeifItem::id);
    return found != items_.end() && found->id == id ? &*found : nullptr;
}

HeifItem* HeifItems::find(std::uint32_t id) noexcept { return const_cast<HeifItem*>(std::as_const(*this).find(id)); }

std::vector<const HeifItem*> HeifItems::referringTo(std::uint32_t to, std::string_view type) const {
    std::vector<const HeifItem*> found;
    for (const HeifReference& reference : references_) {
        if (reference.type != type || std::ranges::find(reference.to, to) == reference.to.end()) continue;
        if (const HeifItem* item = find(reference.from)) found.push_back(item);
    }
    return found;
}

// 8.11.6: a count, then a box an item.
void HeifItems::readInfo(const IsoBox& box) {
    auto full = open(source_, box);
    if (!full) return;
    const std::uint64_t countSize = full->version == 0 ? 2 : 4;
    IsoBoxes entries(source_, box, kFullBoxHead + countSize);
    entries.setLimit(kMaximumItems);
    while (const auto entry = entries.next()) {
        if (entry->type() == "infe"sv) readInfoEntry(*entry);
    }
    if (!std::ranges::is_sorted(items_, {}, &HeifItem::id)) std::ranges::stable_sort(items_, {}, &HeifItem::id);
}

void HeifItems::readInfoEntry(const IsoBox& box) {
    auto full = open(source_, box);
    if (!full || full->version < 2) return;
    HeifItem item;
    item.id = identifier(full->reader, full->version > 2).value_or(0);
    full->reader.skip(2);  // Protection.
    const auto type = full->reader.take(4);
    if (!type) return;
    item.type = asText(*type);
    item.hidden = (full->flags & 1U) != 0;
    textUpToNul(full->reader);  // Its name.
    if (item.type == "mime") item.contentType = textUpToNul(full->reader).substr(0, kMaximumContentType);
    items_.push_back(std::move(item));
}

// 8.11.3.
void HeifItems::readLocations(const IsoBox& box) {
    auto full = open(source_, box);
    if (!full) return;
    ByteReader& reader = full->reader;
    const std::uint16_t sizes = reader.read<std::uint16_t>().value_or(0);
    const unsigned offsetSize = sizes >> 12U;
    const unsigned lengthSize = sizes >> 8U & 15U;
    const unsigned baseSize = sizes >> 4U & 15U;
    const unsigned indexSize = full->version > 0 ? sizes & 15U : 0;
    const std::uint32_t count = identifier(reader, full->version >= 2).value_or(0);
    const std::uint64_t extentSize = std::uint64_t{indexSize} + offsetSize + lengthSize;
    std::size_t left = kMaximumItems;  // Of extents, in all items together.
    for (std::uint32_t i = 0; i < count && reader.remaining() > 0; ++i) {
        const auto id = identifier(reader, full->version >= 2);
        if (!id) return;
        const int method = full->version > 0 ? reader.read<std::uint16_t>().value_or(0) & 15 : 0;
        reader.skip(2);  // Data reference.
        const std::uint64_t base = sized(reader, baseSize);
        const std::uint16_t extents = reader.read<std::uint16_t>().value_or(0);
        const std::size_t kept = std::min({std::size_t{extents}, kMaximumExtents, left});
        HeifItem* item = find(*id);
        if (item) item->constructionMethod = method;
        for (std::size_t j = 0; j < kept; ++j) {
            reader.skip(indexSize);
            const std::uint64_t offset = sized(reader, offsetSize);
            const std::uint64_t length = sized(reader, lengthSize);
            if (item && item->extents.size() < kMaximumExtents) item->extents.push_back({base + offset, length});
        }
        left -= kept;
        if (!reader.skip((extents - kept) * extentSize)) return;
    }
}

// 8.11.12: a box a kind of reference.
void HeifItems::readReferences(const IsoBox& box) {
    auto full = open(source_, box);
    if (!full) return;
    const bool wide = full->version > 0;
    std::size_t left = 4 * kMaximumItems;  // Of items that are referred to.
    IsoBoxes boxes(source_, box, kFullBoxHead);
    while (const auto entry = boxes.next()) {
        ByteReader reader(source_.bytesUpTo(entry->position, std::min(entry->length, kMaximumTable)));
        HeifReference reference;
        reference.type = entry->type();
        reference.from = identifier(reader, wide).value_or(0);
        const std::uint16_t count = reader.read<std::uint16_t>().value_or(0);
        for (std::uint16_t i = 0; i < count && left > 0; ++i, --left) {
            const auto to = identifier(reader, wide);
            if (!to) break;
            reference.to.push_back(*to);
        }
        references_.push_back(std::move(reference));
    }
}

// 8.11.14: all properties, then which items have which.
void HeifItems::readProperties(const IsoBox& box) {
    if (const auto container = findBox(source_, box, "ipco"sv)) {
        IsoBoxes boxes(source_, *container);
        while (const auto property = boxes.next()) properties_.push_back(*property);
    }
    IsoBoxes boxes(source_, box);
    while (const auto entry = boxes.next())
        if (entry->type() == "ipma"sv) readAssociations(*entry);
}

void HeifItems::readAssociations(const IsoBox& box) {
    auto full = open(source_, box);
    if (!full) return;
    ByteReader& reader = full->reader;
    const bool wideIndex = (full->flags & 1U) != 0;
    const std::uint32_t count = reader.read<std::uint32_t>().value_or(0);
    for (std::uint32_t i = 0; i < count && reader.remaining() > 0; ++i) {
        const auto id = identifier(reader, full->version > 0);
        const auto associations = reader.read<std::uint8_t>();
        if (!id || !associations) return;
        HeifItem* item = find(*id);
        const std::size_t kept = std::min<std::size_t>(*associations, kMaximumProperties);
        for (std::size_t j = 0; j < kept; ++j) {
            // The top bit says that a reader must understand the property.
            const unsigned index = wideIndex ? reader.read<std::uint16_t>().value_or(0) & 0x7FFFU
                                             : reader.read<std::uint8_t>().value_or(0) & 0x7FU;
            if (item && index >= 1 && index <= properties_.size() && item->properties.size() < kMaximumProperties)
                item->properties.push_back(static_cast<std::uint16_t>(index - 1));
        }
        reader.skip((*associations - kept) * (wideIndex ? 2 : 1));
    }
}

std::vector<IsoBox> HeifItems::propertiesOf(const HeifItem& item) const {
    std::vector<IsoBox> boxes;
    for (const std::uint16_t index : item.properties) boxes.push_back(properties_[index]);
    return boxes;
}

std::optional<Bytes> HeifItems::bytesOf(const HeifItem& item, std::uint64_t limit,
                                        std::vector<std::byte>& storage) const {
    if (item.constructionMethod > 1 || item.extents.empty()) return std::nullopt;
    const bool fromIdat = item.constructionMethod == 1;
    const auto load = [&](const HeifItem::Extent& extent) -> std::optional<Bytes> {
        if (fromIdat && (extent.position > idat_.length || extent.length > idat_.length - extent.position))
            return std::nullopt;
        const std::uint64_t position = extent.position + (fromIdat ? idat_.position : 0);
        // A single extent without a length runs to the end.
        const std::uint64_t end = fromIdat ? idat_.end() : source_.size();
        const std::uint64_t length = extent.length != 0 || position > end ? extent.length : end - position;
        if (length > limit) return std::nullopt;
        return source_.bytes(position, length);
    };
    if (item.extents.size() == 1) return load(item.extents.front());
    storage.clear();
    for (const HeifItem::Extent& extent : item.extents) {
        const auto bytes = load(extent);
        if (!bytes || bytes->size() > limit - storage.size()) return std::nullopt;
        storage.insert(storage.end(), bytes->begin(), bytes->end());
    }
    return Bytes(storage);
}

}  // namespace tessaly::imageio
