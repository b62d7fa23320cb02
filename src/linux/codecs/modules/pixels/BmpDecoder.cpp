#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/BmpRuns.h"
#include "linux/codecs/modules/pixels/Pixels.h"
#include "linux/imageio/ByteReader.h"

/// Device-independent bitmaps (Microsoft, "Bitmap Storage" and "BITMAPV5HEADER"): their rows stand in the file as they
/// are, from the bottom up, so that each is read when it is its turn.
namespace tessaly::codecs {
namespace {

constexpr std::size_t kFileHeader = 14;
/// The oldest header, of OS/2: sizes of 16 bits and colours of three bytes.
constexpr std::uint32_t kCoreHeader = 12;
constexpr std::uint32_t kInfoHeader = 40;
constexpr std::uint32_t kLargestHeader = 1024;

enum class Packing : std::uint32_t { none = 0, runs8 = 1, runs4 = 2, masks = 3, alphaMasks = 6 };

/// A component within a pixel.
struct Mask {
    std::uint32_t bits = 0;
    int shift = 0;
    std::uint32_t largest = 0;

    Mask() = default;
    explicit Mask(std::uint32_t mask)
        : bits(mask), shift(mask ? std::countr_zero(mask) : 0), largest(mask ? mask >> shift : 0) {}
    [[nodiscard]] std::uint8_t of(std::uint32_t pixel) const {
        if (largest == 0) return 0;
        const std::uint64_t value = (pixel & bits) >> shift;
        return static_cast<std::uint8_t>((value * 255 + largest / 2) / largest);
    }
};

struct Header {
    std::uint64_t pixelsAt = 0;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    bool isFromTop = false;
    unsigned bits = 0;
    Packing packing = Packing::none;
    std::array<Mask, 4> masks;  ///< Red, green, blue, alpha.
    std::array<std::array<std::uint8_t, 3>, 256> palette{};

