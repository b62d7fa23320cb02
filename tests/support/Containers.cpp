#include "support/Containers.h"

#include <zlib.h>

#include <memory>

#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::test {

Dictionary propertiesOf(const ByteString& file) {
    const auto bytes = file.bytes();
    const Data data = std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
    return CGImageSourceCopyPropertiesAtIndex(CGImageSourceCreateWithData(data), 0, {}).value_or(Dictionary());
}

ByteString jpegSegment(unsigned marker, const ByteString& payload) {
    return ByteString().u8(0xFF).u8(marker).u16(static_cast<unsigned>(payload.size() + 2)).add(payload);
}

ByteString jpeg(std::initializer_list<ByteString> segments, unsigned width, unsigned height) {
    ByteString file;
    file.u16(0xFFD8);
    for (const ByteString& segment : segments) file.add(segment);
    ByteString frame;
    frame.u8(8).u16(height).u16(width).u8(3).add(std::string_view("\1\x22\0\2\x11\1\3\x11\1", 9));
    file.add(jpegSegment(0xC0, frame)).add(jpegSegment(0xDA, "\3\1\0\2\x11\3\x11\0\x3f\0"_z));
    return file.add("\x12\x34\xFF\xD9");
}

ByteString jpegWithExif(const ByteString& tiff) {
    return jpeg({jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(tiff))});
}

ByteString pngChunk(std::string_view type, const ByteString& data) {
    const ByteString body = ByteString(type).add(data);
    const auto crc = ::crc32(0, reinterpret_cast<const Bytef*>(body.text().data()), static_cast<uInt>(body.size()));
    return ByteString().u32(static_cast<std::uint32_t>(data.size())).add(body).u32(static_cast<std::uint32_t>(crc));
}

ByteString png(std::initializer_list<ByteString> chunks) {
    ByteString file("\x89PNG\r\n\x1a\n");
    file.add(pngChunk("IHDR", ByteString().u32(64).u32(48).u8(8).u8(6).u8(0).u8(0).u8(0)));
    for (const ByteString& chunk : chunks) file.add(chunk);
    return file.add(pngChunk("IEND", {}));
}

ByteString box(std::string_view type, std::initializer_list<ByteString> content) {
    ByteString body;
    for (const ByteString& part : content) body.add(part);
    return ByteString().u32(static_cast<std::uint32_t>(body.size() + 8)).add(type).add(body);
}

ByteString fullBox(std::string_view type, unsigned version, unsigned flags, std::initializer_list<ByteString> content) {
    ByteString body;
    body.u32(version << 24U | flags);
    for (const ByteString& part : content) body.add(part);
    return box(type, {body});
}

ByteString xmp(std::string_view attributes, std::string_view elements) {
    ByteString packet(R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?><x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF
 xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about=""
 xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmlns:dc="http://purl.org/dc/elements/1.1/"
 xmlns:aux="http://ns.adobe.com/exif/1.0/aux/" xmlns:exif="http://ns.adobe.com/exif/1.0/"
 xmlns:photoshop="http://ns.adobe.com/photoshop/1.0/" xmlns:tiff="http://ns.adobe.com/tiff/1.0/" )");
    return packet.add(attributes).add(">").add(elements).add("</rdf:Description></rdf:RDF></x:xmpmeta>");
}

ByteString iccProfile(std::string_view description) {
    ByteString text;
    for (const char c : description) text.u16(static_cast<unsigned char>(c));
    ByteString tag("mluc\0\0\0\0"_z);
    tag.u32(1).u32(12).add("enUS").u32(static_cast<std::uint32_t>(text.size())).u32(28).add(text);
    ByteString profile;
    profile.u32(static_cast<std::uint32_t>(144 + tag.size()))
        .add(8, '\0')
        .add("mntrRGB XYZ ")
        .add(12, '\0')
        .add("acsp");
    profile.add(128 - profile.size(), '\0').u32(1).add("desc").u32(144).u32(static_cast<std::uint32_t>(tag.size()));
    return profile.add(tag);
}

ByteString psdResource(unsigned identifier, const ByteString& data) {
    ByteString made = ByteString("8BIM").u16(identifier).u16(0).u32(static_cast<std::uint32_t>(data.size())).add(data);
    return data.size() % 2 != 0 ? made.u8(0) : made;
}

ByteString Psd::build() const {
    ByteString file("8BPS");
    file.u16(isLarge ? 2 : 1).add(6, '\0').u16(channels).u32(height).u32(width).u16(depth).u16(mode);
    file.u32(static_cast<std::uint32_t>(palette.size())).add(palette);
    file.u32(static_cast<std::uint32_t>(resources.size())).add(resources);
    if (isLarge)
        file.u64(layers.size());
    else
        file.u32(static_cast<std::uint32_t>(layers.size()));
    return file.add(layers).add(pixels);
}

ByteString riffChunk(std::string_view name, std::initializer_list<ByteString> content) {
    ByteString data;
    for (const ByteString& part : content) data.add(part);
    ByteString chunk = ByteString(name).number(static_cast<std::uint32_t>(data.size()), true).add(data);
    return data.size() % 2 != 0 ? chunk.u8(0) : chunk;
}

}  // namespace tessaly::test
