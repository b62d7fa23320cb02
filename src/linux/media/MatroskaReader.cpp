#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "linux/imageio/Text.h"
#include "linux/media/Movie.h"
#include "linux/media/MovieItems.h"

namespace tessaly::media {
namespace {

using imageio::ByteOrder;
using imageio::Bytes;
using imageio::ByteSource;
using imageio::textValue;

// RFC 9559, 5: element identifiers.
constexpr std::uint32_t kSegment = 0x18538067;
constexpr std::uint32_t kSeekHead = 0x114D9B74;
constexpr std::uint32_t kSeek = 0x4DBB;
constexpr std::uint32_t kSeekId = 0x53AB;
constexpr std::uint32_t kSeekPosition = 0x53AC;
constexpr std::uint32_t kInformation = 0x1549A966;
constexpr std::uint32_t kTimestampScale = 0x2AD7B1;
constexpr std::uint32_t kDuration = 0x4489;
constexpr std::uint32_t kDate = 0x4461;
constexpr std::uint32_t kTitle = 0x7BA9;
constexpr std::uint32_t kWritingProgram = 0x5741;
constexpr std::uint32_t kTracks = 0x1654AE6B;
constexpr std::uint32_t kTrackEntry = 0xAE;
constexpr std::uint32_t kTrackType = 0x83;
constexpr std::uint32_t kDefaultDuration = 0x23E383;
constexpr std::uint32_t kVideo = 0xE0;
constexpr std::uint32_t kPixelWidth = 0xB0;
constexpr std::uint32_t kPixelHeight = 0xBA;
constexpr std::uint32_t kFrameRate = 0x2383E3;
constexpr std::uint32_t kTags = 0x1254C367;
constexpr std::uint32_t kTag = 0x7373;
constexpr std::uint32_t kSimpleTag = 0x67C8;
constexpr std::uint32_t kTagName = 0x45A3;
constexpr std::uint32_t kTagString = 0x4487;
constexpr std::uint32_t kCluster = 0x1F43B675;

constexpr std::size_t kMaximumElements = 4096;
constexpr std::size_t kMaximumTracks = 256;
constexpr std::uint64_t kMaximumText = 16 * 1024;
/// Seconds from 1970 to 2001, from which dates count.
constexpr double kEpoch = 978'307'200;

struct Element {
    std::uint32_t id = 0;
    std::uint64_t position = 0;  ///< Of its content.
    std::uint64_t length = 0;
    [[nodiscard]] std::uint64_t end() const { return position + length; }
};

/// The elements that stand one behind the other in a part of the file (RFC 8794, 4 and 5).
class Elements {
public:
    Elements(ByteSource& source, std::uint64_t position, std::uint64_t end)
        : source_(source), position_(position), end_(std::min(end, source.size())) {}
    Elements(ByteSource& source, const Element& parent) : Elements(source, parent.position, parent.end()) {}

    std::optional<Element> next() {
        if (count_++ >= kMaximumElements || position_ >= end_) return std::nullopt;
        const auto id = number(4, /*keepMarker=*/true);
        if (!id) return std::nullopt;
        const auto length = number(8, /*keepMarker=*/false);
        if (!length) return std::nullopt;
        Element element{static_cast<std::uint32_t>(*id), position_,
                        std::min(*length, end_ - std::min(end_, position_))};
        position_ = element.end();
        return element;
    }

private:
    /// A number whose leading zeros tell its length. All ones mean "to the end of the parent".
    std::optional<std::uint64_t> number(unsigned most, bool keepMarker) {
        const auto first = source_.read<std::uint8_t>(position_);
        if (!first || *first == 0) return std::nullopt;
        const auto size = static_cast<unsigned>(std::countl_zero(*first)) + 1;
        const auto bytes = source_.bytes(position_, size);
        if (size > most || !bytes) return std::nullopt;
        const std::uint64_t marker = std::uint64_t{1} << (7 * size);
        std::uint64_t value = 0;
        for (const std::byte byte : *bytes) value = value << 8U | std::to_integer<std::uint64_t>(byte);
        position_ += size;
        if (keepMarker) return value;
        value &= marker - 1;
        return value == marker - 1 ? UINT64_MAX : value;
    }

    ByteSource& source_;
    std::uint64_t position_;
    std::uint64_t end_;
    std::size_t count_ = 0;
};

class MatroskaWalk {
public:
    MatroskaWalk(ByteSource& source, AVAsset& asset) : source_(source), asset_(asset) {}

    void read() {
        Elements elements(source_, 0, source_.size());
        while (const auto element = elements.next()) {
            if (element->id != kSegment) continue;
            readSegment(*element);
            finish();
            return;
        }
    }

private:
    void readSegment(const Element& segment) {
        Elements elements(source_, segment);
        while (const auto element = elements.next()) {
            // The pictures begin; what stands behind them is found through the index.
            if (element->id == kCluster) break;
            readSection(*element, segment);
        }
        for (const std::uint64_t position : sought_) {
            Elements there(source_, segment.position + position, segment.end());
            if (const auto element = there.next(); element && element->id != kSeekHead) readSection(*element, segment);
        }
    }

