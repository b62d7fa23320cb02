#pragma once
#include <algorithm>
#include <vector>

#include "linux/codecs/modules/MemoryCount.h"

/// For decoders that deliver rows from the top.
namespace tessaly::codecs {

/// Memory for the pixels, all of it opaque black or transparent; outOfMemory when there is none. `memory` gives it
/// where it is not null: for the picture that is answered, and for no other one.
[[nodiscard]] inline DecodeFault allocate(CGImage& image, std::size_t width, std::size_t height,
                                          unsigned bitsPerComponent, CGImageAlphaInfo alphaInfo,
                                          PixelMemory* memory = nullptr) {
    image.width = width;
    image.height = height;
    image.bitsPerComponent = bitsPerComponent;
    image.alphaInfo = alphaInfo;
    const std::size_t size = image.bytesPerRow() * height;
    image.pixels = memory ? memory->allocate(size) : PixelBuffer::allocate(size);
    return image.pixels ? DecodeFault::none : DecodeFault::outOfMemory;
}

/// By how many pixels a side an image may be averaged and still have the longer side that is asked for.
[[nodiscard]] inline std::size_t reduction(std::size_t width, std::size_t height, const DecodeRequest& request) {
    if (request.longerSide == 0) return 1;
    return std::max<std::size_t>(1, std::max(width, height) / request.longerSide);
}

/// Takes rows one by one and keeps them, or averages of squares of them: a huge picture becomes a small one without
/// ever being in memory.
class PixelRows {
public:
    [[nodiscard]] DecodeFault begin(CGImage& image, std::size_t width, std::size_t height, unsigned bitsPerComponent,
                                    CGImageAlphaInfo alphaInfo, const DecodeRequest& request) {
        image_ = &image;
        factor_ = reduction(width, height, request);
        const std::size_t targetWidth = (width + factor_ - 1) / factor_;
        const std::size_t targetHeight = (height + factor_ - 1) / factor_;
        if (width == 0 || height == 0) return DecodeFault::damaged;
        if (request.pixelLimit != 0 && targetWidth > request.pixelLimit / targetHeight) return DecodeFault::tooLarge;
        if (const auto fault = MemoryCount().picture(targetWidth, targetHeight, bitsPerComponent).fault(request);
            fault != DecodeFault::none)
            return fault;
        width_ = width;
        if (const auto fault = allocate(image, targetWidth, targetHeight, bitsPerComponent, alphaInfo, request.memory);
            fault != DecodeFault::none || factor_ == 1)
            return fault;
        row_.resize(width * image.bytesPerPixel());
        sums_.assign(targetWidth * (CGImage::kComponents + 1), 0);
        return DecodeFault::none;
    }

    /// Where the next row goes.
    [[nodiscard]] std::byte* next() {
        return factor_ == 1 ? image_->row(std::min(y_, image_->height - 1)) : row_.data();
    }

    /// The row is there.
    void done() {
        ++y_;
        if (factor_ == 1) return;
        if (image_->bitsPerComponent == 16)
            add<std::uint16_t>();
        else
            add<std::uint8_t>();
        if (y_ % factor_ == 0) flush();
    }

    /// No more rows come.
    void end() {
        if (factor_ > 1 && y_ % factor_ != 0) flush();
    }

private:
    /// Colours weigh as much as they are seen: a transparent pixel's do not count.
    template <class Component>
    void add() {
        const auto* pixel = reinterpret_cast<const Component*>(row_.data());
        const bool weighs = image_->hasAlpha() && !image_->isPremultiplied();
        constexpr std::size_t kSums = CGImage::kComponents + 1;
        for (std::size_t x = 0; x < width_; ++x, pixel += CGImage::kComponents) {
            std::uint64_t* sum = sums_.data() + x / factor_ * kSums;
            const std::uint64_t weight = weighs ? pixel[3] : 1;
            for (std::size_t c = 0; c < 3; ++c) sum[c] += pixel[c] * weight;
            sum[3] += pixel[3];
            ++sum[4];
        }
    }

    void flush() {
        const std::size_t target = (y_ - 1) / factor_;
        if (target < image_->height) {
            if (image_->bitsPerComponent == 16)
                store<std::uint16_t>(target);
            else
                store<std::uint8_t>(target);
        }
        std::ranges::fill(sums_, 0);
    }

    template <class Component>
    void store(std::size_t y) {
        auto* pixel = reinterpret_cast<Component*>(image_->row(y));
        const bool weighs = image_->hasAlpha() && !image_->isPremultiplied();
        constexpr std::size_t kSums = CGImage::kComponents + 1;
        for (std::size_t x = 0; x < image_->width; ++x, pixel += CGImage::kComponents) {
            const std::uint64_t* sum = sums_.data() + x * kSums;
            const std::uint64_t count = std::max<std::uint64_t>(sum[4], 1);
            const std::uint64_t weight = weighs ? std::max<std::uint64_t>(sum[3], 1) : count;
            for (std::size_t c = 0; c < 3; ++c) pixel[c] = static_cast<Component>((sum[c] + weight / 2) / weight);
            pixel[3] = static_cast<Component>((sum[3] + count / 2) / count);
        }
    }

    CGImage* image_ = nullptr;
    std::size_t factor_ = 1;
    std::size_t width_ = 0;
    std::size_t y_ = 0;
    std::vector<std::byte> row_;
    std::vector<std::uint64_t> sums_;
};

}  // namespace tessaly::codecs
