#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "linux/imageio/Text.h"
#include "linux/media/MatroskaElements.h"
#include "linux/media/Movie.h"
#include "linux/media/MovieItems.h"

namespace tessaly::media {
namespace {

using namespace matroska;
using imageio::ByteOrder;
using imageio::Bytes;
using imageio::ByteSource;
using imageio::textValue;

constexpr std::size_t kMaximumTracks = 256;
constexpr std::uint64_t kMaximumText = 16 * 1024;
/// Seconds from 1970 to 2001, from which dates count.
constexpr double kEpoch = 978'307'200;

class MatroskaWalk {
public:
    MatroskaWalk(ByteSource& source, AVAsset& asset) : source_(source), asset_(asset) {}

    void read() {
        Elements<ByteSource> elements(source_, 0, source_.size());
        while (const auto element = elements.next()) {
            if (element->id != kSegment) continue;
            readSegment(*element);
            finish();
            return;
        }
    }

private:
    void readSegment(const Element& segment) {
        Elements<ByteSource> elements(source_, segment);
        while (const auto element = elements.next()) {
            // The pictures begin; what stands behind them is found through the index.
            if (element->id == kCluster) break;
            readSection(*element, segment);
        }
        for (const std::uint64_t position : sought_) {
            Elements<ByteSource> there(source_, segment.position + position, segment.end());
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
        Elements<ByteSource> entries(source_, head);
        while (const auto entry = entries.next()) {
            if (entry->id != kSeek) continue;
            std::uint64_t id = 0;
            std::uint64_t position = 0;
            Elements<ByteSource> fields(source_, *entry);
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
        Elements<ByteSource> fields(source_, information);
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
        Elements<ByteSource> entries(source_, tracks);
        while (const auto entry = entries.next())
            if (entry->id == kTrackEntry && asset_.tracks.size() < kMaximumTracks) readTrack(*entry);
    }

    void readTrack(const Element& entry) {
        AVAssetTrack track;
        Elements<ByteSource> fields(source_, entry);
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
        Elements<ByteSource> fields(source_, video);
        while (const auto field = fields.next()) {
            if (field->id == kPixelWidth) track.naturalSize.width = static_cast<double>(integer(*field));
            if (field->id == kPixelHeight) track.naturalSize.height = static_cast<double>(integer(*field));
            if (field->id == kFrameRate && track.nominalFrameRate == 0)
                track.nominalFrameRate = static_cast<float>(real(*field));
        }
    }

    void readTags(const Element& tags) {
        Elements<ByteSource> entries(source_, tags);
        while (const auto entry = entries.next()) {
            if (entry->id != kTag) continue;
            Elements<ByteSource> fields(source_, *entry);
            while (const auto field = fields.next())
                if (field->id == kSimpleTag) readSimpleTag(*field);
        }
    }

    void readSimpleTag(const Element& tag) {
        std::string name;
        Value value;
        Elements<ByteSource> fields(source_, tag);
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
