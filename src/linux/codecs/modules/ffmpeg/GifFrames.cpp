#include "linux/codecs/modules/ffmpeg/GifFrames.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace tessaly::codecs {
namespace {

constexpr unsigned kHasPalette = 0x80;
constexpr unsigned kPaletteSize = 0x07;
constexpr unsigned kIsInterlaced = 0x40;
constexpr std::uint8_t kOpaque = 0xff;

/// Turns codes of growing length into the indices that they stand for. Every code is the string of an older one and
/// one index more.
class Unpacker {
public:
    Unpacker(unsigned bits, std::size_t count) : bits_(bits) { indices_.reserve(count); }

    /// As many indices as there are codes for, and no more than there is room for.
    [[nodiscard]] std::vector<std::uint8_t> run(std::span<const std::uint8_t> data, std::size_t count) {
        reset();
        unsigned buffer = 0;
        unsigned filled = 0;
        for (const std::uint8_t value : data) {
            buffer |= static_cast<unsigned>(value) << filled;
            filled += 8;
            while (filled >= length_) {
                const unsigned length = length_;
                const unsigned code = buffer & ((1U << length) - 1);
                buffer >>= length;
                filled -= length;
                if (!take(code) || indices_.size() >= count) return cut(count);
            }
        }
        return cut(count);
    }

private:
    static constexpr unsigned kMaximalLength = 12;
    static constexpr unsigned kCodes = 1U << kMaximalLength;

    [[nodiscard]] std::vector<std::uint8_t> cut(std::size_t count) {
        indices_.resize(std::min(indices_.size(), count));
        return std::move(indices_);
    }

    [[nodiscard]] unsigned clearCode() const { return 1U << bits_; }

    void reset() {
        length_ = bits_ + 1;
        next_ = clearCode() + 2;
        previous_ = kCodes;
    }

    /// @return false at the end, and at a code that has no meaning yet.
    [[nodiscard]] bool take(unsigned code) {
        if (code == clearCode()) {
            reset();
            return true;
        }
        if (code == clearCode() + 1 || code > next_ || (code == next_ && previous_ == kCodes)) return false;
        const bool isNew = code == next_;
        const std::size_t start = indices_.size();
        emit(isNew ? previous_ : code);
        const std::uint8_t first = indices_[start];
        if (isNew) indices_.push_back(first);
        learn(first);
        previous_ = code;
        return true;
    }

    /// The string comes out from its end.
    void emit(unsigned code) {
        const std::size_t start = indices_.size();
        for (; code >= clearCode(); code = prefixes_[code]) indices_.push_back(lasts_[code]);
        indices_.push_back(static_cast<std::uint8_t>(code));
        std::reverse(indices_.begin() + static_cast<std::ptrdiff_t>(start), indices_.end());
    }

    void learn(std::uint8_t last) {
        if (previous_ == kCodes || next_ == kCodes) return;
        prefixes_[next_] = static_cast<std::uint16_t>(previous_);
        lasts_[next_] = last;
        ++next_;
        if (next_ == 1U << length_ && length_ < kMaximalLength) ++length_;
    }

    unsigned bits_;
    unsigned length_ = 0;
    unsigned next_ = 0;
    unsigned previous_ = kCodes;
    std::array<std::uint16_t, kCodes> prefixes_{};
    std::array<std::uint8_t, kCodes> lasts_{};
    std::vector<std::uint8_t> indices_;
};

}  // namespace

DecodeFault GifFrames::open() {
    constexpr std::size_t kScreen = 13;
    const std::string_view start(reinterpret_cast<const char*>(file_.data()), std::min<std::size_t>(4, file_.size()));
    if (start != "GIF8") return DecodeFault::unsupported;
    if (!has(kScreen)) return DecodeFault::damaged;
    position_ = 6;
    width_ = word();
    height_ = word();
    const unsigned flags = byte();
    position_ = kScreen;  // The colour of the background and the shape of pixels are of no use to anybody.
    const bool isWhole = readPalette(flags, palette_) && width_ > 0 && height_ > 0;
    return isWhole ? DecodeFault::none : DecodeFault::damaged;
}

DecodeFault GifFrames::next() {
    if (canvas_.empty()) canvas_.resize(width_ * height_);
    dispose();
    control_ = {};
    while (has(1)) {
        switch (byte()) {
            case 0x21:
                if (!readExtension()) return DecodeFault::damaged;
                break;
            case 0x2c:
                return readFrame() ? DecodeFault::none : DecodeFault::damaged;
            case 0x00:
                break;  // Some writers leave an empty block too many.
            default:
                return DecodeFault::damaged;
        }
    }
    return DecodeFault::damaged;
}

