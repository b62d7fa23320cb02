#include <algorithm>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "linux/imageio/containers/JpegSegments.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

using namespace jpeg;

constexpr std::size_t kMaximumJoined = 8 * 1024 * 1024;
constexpr std::size_t kMaximumPackets = 4;

struct Segment {
    std::uint64_t position = 0;  ///< Of the payload, after the length.
    std::uint64_t length = 0;
};

bool isFrame(std::uint8_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Reads one JPEG from its first marker to the start of its scan.
class JpegWalk {
public:
    JpegWalk(ByteSource& source, ImageProperties& properties) : source_(source), properties_(properties) {}

    void read() {
        std::uint64_t position = 2;
        for (std::size_t count = 0; count < kMaximumSegments; ++count) {
            const auto marker = nextMarker(source_, position);
            if (!marker || *marker == kEndOfImage || *marker == kStartOfScan) break;
            if (standsAlone(*marker) || *marker == kStartOfImage) continue;
            const auto length = source_.read<std::uint16_t>(position);
            if (!length || *length < 2) break;
            const Segment segment{position + 2, std::min<std::uint64_t>(*length - 2U, source_.size() - position - 2)};
            note(*marker, segment);
            position += *length;
        }
        readBlocks();
    }

private:
    bool startsWith(const Segment& segment, std::string_view mark) {
        const auto head = source_.bytes(segment.position, mark.size());
        return segment.length >= mark.size() && head && asText(*head) == mark;
    }

    void note(std::uint8_t marker, const Segment& segment) {
        if (isFrame(marker)) return readFrame(marker, segment);
        switch (marker) {
            case kApp0:
                return readJfif(segment);
            case kApp1:
                return noteApp1(segment);
            case kApp2:
                return noteApp2(segment);
            case kApp13:
                if (startsWith(segment, kPhotoshopMark)) photoshop_.push_back(without(segment, kPhotoshopMark.size()));
                return;
            default:
                return;
        }
    }

    static Segment without(const Segment& segment, std::uint64_t head) {
        const std::uint64_t cut = std::min(head, segment.length);
        return {segment.position + cut, segment.length - cut};
    }

    void noteApp1(const Segment& segment) {
        if (startsWith(segment, kExifMark)) {
            exif_.push_back(without(segment, 6));
        } else if (startsWith(segment, kXmpMark)) {
            xmp_.push_back(without(segment, kXmpMark.size()));
        } else if (startsWith(segment, kExtendedXmpMark)) {
            extendedXmp_.push_back(without(segment, kExtendedXmpMark.size()));
        } else if (startsWith(segment, "II*\0"sv) || startsWith(segment, "MM\0*"sv)) {
            exif_.push_back(segment);  // The identifier was left out.
        } else if (startsWith(segment, "<?xpacket"sv) || startsWith(segment, "http://ns.adobe.com/xap/"sv)) {
            xmp_.push_back(segment);
        }
    }

    void noteApp2(const Segment& segment) {
        if (startsWith(segment, kIccMark) && segment.length > 14) {
            icc_.push_back(segment);
        }
    }

    // JFIF 1.02, page 5.
    void readJfif(const Segment& segment) {
        if (!startsWith(segment, kJfifMark)) return;
        const auto body = source_.bytes(segment.position, 12);
        if (!body || segment.length < 12) return;
        const auto at = [&](std::size_t i) { return std::to_integer<int>((*body)[i]); };
        const auto x = loadInteger<std::uint16_t>(body->data() + 8, ByteOrder::big);
        const auto y = loadInteger<std::uint16_t>(body->data() + 10, ByteOrder::big);
        Dictionary& jfif = properties_.jfif;
        ImageProperties::add(jfif, "JFIFVersion", Array{at(5), at(6) / 16, at(6) % 16});
        ImageProperties::add(jfif, "DensityUnit", at(7));
        ImageProperties::add(jfif, "XDensity", x);
        ImageProperties::add(jfif, "YDensity", y);
        if ((at(7) == 1 || at(7) == 2) && x != 0 && y != 0) {
            const double perInch = at(7) == 2 ? 2.54 : 1;
            jfifDpi_ = {x * perInch, y * perInch};
        }
    }

    // T.81, B.2.2.
    void readFrame(std::uint8_t marker, const Segment& segment) {
        const auto head = source_.bytes(segment.position, 6);
        if (!head || segment.length < 6 || framed_) return;
        framed_ = true;
        const auto height = loadInteger<std::uint16_t>(head->data() + 1, ByteOrder::big);
        const auto width = loadInteger<std::uint16_t>(head->data() + 3, ByteOrder::big);
        components_ = std::to_integer<int>((*head)[5]);
        properties_.setPixelSize(width, height);
        ImageProperties::add(properties_.top, kCGImagePropertyDepth, std::to_integer<int>((*head)[0]));
        if (marker == 0xC2 || marker == 0xC6 || marker == 0xCA || marker == 0xCE)
            ImageProperties::add(properties_.jfif, "IsProgressive", true);
    }

    void readBlocks() {
        readExifSegments();
        const std::vector<std::byte> resources = joined(photoshop_);
        if (!resources.empty()) readPhotoshopResources(resources, properties_);
        readXmpSegments();
        readIcc();
        if (jfifDpi_.first > 0) {
            ImageProperties::add(properties_.top, kCGImagePropertyDPIWidth, jfifDpi_.first);
            ImageProperties::add(properties_.top, kCGImagePropertyDPIHeight, jfifDpi_.second);
        }
        if (framed_) ImageProperties::add(properties_.top, kCGImagePropertyColorModel, colorModel());
    }

    std::string_view colorModel() const {
        if (components_ == 1) return "Gray";
        return components_ == 4 ? "CMYK" : "RGB";
    }

    void readExifSegments() {
        if (exif_.empty()) return;
        // One block above 64 KB is cut into segments, of which only the first has a TIFF header.
        std::vector<Segment> pieces{exif_.front()};
        while (pieces.size() < exif_.size() && !hasTiffHeader(exif_[pieces.size()]))
            pieces.push_back(exif_[pieces.size()]);
        if (pieces.size() > 1) {
            readExif(joined(pieces), properties_);
        } else {
            ByteSource block = source_.part(exif_.front().position, exif_.front().length);
            readExif(block, 0, properties_);
        }
        for (std::size_t i = pieces.size(); i < exif_.size() && properties_.tiff.empty() && properties_.exif.empty();
             ++i) {
            ByteSource block = source_.part(exif_[i].position, exif_[i].length);
            readExif(block, 0, properties_);
        }
    }

    bool hasTiffHeader(const Segment& segment) {
        return startsWith(segment, "II*\0"sv) || startsWith(segment, "MM\0*"sv);
    }

    std::vector<std::byte> joined(const std::vector<Segment>& segments) {
        std::vector<std::byte> whole;
        for (const Segment& segment : segments) {
            const auto bytes = source_.bytes(segment.position, segment.length);
            if (!bytes || whole.size() + bytes->size() > kMaximumJoined) break;
            whole.insert(whole.end(), bytes->begin(), bytes->end());
        }
        return whole;
    }

    void readXmpSegments() {
        // One packet is the rule; programs that append theirs make a few.
        for (const Segment& segment : std::span(xmp_).first(std::min(xmp_.size(), kMaximumPackets)))
            if (const auto packet = source_.bytes(segment.position, segment.length)) readXmp(*packet, properties_);
        if (!extendedXmp_.empty()) readExtendedXmp();
    }

    /// XMP part 3, 1.1.3.1: GUID (32), full length (4), offset (4), then this portion. The main packet names the GUID.
    void readExtendedXmp() {
        const std::string wanted = properties_.extendedXmp;
        if (wanted.empty()) return;
        std::map<std::uint32_t, Bytes> portions;
        for (const Segment& segment : extendedXmp_) {
            const auto bytes = source_.bytes(segment.position, segment.length);
            if (!bytes || bytes->size() < 40 || asText(bytes->first(32)) != wanted) continue;
            portions.try_emplace(loadInteger<std::uint32_t>(bytes->data() + 36, ByteOrder::big), bytes->subspan(40));
        }
        std::vector<std::byte> whole;
        for (const auto& [offset, portion] : portions) {
            if (offset != whole.size() || whole.size() + portion.size() > kMaximumJoined) break;
            whole.insert(whole.end(), portion.begin(), portion.end());
        }
        if (!whole.empty()) readXmp(whole, properties_);
    }

    /// ICC.1, annex B.4: sequence number and count behind the mark.
    void readIcc() {
        if (icc_.empty()) return;
        std::ranges::stable_sort(icc_, {}, [&](const Segment& segment) {
            return source_.read<std::uint8_t>(segment.position + 12).value_or(0);
        });
        if (icc_.size() == 1) {
            if (const auto bytes = source_.bytes(icc_[0].position + 14, icc_[0].length - 14))
                readIccProfile(*bytes, properties_);
            return;
        }
        std::vector<Segment> bodies;
        for (const Segment& segment : icc_) bodies.push_back(without(segment, 14));
        readIccProfile(joined(bodies), properties_);
    }

    ByteSource& source_;
    ImageProperties& properties_;
    std::vector<Segment> exif_, xmp_, extendedXmp_, icc_, photoshop_;
    std::pair<double, double> jfifDpi_;
    int components_ = 3;
    bool framed_ = false;
};

}  // namespace

std::optional<std::uint8_t> jpeg::nextMarker(ByteSource& source, std::uint64_t& position) {
    for (std::uint64_t skipped = 0; skipped < kMaximumFill; ++skipped, ++position) {
        const auto two = source.bytes(position, 2);
        if (!two) return std::nullopt;
        const auto code = std::to_integer<std::uint8_t>((*two)[1]);
        if ((*two)[0] != std::byte{0xFF} || code == 0xFF || code == 0) continue;
        position += 2;
        return code;
    }
    return std::nullopt;
}

void readJpeg(ByteSource& source, ImageProperties& properties) { JpegWalk(source, properties).read(); }

}  // namespace tessaly::imageio