    void readSection(const Element& element, const Element& segment) {
        if (std::ranges::find(done_, element.position) != done_.end()) return;
        done_.push_back(element.position);
        if (element.id == kSeekHead) readIndex(element, segment);
        if (element.id == kInformation) readInformation(element);
        if (element.id == kTracks) readTracks(element);
        if (element.id == kTags) readTags(element);
    }

    void readIndex(const Element& head, const Element& segment) {
        Elements entries(source_, head);
        while (const auto entry = entries.next()) {
            if (entry->id != kSeek) continue;
            std::uint64_t id = 0;
            std::uint64_t position = 0;
            Elements fields(source_, *entry);
            while (const auto field = fields.next()) {
                if (field->id == kSeekId) id = integer(*field);
                if (field->id == kSeekPosition) position = integer(*field);
            }
            const bool wanted = id == kInformation || id == kTracks || id == kTags;
            if (wanted && position < segment.length && sought_.size() < 16) sought_.push_back(position);
        }
    }

    void readInformation(const Element& information) {
        double scale = 1'000'000;
        double duration = 0;
        Elements fields(source_, information);
        while (const auto field = fields.next()) {
            if (field->id == kTimestampScale) scale = static_cast<double>(integer(*field));
            if (field->id == kDuration) duration = real(*field);
            if (field->id == kTitle) addItem(asset_, AVMetadataCommonKeyTitle, "mkv/Title", text(*field));
            if (field->id == kWritingProgram) program_ = text(*field);
            if (field->id == kDate)
                date_ = kEpoch + static_cast<double>(std::bit_cast<std::int64_t>(integer(*field))) / 1e9;
        }
        if (std::isfinite(duration) && duration > 0) asset_.durationInSeconds = duration * scale / 1e9;
    }

    void readTracks(const Element& tracks) {
        Elements entries(source_, tracks);
        while (const auto entry = entries.next())
            if (entry->id == kTrackEntry && asset_.tracks.size() < kMaximumTracks) readTrack(*entry);
    }

    void readTrack(const Element& entry) {
        AVAssetTrack track;
        Elements fields(source_, entry);
        while (const auto field = fields.next()) {
            if (field->id == kTrackType) {
                const std::uint64_t type = integer(*field);
                track.mediaType = type == 1 ? AVMediaType::video : type == 2 ? AVMediaType::audio : AVMediaType::other;
            }
            if (field->id == kDefaultDuration)
                if (const std::uint64_t duration = integer(*field); duration > 0)
                    track.nominalFrameRate = static_cast<float>(1e9 / static_cast<double>(duration));
            if (field->id == kVideo) readVideo(*field, track);
        }
        if (track.mediaType != AVMediaType::video) track.nominalFrameRate = 0;
        asset_.tracks.push_back(track);
    }

    void readVideo(const Element& video, AVAssetTrack& track) {
        Elements fields(source_, video);
        while (const auto field = fields.next()) {
            if (field->id == kPixelWidth) track.naturalSize.width = static_cast<double>(integer(*field));
            if (field->id == kPixelHeight) track.naturalSize.height = static_cast<double>(integer(*field));
            if (field->id == kFrameRate && track.nominalFrameRate == 0)
                track.nominalFrameRate = static_cast<float>(real(*field));
        }
    }

    void readTags(const Element& tags) {
        Elements entries(source_, tags);
        while (const auto entry = entries.next()) {
            if (entry->id != kTag) continue;
            Elements fields(source_, *entry);
            while (const auto field = fields.next())
                if (field->id == kSimpleTag) readSimpleTag(*field);
        }
    }

    void readSimpleTag(const Element& tag) {
        std::string name;
        Value value;
        Elements fields(source_, tag);
        while (const auto field = fields.next()) {
            if (field->id == kTagName) name = text(*field).string();
            if (field->id == kTagString) value = text(*field);
        }
        const std::string_view commonKey = commonKeyOfName(name);
        if (commonKey == AVMetadataCommonKeyCreationDate)
            addCreationDate(asset_, "mkv/" + name, value.string());
        else if (!name.empty())
            addItem(asset_, commonKey, "mkv/" + name, value);
    }

    std::uint64_t integer(const Element& element) {
        if (element.length > 8) return 0;
        std::uint64_t value = 0;
        for (const std::byte byte : source_.bytesUpTo(element.position, element.length))
            value = value << 8U | std::to_integer<std::uint64_t>(byte);
        return value;
    }

    double real(const Element& element) {
        if (element.length == 4) return std::bit_cast<float>(source_.read<std::uint32_t>(element.position).value_or(0));
        if (element.length == 8)
            return std::bit_cast<double>(source_.read<std::uint64_t>(element.position).value_or(0));
        return 0;
    }

    Value text(const Element& element) {
        return textValue(source_.bytesUpTo(element.position, std::min(element.length, kMaximumText)));
    }

    /// The segment's own date and program speak after the tags.
    void finish() {
        addItem(asset_, AVMetadataCommonKeySoftware, "mkv/WritingApp", program_);
        if (date_) addCreationDate(asset_, "mkv/DateUTC", NSDate{*date_});
    }

    ByteSource& source_;
    AVAsset& asset_;
    std::vector<std::uint64_t> sought_, done_;
    Value program_;
    std::optional<double> date_;
};

}  // namespace

void readMatroska(ByteSource& source, AVAsset& asset) { MatroskaWalk(source, asset).read(); }

}  // namespace tessaly::media
