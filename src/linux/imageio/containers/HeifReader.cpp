#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "linux/imageio/ImageOrientation.h"
#include "linux/imageio/IsoBox.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "linux/imageio/containers/HeifItems.h"
#include "platform/ImageIO/CGImageProperties.h"

// ISO/IEC 23008-12 (HEIF), and AV1 Image File Format.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;

bool isImage(const HeifItem& item) {
    return item.type == "hvc1" || item.type == "av01" || item.type == "grid" || item.type == "iovl" ||
           item.type == "iden" || item.type == "jpeg" || item.type == "avc1" || item.type == "hev1" ||
           item.type == "unci" || item.type == "j2k1" || item.type == "vvc1";
}

class HeifWalk {
public:
    HeifWalk(ByteSource& source, const HeifItems& items, ImageProperties& properties)
        : source_(source), items_(items), properties_(properties) {}

    void read() {
        const HeifItem* primary = items_.find(items_.primary());
        if (!primary) {
            const auto first = std::ranges::find_if(items_.all(), isImage);
            if (first != items_.all().end()) primary = &*first;
        }
        if (primary) {
            readProperties(*primary);
            readTile(*primary);
            readDescriptions(primary->id);
            noteAlpha(primary->id);
        }
        setOrientation();
        countImages();
    }

private:
    void readProperties(const HeifItem& item) {
        for (const IsoBox& property : items_.propertiesOf(item)) {
            const std::string_view type = property.type();
            if (type == "ispe"sv) readSize(property);
            if (type == "irot"sv) {
                orientation_.rotateCounterClockwise(source_.read<std::uint8_t>(property.position).value_or(0) & 3);
                isTransformed_ = true;
            }
            if (type == "imir"sv) {
                const bool leftRight = (source_.read<std::uint8_t>(property.position).value_or(0) & 1) != 0;
                leftRight ? orientation_.flipLeftRight() : orientation_.flipTopBottom();
                isTransformed_ = true;
            }
            if (type == "colr"sv) readColour(property);
            if (type == "pixi"sv) readDepth(property);
            if (type == "hvcC"sv || type == "av1C"sv) readCodec(property);
        }
    }

    /// A picture that is put together from tiles may leave its colour and depth to them.
    void readTile(const HeifItem& derived) {
        for (const HeifReference& reference : items_.references()) {
            if (reference.from != derived.id || reference.type != "dimg" || reference.to.empty()) continue;
            const HeifItem* tile = items_.find(reference.to.front());
            if (!tile) return;
            for (const IsoBox& property : items_.propertiesOf(*tile)) {
                const std::string_view type = property.type();
                if (type == "colr"sv) readColour(property);
                if (type == "pixi"sv) readDepth(property);
                if (type == "hvcC"sv || type == "av1C"sv) readCodec(property);
            }
        }
    }

    void readSize(const IsoBox& box) {
        const auto width = source_.read<std::uint32_t>(box.position + kFullBoxHead);
        const auto height = source_.read<std::uint32_t>(box.position + kFullBoxHead + 4);
        if (width && height) properties_.setPixelSize(*width, *height);
    }

    // ISO/IEC 14496-12, 12.1.5.
    void readColour(const IsoBox& box) {
        const auto kind = source_.bytes(box.position, 4);
        if (!kind || box.length < 4 || box.length > kMaximumBlock) return;
        if (asText(*kind) != "prof"sv && asText(*kind) != "rICC"sv) return;
        if (const auto profile = source_.bytes(box.position + 4, box.length - 4)) readIccProfile(*profile, properties_);
    }

    void readDepth(const IsoBox& box) {
        const auto channels = source_.read<std::uint8_t>(box.position + kFullBoxHead);
        const auto depth = source_.read<std::uint8_t>(box.position + kFullBoxHead + 1);
        if (!channels || !depth || *channels == 0) return;
        ImageProperties::add(properties_.top, kCGImagePropertyDepth, *depth);
        if (*channels == 1) ImageProperties::add(properties_.top, kCGImagePropertyColorModel, "Gray");
    }

    void readCodec(const IsoBox& box) {
        if (box.type() == "hvcC"sv) {
            if (const auto depth = source_.read<std::uint8_t>(box.position + 17))
                ImageProperties::add(properties_.top, kCGImagePropertyDepth, 8 + (*depth & 7));
        } else if (const auto flags = source_.read<std::uint8_t>(box.position + 2)) {
            const bool high = (*flags & 0x40U) != 0;
            const bool twelve = (*flags & 0x20U) != 0;
            ImageProperties::add(properties_.top, kCGImagePropertyDepth, high ? (twelve ? 12 : 10) : 8);
        }
    }

