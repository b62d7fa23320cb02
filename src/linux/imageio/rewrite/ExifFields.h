#pragma once
#include <utility>
#include <vector>

#include "linux/imageio/rewrite/TiffEditor.h"
#include "platform/Foundation/Value.h"

namespace tessaly::imageio {

/// The fields that say what {TIFF}, {Exif} and {GPS} of `values` say, with the types that Exif 2.32, 4.6 prescribes.
/// A name without a tag is left out; so is a value that has another kind than the tag takes, and an empty text.
[[nodiscard]] std::vector<std::pair<TiffKind, TiffField>> exifFields(const Dictionary& values, ByteOrder order);

/// The tags that `values` names, empty texts included: what stood there goes.
[[nodiscard]] std::vector<std::pair<TiffKind, std::uint16_t>> namedTags(const Dictionary& values);

/// The type that Exif prescribes for a tag of numbers.
[[nodiscard]] TiffType numberType(TiffKind kind, std::uint16_t tag) noexcept;

/// A fraction whose parts both fit 31 bits.
struct Ratio {
    std::int64_t numerator;
    std::int64_t denominator;
};
/// The nearest one, in its lowest terms: exact for 1/250 and 5.6.
[[nodiscard]] Ratio ratioOf(double value) noexcept;

/// One whole number as a field.
[[nodiscard]] TiffField shortField(std::uint16_t tag, std::uint16_t value, ByteOrder order);

}  // namespace tessaly::imageio
