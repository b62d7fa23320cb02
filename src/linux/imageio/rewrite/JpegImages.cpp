#include "linux/imageio/rewrite/JpegImages.h"

#include <algorithm>
#include <array>
#include <string>

#include "linux/imageio/IsoBox.h"
#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/containers/JpegSegments.h"
#include "linux/imageio/rewrite/JpegScans.h"
#include "linux/imageio/rewrite/MovieBoxes.h"

namespace tessaly::imageio {
namespace {

using namespace jpeg;

constexpr std::uint16_t kEntriesTag = 0xB002;
constexpr std::uint32_t kEntrySize = 16;
constexpr std::size_t kMaximumImages = 64;

// CIPA DC-007, 5.2.3.3.1: the type of an image is the low 24 bits of its attribute.
constexpr std::uint32_t kTypeMask = 0xFFFFFF;
constexpr std::uint32_t kPanorama = 0x020001;
constexpr std::uint32_t kDisparity = 0x020002;
constexpr std::uint32_t kMultiAngle = 0x020003;

bool isJpeg(ByteSource& source, std::uint64_t offset) {
    const auto head = source.bytes(offset, 3);
    return head && asText(*head) == "\xFF\xD8\xFF"sv;
}

/// Behind the last marker of the image at `offset`; the end of the source for one that does not end.
std::uint64_t imageEndFrom(ByteSource& source, std::uint64_t offset) {
    std::uint64_t position = offset + 2;
    bool inScan = false;
    for (std::size_t count = 0; count < kMaximumSegments; ++count) {
        if (inScan) position = nextScanMarker(source, position);
        const auto marker = nextMarker(source, position);
        if (!marker) return source.size();
        if (*marker == kEndOfImage) return position;
        if (standsAlone(*marker) || *marker == kStartOfImage) continue;
        const auto length = source.read<std::uint16_t>(position);
        if (!length || *length < 2) return source.size();
        position += *length;
        inScan = inScan || *marker == kStartOfScan;
    }
    return source.size();
}

/// Whether the head of the image says that it is a gain map: Adobe's, Apple's or that of ISO 21496-1.
bool isGainMap(ByteSource& source, const JpegImage& image) {
    std::uint64_t position = image.offset + 2;
    for (std::size_t count = 0; count < 64; ++count) {
        const auto marker = nextMarker(source, position);
        if (!marker || *marker == kStartOfScan || *marker == kEndOfImage) return false;
        if (standsAlone(*marker)) continue;
        const auto length = source.read<std::uint16_t>(position);
        if (!length || *length < 2) return false;
        const auto body = source.bytes(position + 2, *length - 2U);
        if (body && (*marker == kApp1 || *marker == kApp2)) {
            const std::string_view text = asText(*body);
            for (const std::string_view mark : {"hdr-gain-map/1.0"sv, "HDRGainMap"sv, "hdrgainmap"sv, "iso:ts:21496"sv})
                if (text.find(mark) != std::string_view::npos) return true;
        }
        position += *length;
    }
    return false;
}

struct Index {
    TiffContext tiff;
    std::uint64_t entries;
    std::uint64_t count;
};

std::optional<Index> openIndex(ByteSource& source, const JpegPart& mpf) {
    if (mpf.length == 0) return std::nullopt;
    auto header = readTiffHeader(source, mpf.position);
    if (!header) return std::nullopt;
    const auto entry = readTiffDirectory(header->context, header->firstDirectory).find(kEntriesTag);
    if (!entry || entry->byteLength() < kEntrySize) return std::nullopt;
    return Index{header->context, entry->position,
                 std::min<std::uint64_t>(entry->byteLength() / kEntrySize, kMaximumImages)};
}

std::vector<JpegImage> indexedImages(ByteSource& source, const JpegPart& mpf) {
    std::vector<JpegImage> images;
    const auto index = openIndex(source, mpf);
    if (!index) return images;
    for (std::uint64_t i = 1; i < index->count; ++i) {
        const auto entry = source.bytes(index->entries + i * kEntrySize, kEntrySize);
        if (!entry) break;
        const auto number = [&](std::size_t at) {
            return loadInteger<std::uint32_t>(entry->data() + at, index->tiff.order);
        };
        const JpegImage image{mpf.position + number(8), number(4), number(0), false};
        if (number(8) != 0 && image.offset < source.size() && image.length <= source.size() - image.offset &&
            isJpeg(source, image.offset))
            images.push_back(image);
    }
    return images;
}

}  // namespace

std::vector<JpegImage> furtherImages(ByteSource& source, const JpegPart& mpf, std::uint64_t imageEnd, bool onlyShown) {
    std::vector<JpegImage> images = indexedImages(source, mpf);
    if (images.empty()) {
        for (std::uint64_t at = imageEnd; images.size() < kMaximumImages && isJpeg(source, at);) {
            const std::uint64_t end = imageEndFrom(source, at);
            images.push_back({at, end - at, 0, false});
            at = end;
        }
    }
    for (JpegImage& image : images) image.isGainMap = isGainMap(source, image);
    if (onlyShown)
        std::erase_if(images, [](const JpegImage& image) {
            const std::uint32_t type = image.attribute & kTypeMask;
            return !image.isGainMap && type != kPanorama && type != kDisparity && type != kMultiAngle;
        });
    return images;
}

ByteVector mpfSegment(const std::vector<JpegImage>& images, std::uint64_t position, std::uint64_t behind) {
    constexpr std::uint32_t headSize = 8;
    constexpr std::uint32_t tableSize = 2 + 3 * 12 + 4;
    const auto count = static_cast<std::uint32_t>(images.size() + 1);
    const std::uint32_t tiffSize = headSize + tableSize + count * kEntrySize;
    const std::uint32_t segmentSize = 2 + 2 + 4 + tiffSize;
    ByteWriter writer;
    writer.write(std::uint8_t{0xFF}).write(kApp2).write(static_cast<std::uint16_t>(segmentSize - 2)).text(kMpfMark);
    writer.text("MM"sv).write(std::uint16_t{42}).write(headSize);
    const auto row = [&](std::uint16_t tag, TiffType type, std::uint32_t values) -> ByteWriter& {
        return writer.write(tag).write(static_cast<std::uint16_t>(type)).write(values);
    };
    writer.write(std::uint16_t{3});
    row(0xB000, TiffType::undefined, 4).text("0100"sv);
    row(0xB001, TiffType::longInteger, 1).write(count);
    row(kEntriesTag, TiffType::undefined, count * kEntrySize).write(headSize + tableSize);
    writer.write(std::uint32_t{0});
    // The first image's own entry: a primary image of the baseline type (5.2.3.3.1), which starts at 0 by definition.
    const std::uint64_t firstSize = position + segmentSize + behind;
    writer.write(std::uint32_t{0x030000}).write(static_cast<std::uint32_t>(firstSize)).write(std::uint32_t{0}).zeros(4);
    std::uint64_t offset = firstSize - (position + 4 + kMpfMark.size());
    for (const JpegImage& image : images) {
        writer.write(image.attribute).write(static_cast<std::uint32_t>(image.length));
        writer.write(static_cast<std::uint32_t>(offset)).zeros(4);
        offset += image.length;
    }
    return writer.take();
}

void moveMpfOffsets(ByteVector& bytes, std::size_t start, std::int64_t shift) {
    ByteSource source{Bytes(bytes)};
    const auto index = openIndex(source, {start, bytes.size() - start});
    if (!index) return;
    for (std::uint64_t i = 1; i < index->count; ++i) {
        const std::uint64_t at = index->entries + i * kEntrySize + 8;
        if (at + 4 > bytes.size()) return;
        std::byte* const stored = bytes.data() + at;
        const auto offset = loadInteger<std::uint32_t>(stored, index->tiff.order);
        if (offset != 0) storeInteger(stored, static_cast<std::uint32_t>(offset + shift), index->tiff.order);
    }
}

std::string gainMapDescription(const std::vector<JpegImage>& images) {
    const auto map = std::ranges::find(images, true, &JpegImage::isGainMap);
    if (map == images.end()) return {};
    return "<rdf:Description xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\" rdf:about=\"\" "
           "xmlns:hdrgm=\"http://ns.adobe.com/hdr-gain-map/1.0/\" "
           "xmlns:Container=\"http://ns.google.com/photos/1.0/container/\" "
           "xmlns:Item=\"http://ns.google.com/photos/1.0/container/item/\" hdrgm:Version=\"1.0\"><Container:Directory>"
           "<rdf:Seq><rdf:li rdf:parseType=\"Resource\"><Container:Item Item:Semantic=\"Primary\" "
           "Item:Mime=\"image/jpeg\"/></rdf:li><rdf:li rdf:parseType=\"Resource\"><Container:Item "
           "Item:Semantic=\"GainMap\" Item:Mime=\"image/jpeg\" Item:Length=\"" +
           std::to_string(map->length) + "\"/></rdf:li></rdf:Seq></Container:Directory></rdf:Description>";
}

std::vector<RewritePlan::Patch> patchTrailingMovie(ByteSource& source, std::uint64_t imageEnd) {
    // A motion video may stand behind padding or a maker's own mark: its first box is looked for.
    std::array<std::byte, 64 * 1024> buffer;
    for (std::uint64_t at = imageEnd; at < source.size();) {
        const std::size_t length = source.copyTo(at, buffer);
        if (length < 8) break;
        const std::string_view text = asText(Bytes(buffer).first(length));
        const auto found = text.find("ftyp"sv);
        if (found != std::string_view::npos && at + found >= imageEnd + 4) {
            const std::uint64_t start = at + found - 4;
            return placePatches(source, start, source.size() - start);
        }
        if (length < buffer.size()) break;
        at += length - 8;
    }
    return {};
}

}  // namespace tessaly::imageio
