#include <bit>
#include <cmath>
#include <string_view>

#include "linux/imageio/IsoBox.h"
#include "linux/media/Movie.h"
#include "linux/media/MovieItems.h"
#include "linux/media/MovieTexts.h"

namespace tessaly::media {
namespace {

using imageio::asText;
using imageio::ByteReader;
using imageio::Bytes;
using imageio::ByteSource;
using imageio::findBox;
using imageio::IsoBox;
using imageio::IsoBoxes;
using imageio::kFullBoxHead;
using std::string_view_literals::operator""sv;

constexpr std::size_t kMaximumTracks = 256;
constexpr std::uint64_t kMaximumTable = 4 * 1024 * 1024;
constexpr double kFixedPoint = 65536;
/// Seconds from 1904, from which the boxes count, to 1970.
constexpr double kEpoch = 2'082'844'800;

/// Times that several boxes keep in the same fields: creation, modification, scale, duration.
struct Times {
    std::uint64_t created = 0;
    std::uint32_t scale = 0;
    std::uint64_t duration = 0;
    [[nodiscard]] double seconds() const { return scale == 0 ? 0 : static_cast<double>(duration) / scale; }
};

// 14496-12, 8.2.2 (mvhd) and 8.4.2 (mdhd).
std::optional<Times> readTimes(ByteSource& source, const IsoBox& box) {
    ByteReader reader(source.bytesUpTo(box.position, std::min<std::uint64_t>(box.length, 32)));
    const auto version = reader.read<std::uint8_t>();
    reader.skip(3);
    Times times;
    const bool wide = version == 1;
    const auto field = [&]() -> std::optional<std::uint64_t> {
        if (wide) return reader.read<std::uint64_t>();
        return reader.read<std::uint32_t>();
    };
    const auto created = field();
    const auto modified = field();
    const auto scale = reader.read<std::uint32_t>();
    const auto duration = field();
    if (!created || !modified || !scale || !duration) return std::nullopt;
    const bool unknown = *duration == (wide ? UINT64_MAX : UINT32_MAX);
    return Times{*created, *scale, unknown ? 0 : *duration};
}

struct Track {
    AVAssetTrack description;
    std::uint32_t identifier = 0;
    std::uint32_t timeScale = 0;
};

class MovieWalk {
public:
    MovieWalk(ByteSource& source, AVAsset& asset) : source_(source), asset_(asset) {}

    void read() {
        std::optional<IsoBox> movie, segments;
        IsoBoxes boxes(source_);
        while (const auto box = boxes.next()) {
            if (box->type() == "moov"sv && !movie) movie = box;
            if (box->type() == "sidx"sv && !segments) segments = box;
            // Metadata of the file as a whole; of the movie's own it stands below "moov".
            if (box->type() == "meta"sv || box->type() == "uuid"sv) fileBoxes_.push_back(*box);
            // A head alone is as good as the file: nothing that follows the movie box and its media is needed.
            if (movie && box->type() == "moof"sv) break;
        }
        if (movie) readMovieBox(*movie);
        for (const IsoBox& box : fileBoxes_) readFileTexts(source_, box, asset_);
        if (asset_.durationInSeconds == 0 && segments) readSegments(*segments);
        if (header_.created != 0) {
            const double date = static_cast<double>(header_.created) - kEpoch;
            // Some write seconds since 1970; a date before there were digital movies is that.
            addCreationDate(asset_, "mvhd", NSDate{date < 0 ? static_cast<double>(header_.created) : date});
        }
    }

private:
    void readMovieBox(const IsoBox& movie) {
        std::vector<IsoBox> texts;
        IsoBoxes boxes(source_, movie);
        while (const auto box = boxes.next()) {
            const std::string_view type = box->type();
            if (type == "mvhd"sv) {
                header_ = readTimes(source_, *box).value_or(Times{});
                asset_.durationInSeconds = header_.seconds();
            }
            if (type == "trak"sv && tracks_.size() < kMaximumTracks) readTrack(*box);
            if (type == "mvex"sv) readFragments(*box);
            if (type == "meta"sv || type == "udta"sv || type == "uuid"sv) texts.push_back(*box);
        }
        readMovieTexts(source_, texts, asset_);
        for (const Track& track : tracks_) {
            asset_.tracks.push_back(track.description);
        }
    }

    void readTrack(const IsoBox& box) {
        Track track;
        std::optional<IsoBox> media;
        IsoBoxes boxes(source_, box);
        while (const auto child = boxes.next()) {
            if (child->type() == "tkhd"sv) readTrackHeader(*child, track);
            if (child->type() == "mdia"sv) media = child;
        }
        if (media) readMedia(*media, track);
        tracks_.push_back(track);
    }

    // 8.3.2: the last 44 bytes are the matrix, the width and the height, whatever the version.
    void readTrackHeader(const IsoBox& box, Track& track) {
        const auto version = source_.read<std::uint8_t>(box.position);
        if (!version) return;
        const bool wide = *version == 1;
        track.identifier = source_.read<std::uint32_t>(box.position + (wide ? 20 : 12)).value_or(0);
        const std::uint64_t matrix = box.position + (wide ? 52 : 40);
        const auto fixed = [&](std::uint64_t at) {
            return std::bit_cast<std::int32_t>(source_.read<std::uint32_t>(at).value_or(0)) / kFixedPoint;
        };
        track.description.rotationDegrees = rotation(fixed(matrix), fixed(matrix + 4));
        track.description.naturalSize = {std::fabs(fixed(matrix + 36)), std::fabs(fixed(matrix + 40))};
    }

