#include "linux/imageio/EmbeddedPreview.h"

#include <algorithm>
#include <array>
#include <set>

#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/containers/CiffHeap.h"
#include "linux/imageio/containers/Containers.h"
#include "linux/imageio/containers/PsdSections.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

/// Exif stands near the start of a file, or behind its pixels; so far it is looked for.
constexpr std::uint64_t kSearched = std::uint64_t{1} << 20;
constexpr std::size_t kStructures = 32;
constexpr std::size_t kDirectories = 64;
constexpr std::uint64_t kPreviewLimit = std::uint64_t{16} << 20;

// TIFF 6.0, section 22; TIFF/EP; Panasonic's JpgFromRaw; CIPA DC-007, 5.2.3.
constexpr std::uint16_t kJpegOffset = 0x0201, kJpegLength = 0x0202, kSubDirectories = 0x014A, kExif = 0x8769;
constexpr std::uint16_t kStripOffsets = 0x0111, kStripByteCounts = 0x0117, kCompression = 0x0103;
constexpr std::uint16_t kNewSubfileType = 0x00FE, kJpegFromRaw = 0x002E, kFurtherImages = 0xB002;
constexpr std::uint64_t kFurtherImageEntry = 16;
/// The thumbnail among the resources of a PSD.
constexpr std::uint16_t kPsdThumbnail = 0x040C;
/// In the heap of a CRW.
constexpr std::uint16_t kCrwPreview = 0x2007, kCrwThumbnail = 0x2008;

class Search {
public:
    explicit Search(ByteSource& source) : source_(source) {}

    [[nodiscard]] std::optional<EmbeddedPreview> run() {
        lookIn(0, kSearched);
        if (source_.size() > kSearched) lookIn(std::max(kSearched, source_.size() - kSearched), kSearched);
        // Fujifilm's raws tell it in their own header.
        const auto mark = source_.bytes(0, 8);
        if (mark && asText(*mark) == "FUJIFILM")
            offer(source_.read<std::uint32_t>(84).value_or(0), source_.read<std::uint32_t>(88).value_or(0));
        lookInPsd();
        lookInCrw();
        return largest_;
    }

private:
    /// Behind a head of 28 bytes (format, sizes, depth).
    void lookInPsd() {
        const auto read = [this](std::uint64_t offset, std::span<std::byte> target) {
            return source_.copyTo(offset, target) == target.size();
        };
        const auto sections = PsdSectionsReader(source_.size(), read).sections();
        if (!sections) return;
        constexpr std::uint64_t head = 28;
        forEachPsdResource(sections->resources, read, [&](const PsdResource& resource) {
            if (resource.identifier == kPsdThumbnail && resource.length > head)
                offer(resource.position + head, resource.length - head);
        });
    }

    /// Every TIFF header between two places. What looks like one by chance leads to no JPEG.
    void lookIn(std::uint64_t start, std::uint64_t length) {
        const Bytes found = source_.bytesUpTo(start, length);
        // A copy: reading directories may move what the source keeps.
        const std::string text(asText(found));
        constexpr std::array<std::string_view, 2> kMarks{std::string_view("II*\0", 4), std::string_view("MM\0*", 4)};
        std::size_t structures = 0;
        for (const std::string_view mark : kMarks)
            for (std::size_t at = text.find(mark); at != std::string::npos && structures < kStructures;
                 at = text.find(mark, at + 1), ++structures)
                readStructure(start + at);
    }

    void readStructure(std::uint64_t base) {
        auto header = readTiffHeader(source_, base);
        if (!header) return;
        visited_.clear();
        readDirectories(header->context, header->firstDirectory);
    }

    void lookInCrw() {
        if (!isCiff(source_)) return;
        forEachCiffEntry(source_, [this](const CiffEntry& entry) {
            if (entry.identifier == kCrwPreview || entry.identifier == kCrwThumbnail)
                offer(entry.position, entry.length);
        });
    }

    void readDirectories(TiffContext& tiff, std::uint64_t offset) {
        while (offset != 0 && visited_.size() < kDirectories && visited_.insert(offset).second) {
            const TiffDirectory directory = readTiffDirectory(tiff, offset);
            readDirectory(tiff, directory);
            for (const std::uint16_t tag : {kSubDirectories, kExif})
                if (const auto sub = directory.find(tag))
                    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(sub->count, kDirectories); ++i)
                        readDirectories(tiff, sub->integer(tiff, i).value_or(0));
            offset = directory.next;
        }
    }

    void readDirectory(TiffContext& tiff, const TiffDirectory& directory) {
        const auto number = [&](std::uint16_t tag) {
            const auto entry = directory.find(tag);
            return entry && entry->count == 1 ? entry->integer(tiff).value_or(0) : 0;
        };
        offer(tiff.base + number(kJpegOffset), number(kJpegLength));
        const bool isReduced = (number(kNewSubfileType) & 1) != 0;
        const auto compression = number(kCompression);
        if (isReduced && (compression == 6 || compression == 7))
            offer(tiff.base + number(kStripOffsets), number(kStripByteCounts));
        if (const auto whole = directory.find(kJpegFromRaw)) offer(whole->position, whole->byteLength());
        if (const auto images = directory.find(kFurtherImages)) readFurtherImages(tiff, *images);
    }

    void readFurtherImages(const TiffContext& tiff, const TiffEntry& images) {
        for (std::uint64_t at = 0; at + kFurtherImageEntry <= std::min<std::uint64_t>(images.count, 1024);
             at += kFurtherImageEntry) {
            const auto length = source_.read<std::uint32_t>(images.position + at + 4, tiff.order);
            const auto offset = source_.read<std::uint32_t>(images.position + at + 8, tiff.order);
            if (length && offset && *offset != 0) offer(tiff.base + *offset, *length);
        }
    }

    void offer(std::uint64_t position, std::uint64_t length) {
        if (length < 4 || position == 0 || position >= source_.size()) return;
        length = std::min(length, source_.size() - position);
        if (length > kPreviewLimit || source_.read<std::uint16_t>(position).value_or(0) != 0xFFD8) return;
        ByteSource jpeg = source_.part(position, length);
        ImageProperties properties;
        readJpeg(jpeg, properties);
        const auto width = static_cast<std::uint64_t>(properties.top[kCGImagePropertyPixelWidth].integerValue());
        const auto height = static_cast<std::uint64_t>(properties.top[kCGImagePropertyPixelHeight].integerValue());
        if (!largest_ || width * height > largest_->width * largest_->height)
            if (width > 0 && height > 0) largest_ = EmbeddedPreview{position, length, width, height};
    }

    ByteSource& source_;
    std::set<std::uint64_t> visited_;
    std::optional<EmbeddedPreview> largest_;
};

}  // namespace

std::optional<EmbeddedPreview> largestPreview(ByteSource& source) { return Search(source).run(); }

}  // namespace tessaly::imageio