    /// Exif first, whatever the order of the items. A description of another image than the primary one does not
    /// speak for the file, unless there is no other.
    void readDescriptions(std::uint32_t primary) {
        const auto isExif = [](const HeifItem& item) { return item.type == "Exif"; };
        const auto isXmp = [](const HeifItem& item) {
            return item.type == "mime" && item.contentType.starts_with("application/rdf+xml");
        };
        std::vector<std::byte> storage;
        if (const HeifItem* item = describing(primary, isExif))
            if (const auto bytes = items_.bytesOf(*item, kMaximumBlock, storage)) readExifItem(*bytes);
        if (const HeifItem* item = describing(primary, isXmp))
            if (const auto bytes = items_.bytesOf(*item, kMaximumBlock, storage)) readXmp(*bytes, properties_);
    }

    template <class Kind>
    const HeifItem* describing(std::uint32_t primary, Kind isKind) {
        for (const HeifItem* item : items_.referringTo(primary, "cdsc"sv))
            if (isKind(*item)) return item;
        const auto any = std::ranges::find_if(items_.all(), isKind);
        return any == items_.all().end() ? nullptr : &*any;
    }

    // ISO/IEC 23008-12, annex A.2.1: the offset of the TIFF header, counted from behind itself.
    void readExifItem(Bytes bytes) {
        if (bytes.size() < 4) return;
        const auto offset = loadInteger<std::uint32_t>(bytes.data(), ByteOrder::big);
        Bytes block = bytes.subspan(4);
        if (offset < block.size()) block = block.subspan(offset);
        const std::string_view text = asText(block);
        if (!text.starts_with("II"sv) && !text.starts_with("MM"sv) && !text.starts_with("Exif"sv)) {
            // Some writers leave the offset out, or count it from somewhere else.
            if (asText(bytes).starts_with("II"sv) || asText(bytes).starts_with("MM"sv))
                return readExif(bytes, properties_);
            block = bytes.subspan(4);
        }
        readExif(block, properties_);
    }

    void noteAlpha(std::uint32_t primary) {
        for (const HeifItem* item : items_.referringTo(primary, "auxl"sv)) {
            for (const IsoBox& property : items_.propertiesOf(*item)) {
                if (property.type() != "auxC"sv) continue;
                const std::string_view kind = asText(source_.bytesUpTo(
                    property.position + kFullBoxHead,
                    std::min<std::uint64_t>(property.length < kFullBoxHead ? 0 : property.length - kFullBoxHead, 64)));
                if (kind.find("alpha") != std::string_view::npos || kind.starts_with("urn:mpeg:hevc:2015:auxid:1"sv))
                    ImageProperties::add(properties_.top, kCGImagePropertyHasAlpha, true);
            }
        }
    }

    /// The container's transforms alone decide: what Exif says was applied, or is ignored (annex A.2.1).
    void setOrientation() {
        if (isTransformed_ || properties_.top.contains(kCGImagePropertyOrientation))
            properties_.top.setLiteral(kCGImagePropertyOrientation, orientation_.exifValue());
        if (properties_.top.contains(kCGImagePropertyPixelWidth))
            ImageProperties::add(properties_.top, kCGImagePropertyColorModel, "RGB");
    }

    void countImages() {
        // Auxiliary pictures, thumbnails and tiles are parts of others.
        std::unordered_set<std::uint32_t> parts;
        for (const HeifReference& reference : items_.references()) {
            if (reference.type == "auxl" || reference.type == "thmb") parts.insert(reference.from);
            if (reference.type == "dimg") parts.insert(reference.to.begin(), reference.to.end());
        }
        const auto count = std::ranges::count_if(items_.all(), [&parts](const HeifItem& item) {
            return !item.hidden && isImage(item) && !parts.contains(item.id);
        });
        properties_.imageCount = static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 1));
    }

    ByteSource& source_;
    const HeifItems& items_;
    ImageProperties& properties_;
    ImageOrientation orientation_;
    bool isTransformed_ = false;
};

}  // namespace

void readHeif(ByteSource& source, ImageProperties& properties) {
    IsoBoxes boxes(source);
    while (const auto box = boxes.next()) {
        if (box->type() != "meta"sv) continue;
        const HeifItems items(source, *box);
        HeifWalk(source, items, properties).read();
        return;
    }
}

}  // namespace tessaly::imageio
