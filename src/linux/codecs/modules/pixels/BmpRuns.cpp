#include "linux/codecs/modules/pixels/BmpRuns.h"

#include <optional>

namespace tessaly::codecs {
namespace {

/// Bytes of the input one after the other.
class ByteStream {
public:
    ByteStream(PixelInput& input, std::uint64_t offset) : input_(input), offset_(offset), piece_(kPiece) {}

    [[nodiscard]] std::optional<std::uint8_t> next() {
        if (at_ == end_) {
            end_ = input_.read(offset_, piece_);
            offset_ += end_;
            at_ = 0;
            if (end_ == 0) return std::nullopt;
        }
        return std::to_integer<std::uint8_t>(piece_[at_++]);
    }

private:
    static constexpr std::size_t kPiece = 64 * 1024;
    PixelInput& input_;
    std::uint64_t offset_;
    std::vector<std::byte> piece_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
};

class Unpacker {
public:
    Unpacker(PixelInput& input, std::uint64_t offset, unsigned bits, std::size_t width, std::span<std::uint8_t> indices)
        : bytes_(input, offset),
          isNarrow_(bits == 4),
          width_(width),
          height_(indices.size() / width),
          indices_(indices) {}

    [[nodiscard]] bool run() {
        while (y_ < height_) {
            const auto count = bytes_.next();
            const auto value = bytes_.next();
            if (!count || !value) break;
            if (*count > 0)
                repeat(*count, *value);
            else if (!escape(*value))
                break;
        }
        return hasPixel_;
    }

private:
    void put(std::uint8_t index) {
        hasPixel_ = true;
        if (x_ < width_ && y_ < height_) indices_[y_ * width_ + x_] = index;
        ++x_;
    }
    [[nodiscard]] std::uint8_t indexOf(std::uint8_t value, unsigned place) const {
        if (!isNarrow_) return value;
        return place % 2 == 0 ? value >> 4 : value & 0x0f;
    }
    void repeat(unsigned count, std::uint8_t value) {
        for (unsigned i = 0; i < count; ++i) put(indexOf(value, i));
    }

    /// @return false at the end.
    [[nodiscard]] bool escape(std::uint8_t code) {
        constexpr std::uint8_t kEndOfRow = 0, kEnd = 1, kDelta = 2;
        if (code == kEnd) return false;
        if (code == kEndOfRow) {
            x_ = 0;
            ++y_;
            return true;
        }
        if (code != kDelta) return literal(code);
        const auto right = bytes_.next();
        const auto up = bytes_.next();
        if (!right || !up) return false;
        x_ += *right;
        y_ += *up;
        return true;
    }

    /// Indices as they are, filled to whole words of 16 bits.
    [[nodiscard]] bool literal(unsigned count) {
        std::uint8_t value = 0;
        const unsigned inByte = isNarrow_ ? 2 : 1;
        for (unsigned i = 0; i < count; ++i) {
            if (i % inByte == 0) {
                const auto next = bytes_.next();
                if (!next) return false;
                value = *next;
            }
            put(indexOf(value, i));
        }
        const unsigned taken = (count + inByte - 1) / inByte;
        return taken % 2 == 0 || bytes_.next().has_value();
    }

    ByteStream bytes_;
    bool isNarrow_;
    std::size_t width_;
    std::size_t height_;
    std::span<std::uint8_t> indices_;
    std::size_t x_ = 0;
    std::size_t y_ = 0;
    bool hasPixel_ = false;
};

}  // namespace

bool unpackBmpRuns(PixelInput& input, std::uint64_t offset, unsigned bits, std::size_t width,
                   std::span<std::uint8_t> indices) {
    return Unpacker(input, offset, bits, width, indices).run();
}

}  // namespace tessaly::codecs
