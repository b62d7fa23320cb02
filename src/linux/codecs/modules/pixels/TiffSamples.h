#pragma once
#include <vector>

#include "linux/codecs/modules/pixels/TiffLayout.h"

namespace tessaly::codecs {

/// Makes pixels of four components of the samples of a page, whatever numbers they are: of 8 bits where those are
/// enough for them, of 16 otherwise. Integers reach from black to white, those with a sign from their least to their
/// largest; floating-point numbers from 0 to 1.
class TiffSamples {
public:
    explicit TiffSamples(const TiffLayout& layout) : layout_(layout) {}

    /// Numbers from 8 to 64 bits, or fewer; those of floating point from half to double.
    [[nodiscard]] static bool knows(unsigned bits, unsigned format) noexcept;

    /// `count` pixels whose samples stand side by side; numbers over a byte in this machine's order, as libtiff leaves
    /// them.
    void spread(const std::byte* samples, std::size_t count, std::byte* pixels);
    /// What one plane says of `count` pixels; the first plane says that they are opaque, where no other one will.
    void spreadPlane(std::size_t plane, const std::byte* samples, std::size_t count, std::byte* pixels);

private:
    /// The same numbers as components; the samples themselves where they are that already.
    template <class Component>
    const Component* components(const std::byte* samples, std::size_t count);

    const TiffLayout& layout_;
    std::vector<std::uint16_t> unpacked_;
};

}  // namespace tessaly::codecs
