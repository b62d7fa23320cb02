#include <algorithm>
#include <array>
#include <vector>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/ExifBlock.h"
#include "linux/imageio/blocks/ExifValues.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

// TIFF 6.0, Supplement 1 (SubIFDs), DNG 1.6.
constexpr std::uint16_t kNewSubfileType = 0x00FE;
constexpr std::uint16_t kImageWidth = 0x0100;
constexpr std::uint16_t kImageLength = 0x0101;
constexpr std::uint16_t kBitsPerSample = 0x0102;
constexpr std::uint16_t kPhotometric = 0x0106;
constexpr std::uint16_t kSubDirectories = 0x014A;
constexpr std::uint16_t kExtraSamples = 0x0152;
constexpr std::uint16_t kXmp = 0x02BC;
constexpr std::uint16_t kIptc = 0x83BB;
constexpr std::uint16_t kPhotoshop = 0x8649;
constexpr std::uint16_t kIccProfile = 0x8773;
constexpr std::uint16_t kDefaultCropSize = 0xC620;
constexpr std::uint16_t kDngPrivateData = 0xC634;
constexpr std::uint16_t kPanasonicJpeg = 0x002E;
/// PhotometricInterpretation of a sensor's own samples (TIFF/EP).
constexpr std::uint64_t kColorFilterArray = 32803;
/// Behind the header of a Canon raw: "CR", and a version.
constexpr std::uint64_t kCanonMark = 8;

constexpr std::size_t kMaximumPages = 1000;
constexpr std::size_t kMaximumSubDirectories = 16;
constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;

struct DngTag {
    std::uint16_t tag;
    TagForm form;
    std::string_view name;
};

constexpr std::array kDngTags{
    DngTag{0xC612, TagForm::numbers, "DNGVersion"},      DngTag{0xC613, TagForm::numbers, "DNGBackwardVersion"},
    DngTag{0xC614, TagForm::text, "UniqueCameraModel"},  DngTag{0xC615, TagForm::text, "LocalizedCameraModel"},
    DngTag{0xC62F, TagForm::text, "CameraSerialNumber"}, DngTag{0xC630, TagForm::numbers, "LensInfo"},
    DngTag{0xC628, TagForm::numbers, "AsShotNeutral"},   DngTag{0xC62A, TagForm::number, "BaselineExposure"},
};

struct PixelSize {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    [[nodiscard]] std::uint64_t area() const { return width * height; }
};

class TiffWalk {
public:
    TiffWalk(TiffContext& tiff, ImageProperties& properties)
        : tiff_(tiff), properties_(properties), exif_(tiff, properties) {}

    void read(std::uint64_t firstOffset) {
        if (!exif_.visit(firstOffset)) return;
        first_ = readTiffDirectory(tiff_, firstOffset);
        exif_.readFirst(first_);
        readDng();
        readEmbeddedJpeg();
        readPixels();
        exif_.readMakerNotes();
        adoptRawSize();
        readAdobeMakerNote();
        readBlocks();
        adoptTiffBasics(properties_);
        countPages();
    }

private:
    std::optional<std::uint64_t> integer(const TiffDirectory& directory, std::uint16_t tag, std::uint64_t index = 0) {
        const auto entry = directory.find(tag);
        return entry ? entry->integer(tiff_, index) : std::nullopt;
    }

    PixelSize sizeOf(const TiffDirectory& directory) {
        // DNG says how much of the sensor's area is picture.
        if (const auto crop = directory.find(kDefaultCropSize); crop && crop->count >= 2)
            return {crop->integer(tiff_, 0).value_or(0), crop->integer(tiff_, 1).value_or(0)};
        return {integer(directory, kImageWidth).value_or(0), integer(directory, kImageLength).value_or(0)};
    }

