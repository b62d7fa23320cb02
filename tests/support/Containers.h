#pragma once
#include <initializer_list>

#include "platform/Foundation/Value.h"
#include "support/Bytes.h"

/// Containers put together from blocks, and what the reader makes of them.
namespace tessaly::test {

/// The properties of image 0 of a file in memory; empty when it is not one.
[[nodiscard]] Dictionary propertiesOf(const ByteString& file);

[[nodiscard]] ByteString jpegSegment(unsigned marker, const ByteString& payload);
/// A JPEG of the given size with these segments.
[[nodiscard]] ByteString jpeg(std::initializer_list<ByteString> segments, unsigned width = 64, unsigned height = 48);
/// The same with an Exif segment.
[[nodiscard]] ByteString jpegWithExif(const ByteString& tiff);
[[nodiscard]] ByteString pngChunk(std::string_view type, const ByteString& data);
[[nodiscard]] ByteString png(std::initializer_list<ByteString> chunks);
/// A box of the ISO base media format.
[[nodiscard]] ByteString box(std::string_view type, std::initializer_list<ByteString> content);
[[nodiscard]] ByteString fullBox(std::string_view type, unsigned version, unsigned flags,
                                 std::initializer_list<ByteString> content);
/// One image resource, without a name.
[[nodiscard]] ByteString psdResource(unsigned identifier, const ByteString& data);
/// A layered picture: its parts as they are given; `pixels` begins with how they are packed.
struct Psd {
    bool isLarge = false;
    unsigned channels = 3;
    unsigned width = 64;
    unsigned height = 32;
    unsigned depth = 8;
    unsigned mode = 3;
    ByteString palette = {};
    ByteString resources = {};
    ByteString layers = {};
    ByteString pixels = {};
    [[nodiscard]] ByteString build() const;
};
/// A chunk of a RIFF file: "LIST" and "RIFF" begin with their type.
[[nodiscard]] ByteString riffChunk(std::string_view name, std::initializer_list<ByteString> content);
/// An XMP packet around attributes and elements of one description; the usual prefixes are declared.
[[nodiscard]] ByteString xmp(std::string_view attributes, std::string_view elements = {});
/// An ICC profile with that description.
[[nodiscard]] ByteString iccProfile(std::string_view description);

}  // namespace tessaly::test
