#include "linux/imageio/TiffDirectory.h"

#include <algorithm>
#include <array>

namespace tessaly::imageio {
namespace {

struct EntryShape {
    std::uint32_t countSize, entrySize, inlineSize;
};

constexpr EntryShape kClassic{2, 12, 4};
constexpr EntryShape kBig{8, 20, 8};

std::uint64_t loadOffset(const std::byte* at, ByteOrder order, bool big) {
    return big ? loadInteger<std::uint64_t>(at, order) : loadInteger<std::uint32_t>(at, order);
}

}  // namespace

std::uint32_t sizeOf(TiffType type) noexcept {
    static constexpr std::array<std::uint8_t, 19> sizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    const auto index = static_cast<std::size_t>(type);
    return index < sizes.size() ? sizes[index] : 0;
}

std::uint64_t TiffEntry::byteLength() const noexcept {
    std::uint64_t length = 0;
    return __builtin_mul_overflow(count, std::uint64_t{sizeOf(type)}, &length) ? UINT64_MAX : length;
}

std::optional<Bytes> TiffEntry::bytes(TiffContext& tiff) const { return tiff.source.bytes(position, byteLength()); }

std::optional<std::uint64_t> TiffEntry::integer(TiffContext& tiff, std::uint64_t index) const {
    const std::uint32_t size = sizeOf(type);
    if (index >= count || size == 0) return std::nullopt;
    std::uint64_t at = 0;
    if (__builtin_mul_overflow(index, std::uint64_t{size}, &at) || __builtin_add_overflow(at, position, &at))
        return std::nullopt;
    const auto bytes = tiff.source.bytes(at, size);
    if (!bytes) return std::nullopt;
    switch (type) {
        case TiffType::byte:
        case TiffType::ascii:
        case TiffType::undefined:
        case TiffType::signedByte:
            return loadInteger<std::uint8_t>(bytes->data(), tiff.order);
        case TiffType::shortInteger:
        case TiffType::signedShort:
            return loadInteger<std::uint16_t>(bytes->data(), tiff.order);
        case TiffType::longInteger:
        case TiffType::signedLong:
        case TiffType::directory:
            return loadInteger<std::uint32_t>(bytes->data(), tiff.order);
        case TiffType::long8:
        case TiffType::signedLong8:
        case TiffType::directory8:
            return loadInteger<std::uint64_t>(bytes->data(), tiff.order);
        case TiffType::rational:
        case TiffType::signedRational: {
            const auto denominator = loadInteger<std::uint32_t>(bytes->data() + 4, tiff.order);
            if (denominator == 0) return std::nullopt;
            return loadInteger<std::uint32_t>(bytes->data(), tiff.order) / denominator;
        }
        default:
            return std::nullopt;
    }
}

TiffEntries::TiffEntries(const TiffContext& tiff, Bytes bytes, std::uint64_t position) noexcept
    : bytes_(bytes),
      position_(position),
      base_(tiff.base),
      entrySize_(tiff.big ? kBig.entrySize : kClassic.entrySize),
      order_(tiff.order) {}

TiffEntry TiffEntries::operator[](std::size_t index) const noexcept {
    const bool big = entrySize_ == kBig.entrySize;
    const std::size_t inlineSize = big ? kBig.inlineSize : kClassic.inlineSize;
    const std::byte* const at = bytes_.data() + index * entrySize_;
    TiffEntry entry;
    entry.tag = loadInteger<std::uint16_t>(at, order_);
    entry.type = static_cast<TiffType>(loadInteger<std::uint16_t>(at + 2, order_));
    entry.count = loadOffset(at + 4, order_, big);
    entry.entryPosition = position_ + index * entrySize_;
    const std::size_t valueAt = entrySize_ - inlineSize;
    entry.position = entry.byteLength() <= inlineSize ? entry.entryPosition + valueAt
                                                      : base_ + loadOffset(at + valueAt, order_, big);
    return entry;
}

std::optional<TiffEntry> TiffDirectory::find(std::uint16_t tag) const noexcept {
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (entries.tagAt(i) == tag) return entries[i];
    return std::nullopt;
}

std::optional<TiffHeader> readTiffHeader(ByteSource& source, std::uint64_t base) {
    const auto head = source.bytes(base, 8);
    if (!head) return std::nullopt;
    const std::string_view mark = asText(head->first(2));
    if (mark != "II" && mark != "MM") return std::nullopt;
    TiffContext tiff{source, mark == "II" ? ByteOrder::little : ByteOrder::big, false, base};
    const auto magic = loadInteger<std::uint16_t>(head->data() + 2, tiff.order);
    if (magic == 43) {
        const auto rest = source.bytes(base + 4, 12);
        if (!rest || loadInteger<std::uint16_t>(rest->data(), tiff.order) != 8) return std::nullopt;
        tiff.big = true;
        return TiffHeader{tiff, loadInteger<std::uint64_t>(rest->data() + 4, tiff.order)};
    }
    // 42 is TIFF; "RO", "RS" Olympus; 0x55 Panasonic; 0x01BC JPEG XR.
    static constexpr std::array<std::uint16_t, 5> known{42, 0x4F52, 0x5352, 0x55, 0x01BC};
    if (std::ranges::find(known, magic) == known.end()) return std::nullopt;
    return TiffHeader{tiff, loadInteger<std::uint32_t>(head->data() + 4, tiff.order)};
}

TiffDirectory readTiffDirectory(TiffContext& tiff, std::uint64_t offset) {
    TiffDirectory directory;
    const EntryShape& shape = tiff.big ? kBig : kClassic;
    // Wraps round where the base lies before the source's start (a moved maker note); the source checks the sum.
    std::uint64_t position = tiff.base + offset;
    const auto countBytes = tiff.source.bytes(position, shape.countSize);
    if (!countBytes) return directory;
    const std::uint64_t promised = tiff.big ? loadInteger<std::uint64_t>(countBytes->data(), tiff.order)
                                            : loadInteger<std::uint16_t>(countBytes->data(), tiff.order);
    position += shape.countSize;
    const std::uint64_t wanted = std::min(promised, kMaximumEntries);
    const std::uint64_t available =
        position < tiff.source.size() ? (tiff.source.size() - position) / shape.entrySize : 0;
    const std::uint64_t count = std::min(wanted, available);
    const auto entries = tiff.source.bytes(position, count * shape.entrySize);
    if (!entries) return directory;
    directory.entries = TiffEntries(tiff, *entries, position);
    directory.complete = count == promised;
    if (const auto next = tiff.source.bytes(position + count * shape.entrySize, shape.inlineSize);
        next && directory.complete)
        directory.next = loadOffset(next->data(), tiff.order, tiff.big);
    return directory;
}

}  // namespace tessaly::imageio