unsigned GifFrames::word() {
    const unsigned low = byte();
    return low | byte() << 8;
}

bool GifFrames::readPalette(unsigned flags, Palette& palette) {
    if ((flags & kHasPalette) == 0) return true;
    const std::size_t count = std::size_t{2} << (flags & kPaletteSize);
    if (!has(count * 3)) return false;
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t c = 0; c < 3; ++c) palette[i][c] = static_cast<std::uint8_t>(byte());
    }
    return true;
}

bool GifFrames::readBlocks(std::vector<std::uint8_t>& data) {
    while (has(1)) {
        const unsigned count = byte();
        if (count == 0) return true;
        if (!has(count)) return false;
        const auto block = file_.subspan(position_, count);
        data.insert(data.end(), block.begin(), block.end());
        position_ += count;
    }
    return false;
}

bool GifFrames::readExtension() {
    constexpr unsigned kGraphicControl = 0xf9;
    if (!has(1)) return false;
    const unsigned label = byte();
    std::vector<std::uint8_t> data;
    if (!readBlocks(data)) return false;
    if (label != kGraphicControl || data.size() < 4) return true;
    const unsigned disposal = data[0] >> 2 & 7U;
    // 4 is what an old text said by mistake, and writers believed it.
    control_.disposal = disposal == 2                    ? Disposal::clear
                        : disposal == 3 || disposal == 4 ? Disposal::restore
                                                         : Disposal::keep;
    control_.delay = data[1] | static_cast<unsigned>(data[2]) << 8;
    control_.transparent = (data[0] & 1U) != 0 ? data[3] : -1;
    return true;
}

bool GifFrames::readFrame() {
    constexpr std::size_t kDescriptor = 9;
    constexpr unsigned kMaximalBits = 8;
    if (!has(kDescriptor)) return false;
    area_.left = word();
    area_.top = word();
    area_.width = word();
    area_.height = word();
    const unsigned flags = byte();
    Palette palette = palette_;
    if (!readPalette(flags, palette) || !has(1)) return false;
    const unsigned bits = byte();
    std::vector<std::uint8_t> data;
    if (bits < 1 || bits > kMaximalBits || !readBlocks(data)) return false;
    if (control_.disposal == Disposal::restore) saved_ = canvas_;
    // A few bytes can claim a large area: no more is unpacked than the canvas has room for.
    if (area_.height != 0 && area_.width > width_ * height_ / area_.height) return false;
    const std::size_t count = area_.width * area_.height;
    draw(Unpacker(bits, std::min(count, data.size() * 4)).run(data, count), palette, (flags & kIsInterlaced) != 0);
    return true;
}

/// What becomes of the last frame before the next one comes.
void GifFrames::dispose() {
    if (control_.disposal == Disposal::restore && !saved_.empty()) canvas_.swap(saved_);
    if (control_.disposal != Disposal::clear) return;
    const std::size_t left = std::min(area_.left, width_);
    const std::size_t right = std::min(area_.left + area_.width, width_);
    for (std::size_t y = area_.top; y < std::min(area_.top + area_.height, height_); ++y) {
        Pixel* row = canvas_.data() + y * width_;
        std::fill(row + left, row + right, Pixel{});
    }
}

/// Rows that the data does not reach show what was there before.
void GifFrames::draw(const std::vector<std::uint8_t>& indices, const Palette& palette, bool isInterlaced) {
    struct Pass {
        std::size_t first, step;
    };
    constexpr std::array<Pass, 4> kInterlaced = {{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};
    constexpr std::array<Pass, 1> kPlain = {{{0, 1}}};
    const auto passes = isInterlaced ? std::span<const Pass>(kInterlaced) : std::span<const Pass>(kPlain);
    std::size_t used = 0;
    for (const Pass& pass : passes) {
        for (std::size_t y = pass.first; y < area_.height; y += pass.step, used += area_.width) {
            if (indices.size() < area_.width || used > indices.size() - area_.width) return;
            drawRow(indices.data() + used, palette, area_.top + y);
        }
    }
}

void GifFrames::drawRow(const std::uint8_t* indices, const Palette& palette, std::size_t y) {
    if (y >= height_) return;
    Pixel* row = canvas_.data() + y * width_;
    const std::size_t right = std::min(area_.left + area_.width, width_);
    for (std::size_t x = area_.left; x < right; ++x, ++indices) {
        if (*indices == control_.transparent) continue;
        row[x] = palette[*indices];
        row[x][3] = kOpaque;
    }
}

}  // namespace tessaly::codecs