    /// Of rows that are not packed: each fills whole words of 32 bits.
    [[nodiscard]] std::uint64_t rowBytes() const { return (width * bits + 31) / 32 * 4; }
    [[nodiscard]] bool isInRuns() const { return packing == Packing::runs8 || packing == Packing::runs4; }
    [[nodiscard]] bool hasAlpha() const { return masks[3].bits != 0; }
};

/// Numbers of the header, little-endian. What is not there is 0.
class HeaderBytes {
public:
    explicit HeaderBytes(PixelInput& input) : bytes_(kFileHeader + kLargestHeader) {
        bytes_.resize(input.read(0, bytes_));
    }
    template <std::unsigned_integral T>
    [[nodiscard]] T at(std::size_t offset) const {
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) return 0;
        return imageio::loadInteger<T>(bytes_.data() + offset, imageio::ByteOrder::little);
    }

private:
    std::vector<std::byte> bytes_;
};

std::array<Mask, 4> masksOf(const HeaderBytes& bytes, const Header& header, std::uint32_t headerSize) {
    if (header.packing == Packing::masks || header.packing == Packing::alphaMasks) {
        const bool hasAlpha = headerSize >= kInfoHeader + 16 || header.packing == Packing::alphaMasks;
        const auto mask = [&](std::size_t i) {
            return Mask(bytes.at<std::uint32_t>(kFileHeader + kInfoHeader + i * 4));
        };
        return {mask(0), mask(1), mask(2), hasAlpha ? mask(3) : Mask()};
    }
    if (header.bits == 16) return {Mask(0x7c00), Mask(0x03e0), Mask(0x001f), Mask()};
    return {Mask(0xff0000), Mask(0xff00), Mask(0xff), Mask()};
}

void readPalette(PixelInput& input, std::uint64_t offset, std::size_t count, std::size_t size, Header& header) {
    std::vector<std::byte> colors(count * size);
    colors.resize(input.read(offset, colors));
    for (std::size_t i = 0; i < colors.size() / size; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            header.palette[i][c] = std::to_integer<std::uint8_t>(colors[i * size + 2 - c]);
}

DecodeFault readHeader(PixelInput& input, Header& header) {
    const HeaderBytes bytes(input);
    if (bytes.at<std::uint16_t>(0) != 0x4d42) return DecodeFault::unsupported;
    const auto size = bytes.at<std::uint32_t>(kFileHeader);
    const bool isOld = size == kCoreHeader;
    if (!isOld && (size < 16 || size > kLargestHeader)) return DecodeFault::damaged;
    header.pixelsAt = bytes.at<std::uint32_t>(10);
    const auto height = isOld ? bytes.at<std::uint16_t>(20) : static_cast<std::int32_t>(bytes.at<std::uint32_t>(22));
    header.width = isOld ? bytes.at<std::uint16_t>(18) : bytes.at<std::uint32_t>(18);
    header.height = static_cast<std::uint64_t>(std::abs(std::int64_t{height}));
    header.isFromTop = height < 0;
    header.bits = bytes.at<std::uint16_t>(isOld ? 24 : 28);
    const bool hasPacking = size >= 20;
    header.packing = static_cast<Packing>(hasPacking ? bytes.at<std::uint32_t>(30) : 0U);
    if (header.width == 0 || header.height == 0 || header.width > INT32_MAX) return DecodeFault::damaged;
    header.masks = masksOf(bytes, header, size);
    if (header.bits > 8) return DecodeFault::none;
    const bool followsMasks = size == kInfoHeader && header.packing == Packing::masks;
    const std::uint32_t claimed = size >= 36 ? bytes.at<std::uint32_t>(46) : 0U;
    const std::size_t most = std::size_t{1} << header.bits;
    const std::size_t count = claimed == 0 || claimed > most ? most : claimed;
    readPalette(input, kFileHeader + size + (followsMasks ? 12 : 0), count, isOld ? 3 : 4, header);
    return DecodeFault::none;
}

bool isKnown(const Header& header) {
    switch (header.packing) {
        case Packing::none:
            return header.bits == 1 || header.bits == 2 || header.bits == 4 || header.bits == 8 || header.bits == 16 ||
                   header.bits == 24 || header.bits == 32;
        case Packing::runs8:
            return header.bits == 8;
        case Packing::runs4:
            return header.bits == 4;
        case Packing::masks:
        case Packing::alphaMasks:
            return header.bits == 16 || header.bits == 32;
    }
    return false;
}

void putIndexed(const Header& header, const std::uint8_t* row, std::byte* target) {
    const unsigned inByte = 8 / header.bits;
    const unsigned mask = (1U << header.bits) - 1;
    for (std::size_t x = 0; x < header.width; ++x, target += CGImage::kComponents) {
        const auto shift = static_cast<unsigned>((inByte - 1 - x % inByte) * header.bits);
        const auto& color = header.palette[row[x / inByte] >> shift & mask];
        for (std::size_t c = 0; c < 3; ++c) target[c] = std::byte{color[c]};
        target[3] = std::byte{0xff};
    }
}

void putBytes(const Header& header, const std::uint8_t* row, std::byte* target) {
    const std::size_t step = header.bits / 8;
    for (std::size_t x = 0; x < header.width; ++x, row += step, target += CGImage::kComponents) {
        for (std::size_t c = 0; c < 3; ++c) target[c] = std::byte{row[2 - c]};
        target[3] = std::byte{0xff};
    }
}

void putMasked(const Header& header, const std::uint8_t* row, std::byte* target) {
    const std::size_t step = header.bits / 8;
    for (std::size_t x = 0; x < header.width; ++x, row += step, target += CGImage::kComponents) {
        std::uint32_t pixel = row[0] | static_cast<std::uint32_t>(row[1]) << 8;
        if (step == 4) pixel |= static_cast<std::uint32_t>(row[2]) << 16 | static_cast<std::uint32_t>(row[3]) << 24;
        for (std::size_t c = 0; c < 3; ++c) target[c] = std::byte{header.masks[c].of(pixel)};
        target[3] = std::byte{header.hasAlpha() ? header.masks[3].of(pixel) : std::uint8_t{0xff}};
    }
}

void put(const Header& header, const std::uint8_t* row, std::byte* target) {
    const bool isMasked = header.packing == Packing::masks || header.packing == Packing::alphaMasks;
    if (header.bits <= 8)
        putIndexed(header, row, target);
    else if (isMasked || header.bits == 16)
        putMasked(header, row, target);
    else
        putBytes(header, row, target);
}

/// Rows that the file does not have stay black; a file without any is damaged.
DecodeFault readRows(PixelInput& input, const Header& header, PixelRows& rows) {
    std::vector<std::byte> row(static_cast<std::size_t>(header.rowBytes()));
    bool isThere = false;
    for (std::uint64_t y = 0; y < header.height; ++y) {
        const std::uint64_t place = header.isFromTop ? y : header.height - 1 - y;
        const std::size_t count = input.read(header.pixelsAt + place * row.size(), row);
        isThere = isThere || count == row.size();
        std::fill(row.begin() + static_cast<std::ptrdiff_t>(count), row.end(), std::byte{});
        put(header, reinterpret_cast<const std::uint8_t*>(row.data()), rows.next());
        rows.done();
    }
    rows.end();
    return isThere ? DecodeFault::none : DecodeFault::damaged;
}

/// Runs follow each other from the bottom: an index a pixel is in memory, a quarter of the picture.
DecodeFault readRuns(PixelInput& input, const Header& header, PixelRows& rows) {
    const auto width = static_cast<std::size_t>(header.width);
    const auto height = static_cast<std::size_t>(header.height);
    std::vector<std::uint8_t> indices(width * height);
    if (!unpackBmpRuns(input, header.pixelsAt, header.bits, width, indices)) return DecodeFault::damaged;
    for (std::size_t y = 0; y < height; ++y) {
        const std::uint8_t* row = indices.data() + (header.isFromTop ? y : height - 1 - y) * width;
        std::byte* target = rows.next();
        for (std::size_t x = 0; x < width; ++x, target += CGImage::kComponents) {
            for (std::size_t c = 0; c < 3; ++c) target[c] = std::byte{header.palette[row[x]][c]};
            target[3] = std::byte{0xff};
        }
        rows.done();
    }
    rows.end();
    return DecodeFault::none;
}

/// What is not packed is as large as it says, and a run makes 255 pixels of two bytes at the most.
bool isPlausible(const Header& header, std::uint64_t fileSize) {
    const std::uint64_t held = fileSize > header.pixelsAt ? fileSize - header.pixelsAt : 0;
    constexpr std::uint64_t kPixelsInByte = 128;
    if (header.height > UINT64_MAX / (header.width * 4)) return false;
    return header.isInRuns() ? codecs::isPlausible(held, kPixelsInByte, header.width * header.height)
                             : codecs::isPlausible(held, 1, header.rowBytes() * header.height);
}

DecodeFault decode(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    Header header;
    if (request.index > 0) return DecodeFault::damaged;
    if (const auto fault = readHeader(input, header); fault != DecodeFault::none) return fault;
    if (!isKnown(header)) return DecodeFault::unsupported;
    if (!isPlausible(header, input.size())) return DecodeFault::damaged;
    const auto width = static_cast<std::size_t>(header.width);
    const auto height = static_cast<std::size_t>(header.height);
    const std::size_t part = reduction(width, height, request);
    // 1.02 times the bitmap was measured; runs have their indices beside it.
    const auto fault = MemoryCount()
                           .picture(width / part, height / part, 8)
                           .beside(header.isInRuns() ? header.width * header.height : header.rowBytes())
                           .fault(request);
    if (fault != DecodeFault::none) return fault;
    PixelRows rows;
    const auto alpha = header.hasAlpha() ? CGImageAlphaInfo::last : CGImageAlphaInfo::noneSkipLast;
    if (const auto begun = rows.begin(decoded.image, width, height, 8, alpha, request); begun != DecodeFault::none)
        return begun;
    return header.isInRuns() ? readRuns(input, header, rows) : readRows(input, header, rows);
}

}  // namespace

DecodeFault decodeBmp(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return decode(input, request, decoded); });
}

}  // namespace tessaly::codecs
