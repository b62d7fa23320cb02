#pragma once
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "support/Bytes.h"

namespace tessaly::test {

/// Builds a TIFF structure: directories, their values, and the pointers between them.
class TiffBuilder {
public:
    enum Directory : std::uint8_t { first, exif, gps };

    explicit TiffBuilder(bool little = true) : little_(little) {}

    TiffBuilder& text(Directory directory, unsigned tag, std::string_view text);
    TiffBuilder& shorts(Directory directory, unsigned tag, std::initializer_list<unsigned> values);
    TiffBuilder& longs(Directory directory, unsigned tag, std::initializer_list<std::uint32_t> values);
    struct Ratio {
        std::uint32_t numerator, denominator;
    };
    TiffBuilder& rationals(Directory directory, unsigned tag, std::initializer_list<Ratio> values,
                           bool isSigned = false);
    TiffBuilder& raw(Directory directory, unsigned tag, unsigned type, std::uint32_t count, const ByteString& value);

    /// The whole, header first.
    [[nodiscard]] ByteString build() const;
    /// One directory alone, as it would stand at `offset`, as maker notes hold it.
    [[nodiscard]] ByteString directory(Directory directory, std::uint32_t offset) const;

private:
    struct Entry {
        unsigned tag;
        unsigned type;
        std::uint32_t count;
        ByteString value;
    };
    [[nodiscard]] ByteString render(std::vector<Entry> entries, std::uint32_t offset) const;

    bool little_;
    std::vector<Entry> entries_[3];
};

/// A little-endian structure whose first directory is followed by the one at `offset`.
[[nodiscard]] ByteString withNext(const ByteString& tiff, std::uint32_t offset);

}  // namespace tessaly::test