    /// The largest full-resolution image of the file is the picture; the others are its previews.
    void readPixels() {
        std::vector<TiffDirectory> directories{first_};
        if (const auto sub = first_.find(kSubDirectories))
            for (std::uint64_t i = 0; i < std::min<std::uint64_t>(sub->count, kMaximumSubDirectories); ++i)
                if (const auto offset = sub->integer(tiff_, i); offset && exif_.visit(*offset))
                    directories.push_back(readTiffDirectory(tiff_, *offset));
        const TiffDirectory* main = nullptr;
        for (const TiffDirectory& directory : directories) {
            if (sizeOf(directory).area() == 0) continue;
            const bool full = (integer(directory, kNewSubfileType).value_or(0) & 1) == 0;
            const bool mainFull = main && (integer(*main, kNewSubfileType).value_or(0) & 1) == 0;
            if (!main || (full && !mainFull) || (full == mainFull && sizeOf(directory).area() > sizeOf(*main).area()))
                main = &directory;
        }
        if (main) describe(*main);
        adoptExifSize();
    }

    /// Raws of some makers keep no size that a TIFF reader knows; what Exif says is the picture's.
    void adoptExifSize() {
        if (properties_.top.contains(kCGImagePropertyPixelWidth)) return;
        const auto width = properties_.exif["PixelXDimension"].integerValue();
        const auto height = properties_.exif["PixelYDimension"].integerValue();
        if (width > 0 && height > 0)
            properties_.setPixelSize(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height));
    }

    /// The directories of some raws tell the preview's size or the sensor's with its borders; what the camera calls the
    /// size of its picture stands elsewhere.
    void adoptRawSize() {
        const auto mark = tiff_.source.bytes(tiff_.base + kCanonMark, 2);
        if (mark && asText(*mark) == "CR") {
            const auto width = properties_.exif["PixelXDimension"].integerValue();
            const auto height = properties_.exif["PixelYDimension"].integerValue();
            if (width > 0 && height > 0)
                properties_.setPixelSize(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height));
        } else if (properties_.makerSize.isInside(sensor_.width, sensor_.height)) {
            properties_.setPixelSize(properties_.makerSize.width, properties_.makerSize.height);
        }
    }

    void describe(const TiffDirectory& directory) {
        const PixelSize size = sizeOf(directory);
        if (integer(directory, kPhotometric) == kColorFilterArray && !directory.find(kDefaultCropSize)) sensor_ = size;
        properties_.setPixelSize(size.width, size.height);
        if (const auto depth = integer(directory, kBitsPerSample))
            ImageProperties::add(properties_.top, kCGImagePropertyDepth, *depth);
        if (const auto photometric = integer(directory, kPhotometric))
            ImageProperties::add(properties_.top, kCGImagePropertyColorModel, colorModelOf(*photometric));
        if (const auto extra = integer(directory, kExtraSamples); extra && (*extra == 1 || *extra == 2))
            ImageProperties::add(properties_.top, kCGImagePropertyHasAlpha, true);
    }

    static std::string_view colorModelOf(std::uint64_t photometric) {
        switch (photometric) {
            case 0:
            case 1:
                return "Gray";
            case 5:
                return "CMYK";
            case 8:
            case 9:
                return "Lab";
            default:
                return "RGB";
        }
    }

    void readDng() {
        for (const auto& [tag, form, name] : kDngTags)
            if (const auto entry = first_.find(tag))
                ImageProperties::add(properties_.dng, name, tiffValue(tiff_, *entry, form));
        if (properties_.dng.empty()) return;
        ImageProperties::add(properties_.aux, "SerialNumber", properties_.dng["CameraSerialNumber"]);
        ImageProperties::add(properties_.aux, "LensInfo", properties_.dng["LensInfo"]);
    }

    /// Panasonic's raws keep their Exif in the preview.
    void readEmbeddedJpeg() {
        const auto entry = first_.find(kPanasonicJpeg);
        if (!entry || entry->byteLength() < 1024) return;
        ByteSource jpeg = tiff_.source.part(entry->position, entry->byteLength());
        ImageProperties preview;
        readJpeg(jpeg, preview);
        adoptPreview(preview);
        // The sensor's own borders: top, left, bottom, right.
        const auto top = integer(first_, 4), left = integer(first_, 5), bottom = integer(first_, 6),
                   right = integer(first_, 7);
        if (top && left && bottom && right && *bottom > *top && *right > *left)
            properties_.setPixelSize(*right - *left, *bottom - *top);
    }

    void adoptPreview(const ImageProperties& preview) {
        const auto adopt = [](Dictionary& to, const Dictionary& from) {
            for (const auto& entry : from)
                if (!to.contains(entry.key())) to.set(entry.key(), entry.value);
        };
        adopt(properties_.exif, preview.exif);
        adopt(properties_.tiff, preview.tiff);
        adopt(properties_.gps, preview.gps);
        adopt(properties_.aux, preview.aux);
        adopt(properties_.makerAux, preview.makerAux);
        adopt(properties_.iptc, preview.iptc);
    }

    /// DNG 1.6, DNGPrivateData by Adobe: "Adobe\0MakN", length, byte order, the original offset, then the note.
    void readAdobeMakerNote() {
        const auto entry = first_.find(kDngPrivateData);
        if (!entry || entry->byteLength() < 24) return;
        const Bytes head = tiff_.source.bytesUpTo(entry->position, 20);
        if (head.size() < 20 || !asText(head).starts_with(std::string_view("Adobe\0MakN", 10))) return;
        const auto length = loadInteger<std::uint32_t>(head.data() + 10, ByteOrder::big);
        const auto original = loadInteger<std::uint32_t>(head.data() + 16, ByteOrder::big);
        TiffContext moved = tiff_;
        moved.big = false;
        moved.order = asText(head.subspan(14, 2)) == "II" ? ByteOrder::little : ByteOrder::big;
        const std::uint64_t position = entry->position + 20;
        // Offsets inside count from the original file's start.
        moved.base = position - original;
        const std::uint64_t room = std::min<std::uint64_t>(length < 6 ? 0 : length - 6, entry->byteLength() - 20);
        readMakerNote(moved, {position, room}, properties_.tiff["Make"].string(), properties_.tiff["Model"].string(),
                      properties_);
    }

    void readBlocks() {
        struct Block {
            std::uint16_t tag;
            void (*read)(Bytes, ImageProperties&);
        };
        static constexpr std::array blocks{Block{kIptc, readIptc}, Block{kPhotoshop, readPhotoshopResources},
                                           Block{kXmp, readXmp}, Block{kIccProfile, readIccProfile}};
        for (const auto& [tag, read] : blocks) {
            const auto entry = first_.find(tag);
            if (!entry || entry->byteLength() > kMaximumBlock) continue;
            const auto bytes = entry->bytes(tiff_);
            if (!bytes) continue;
            if (tag == kIptc && swapped(*entry, *bytes))
                read(swappedWords(*bytes), properties_);
            else
                read(*bytes, properties_);
        }
    }

    /// IPTC that was stored as LONGs by a program of the other byte order.
    static bool swapped(const TiffEntry& entry, Bytes bytes) {
        return entry.type == TiffType::longInteger && bytes.size() >= 4 && bytes[0] != std::byte{0x1C} &&
               bytes[3] == std::byte{0x1C};
    }

    static std::vector<std::byte> swappedWords(Bytes bytes) {
        std::vector<std::byte> words(bytes.begin(), bytes.end());
        for (std::size_t at = 0; at + 4 <= words.size(); at += 4)
            std::reverse(words.begin() + static_cast<std::ptrdiff_t>(at),
                         words.begin() + static_cast<std::ptrdiff_t>(at + 4));
        return words;
    }

    void countPages() {
        if (!properties_.dng.empty()) return;
        std::size_t pages = 1;
        std::uint64_t next = first_.next;
        std::vector<std::uint64_t> seen;
        while (next != 0 && pages < kMaximumPages && std::ranges::find(seen, next) == seen.end()) {
            seen.push_back(next);
            const TiffDirectory page = readTiffDirectory(tiff_, next);
            if (page.entries.empty()) break;
            if ((integer(page, kNewSubfileType).value_or(0) & 1) == 0) ++pages;
            next = page.next;
        }
        properties_.imageCount = pages;
    }

    TiffContext& tiff_;
    ImageProperties& properties_;
    ExifWalk exif_;
    TiffDirectory first_;
    PixelSize sensor_;  ///< Of a raw that does not say how much of it is picture.
};

}  // namespace

void readTiff(ByteSource& source, ImageProperties& properties) {
    auto header = readTiffHeader(source);
    if (header) TiffWalk(header->context, properties).read(header->firstDirectory);
}

}  // namespace tessaly::imageio
