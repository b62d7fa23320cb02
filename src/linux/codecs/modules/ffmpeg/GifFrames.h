#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "linux/codecs/ImageCodec.h"

namespace tessaly::codecs {

/// Plays a GIF frame by frame on a canvas. The library's own player fills what a frame leaves with the background
/// colour, where everybody shows through.
class GifFrames {
public:
    using Pixel = std::array<std::uint8_t, CGImage::kComponents>;

    /// @param file stays where it is.
    explicit GifFrames(std::span<const std::uint8_t> file) : file_(file) {}

    /// The screen and its colours. The caller looks at the size before anything is played.
    [[nodiscard]] DecodeFault open();
    /// Lays the next frame over what the last one left; damaged when there is none or it is not whole.
    [[nodiscard]] DecodeFault next();

    [[nodiscard]] std::size_t width() const { return width_; }
    [[nodiscard]] std::size_t height() const { return height_; }
    [[nodiscard]] const Pixel* row(std::size_t y) const { return canvas_.data() + y * width_; }
    /// Seconds that the frame stays.
    [[nodiscard]] double delay() const { return control_.delay / 100.0; }

private:
    using Palette = std::array<Pixel, 256>;

    enum class Disposal : std::uint8_t { keep, clear, restore };

    /// What an extension tells of the frame behind it.
    struct Control {
        Disposal disposal = Disposal::keep;
        unsigned delay = 0;
        int transparent = -1;
    };

    struct Area {
        std::size_t left = 0;
        std::size_t top = 0;
        std::size_t width = 0;
        std::size_t height = 0;
    };

    [[nodiscard]] bool has(std::size_t count) const { return count <= file_.size() - position_; }
    [[nodiscard]] unsigned byte() { return file_[position_++]; }
    [[nodiscard]] unsigned word();
    [[nodiscard]] bool readPalette(unsigned flags, Palette& palette);
    [[nodiscard]] bool readExtension();
    [[nodiscard]] bool readFrame();
    [[nodiscard]] bool readBlocks(std::vector<std::uint8_t>& data);
    void dispose();
    void draw(const std::vector<std::uint8_t>& indices, const Palette& palette, bool isInterlaced);
    void drawRow(const std::uint8_t* indices, const Palette& palette, std::size_t y);

    std::span<const std::uint8_t> file_;
    std::size_t position_ = 0;
    std::size_t width_ = 0;
    std::size_t height_ = 0;
    Palette palette_{};
    std::vector<Pixel> canvas_;
    std::vector<Pixel> saved_;
    Control control_;
    Area area_;
};

}  // namespace tessaly::codecs