    static int rotation(double a, double b) {
        if (a == 0 && b > 0) return 90;
        if (a < 0 && b == 0) return 180;
        if (a == 0 && b < 0) return 270;
        return 0;
    }

    void readMedia(const IsoBox& media, Track& track) {
        Times times;
        std::optional<IsoBox> information;
        IsoBoxes boxes(source_, media);
        while (const auto box = boxes.next()) {
            if (box->type() == "mdhd"sv) times = readTimes(source_, *box).value_or(Times{});
            if (box->type() == "hdlr"sv) readHandler(*box, track);
            if (box->type() == "minf"sv) information = box;
        }
        track.timeScale = times.scale;
        if (!information) return;
        if (const auto table = findBox(source_, *information, "stbl"sv)) readSampleTable(*table, times, track);
    }

    void readHandler(const IsoBox& box, Track& track) {
        const auto kind = source_.bytes(box.position + 8, 4);
        if (!kind) return;
        if (asText(*kind) == "vide"sv) track.description.mediaType = AVMediaType::video;
        if (asText(*kind) == "soun"sv) track.description.mediaType = AVMediaType::audio;
    }

    void readSampleTable(const IsoBox& table, const Times& times, Track& track) {
        if (track.description.mediaType != AVMediaType::video) return;
        IsoBoxes boxes(source_, table);
        while (const auto box = boxes.next()) {
            if (box->type() == "stsd"sv && track.description.naturalSize.width == 0) readSampleSize(*box, track);
            if (box->type() == "stts"sv) readFrameRate(*box, times, track);
        }
    }

    // 8.5.2 and 12.1.3: the first entry's width and height.
    void readSampleSize(const IsoBox& box, Track& track) {
        const std::uint64_t entry = box.position + kFullBoxHead + 4;
        const auto width = source_.read<std::uint16_t>(entry + 32);
        const auto height = source_.read<std::uint16_t>(entry + 34);
        if (width && height) track.description.naturalSize = {double(*width), double(*height)};
    }

    // 8.6.1.2: samples by their duration. Their number over the time that they take is the nominal rate.
    void readFrameRate(const IsoBox& box, const Times& times, Track& track) {
        ByteReader reader(source_.bytesUpTo(box.position, std::min(box.length, kMaximumTable)));
        reader.skip(kFullBoxHead);
        const std::uint32_t count = reader.read<std::uint32_t>().value_or(0);
        double samples = 0;
        double units = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            const auto number = reader.read<std::uint32_t>();
            const auto duration = reader.read<std::uint32_t>();
            if (!number || !duration) break;
            samples += *number;
            units += static_cast<double>(*number) * *duration;
        }
        if (units > 0) track.description.nominalFrameRate = static_cast<float>(samples * times.scale / units);
    }

    /// A movie in fragments keeps its duration (8.8.2) and the duration of a sample (8.8.3) here.
    void readFragments(const IsoBox& extends) {
        IsoBoxes boxes(source_, extends);
        while (const auto box = boxes.next()) {
            if (box->type() == "mehd"sv && asset_.durationInSeconds == 0 && header_.scale != 0) {
                const bool wide = source_.read<std::uint8_t>(box->position) == 1;
                const std::uint64_t at = box->position + kFullBoxHead;
                const std::uint64_t duration =
                    wide ? source_.read<std::uint64_t>(at).value_or(0) : source_.read<std::uint32_t>(at).value_or(0);
                asset_.durationInSeconds = static_cast<double>(duration) / header_.scale;
            }
            if (box->type() == "trex"sv) {
                const auto identifier = source_.read<std::uint32_t>(box->position + kFullBoxHead);
                const auto duration = source_.read<std::uint32_t>(box->position + kFullBoxHead + 8).value_or(0);
                for (Track& track : tracks_)
                    if (identifier == track.identifier && duration != 0 && track.description.nominalFrameRate == 0)
                        track.description.nominalFrameRate =
                            static_cast<float>(static_cast<double>(track.timeScale) / duration);
            }
        }
    }

    // 8.16.3: durations of the segments.
    void readSegments(const IsoBox& box) {
        ByteReader reader(source_.bytesUpTo(box.position, std::min(box.length, kMaximumTable)));
        const auto version = reader.read<std::uint8_t>();
        reader.skip(3 + 4);
        const auto scale = reader.read<std::uint32_t>();
        reader.skip(version == 0 ? 8 : 16);
        reader.skip(2);
        const std::uint16_t count = reader.read<std::uint16_t>().value_or(0);
        double units = 0;
        for (std::uint16_t i = 0; i < count; ++i) {
            reader.skip(4);
            units += reader.read<std::uint32_t>().value_or(0);
            reader.skip(4);
        }
        if (scale && *scale != 0) asset_.durationInSeconds = units / *scale;
    }

    ByteSource& source_;
    AVAsset& asset_;
    Times header_;
    std::vector<Track> tracks_;
    std::vector<IsoBox> fileBoxes_;
};

}  // namespace

void readMovie(ByteSource& source, AVAsset& asset) { MovieWalk(source, asset).read(); }

}  // namespace tessaly::media
