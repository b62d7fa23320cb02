#include <array>
#include <string>

#include "linux/imageio/ImageProperties.h"
#include "linux/imageio/Text.h"
#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/ExifBlock.h"
#include "linux/media/Movie.h"
#include "linux/media/MovieItems.h"
#include "linux/media/RiffChunks.h"

namespace tessaly::media {
namespace {

using imageio::asText;
using imageio::ByteOrder;
using imageio::Bytes;
using imageio::ByteSource;
using imageio::ImageProperties;

constexpr std::uint64_t kLongestText = 64 * 1024;
constexpr std::uint64_t kLongestPacket = 16 * 1024 * 1024;
constexpr std::size_t kMaximumTracks = 64;

/// "Thu Jan  2 03:04:05 2020", as the C library writes a date, in the order of others.
std::string sortedDate(std::string_view text) {
    constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    if (text.size() < 24) return std::string(text);
    const std::size_t month = kMonths.find(text.substr(4, 3));
    if (month == std::string_view::npos || month % 3 != 0) return std::string(text);
    const std::string day = text[8] == ' ' ? "0" + std::string(text.substr(9, 1)) : std::string(text.substr(8, 2));
    const std::string number = std::to_string(month / 3 + 1);
    return std::string(text.substr(20, 4)) + (number.size() < 2 ? "-0" : "-") + number + "-" + day + " " +
           std::string(text.substr(11, 8));
}

struct TextChunk {
    std::string_view name;
    std::string_view commonKey;
};
/// RIFF INFO (same document, 2-14), and the "exif" list of Exif 2.32, 5.6.
constexpr std::array kTexts{
    TextChunk{"INAM", AVMetadataCommonKeyTitle},       TextChunk{"IART", AVMetadataCommonKeyArtist},
    TextChunk{"ICMT", AVMetadataCommonKeyDescription}, TextChunk{"ISBJ", AVMetadataCommonKeyDescription},
    TextChunk{"ICOP", AVMetadataCommonKeyCopyrights},  TextChunk{"ISFT", AVMetadataCommonKeySoftware},
    TextChunk{"IMAK", AVMetadataCommonKeyMake},        TextChunk{"ecor", AVMetadataCommonKeyMake},
    TextChunk{"IMOD", AVMetadataCommonKeyModel},       TextChunk{"emdl", AVMetadataCommonKeyModel},
};

class AviWalk {
public:
    AviWalk(ByteSource& source, AVAsset& asset) : source_(source), asset_(asset) {}

    void read() {
        RiffChunks<ByteSource> files(source_, 0, source_.size());
        const auto file = files.next();
        if (!file) return;
        RiffChunks<ByteSource> chunks(source_, *file);
        while (const auto chunk = chunks.next()) {
            if (chunk->isList("hdrl")) readHeader(*chunk);
            readText(*chunk);
        }
        finish();
    }

private:
    template <std::unsigned_integral T>
    T number(std::uint64_t offset) {
        return source_.read<T>(offset, ByteOrder::little).value_or(0);
    }

    void readHeader(const RiffChunk& list) {
        RiffChunks<ByteSource> chunks(source_, list);
        while (const auto chunk = chunks.next()) {
            if (chunk->name == "avih" && chunk->length >= 40) {
                frameMicroseconds_ = number<std::uint32_t>(chunk->position);
                frames_ = number<std::uint32_t>(chunk->position + 16);
                size_ = {double(number<std::uint32_t>(chunk->position + 32)),
                         double(number<std::uint32_t>(chunk->position + 36))};
            }
            if (chunk->isList("strl") && asset_.tracks.size() < kMaximumTracks) readStream(*chunk);
            if (chunk->isList("odml")) readLarge(*chunk);
            readText(*chunk);
        }
    }

    void readStream(const RiffChunk& list) {
        AVAssetTrack track;
        double scale = 0, rate = 0, length = 0;
        RiffChunks<ByteSource> chunks(source_, list);
        while (const auto chunk = chunks.next()) {
            if (chunk->name == "strh" && chunk->length >= 36) {
                const auto kind = source_.bytes(chunk->position, 4);
                if (kind && asText(*kind) == "vids") track.mediaType = AVMediaType::video;
                if (kind && asText(*kind) == "auds") track.mediaType = AVMediaType::audio;
                scale = number<std::uint32_t>(chunk->position + 20);
                rate = number<std::uint32_t>(chunk->position + 24);
                length = number<std::uint32_t>(chunk->position + 32);
            }
            if (chunk->name == "strf" && track.mediaType == AVMediaType::video && chunk->length >= 12)
                track.naturalSize = {pixels(chunk->position + 4), pixels(chunk->position + 8)};
            if (chunk->name == "strd") readCameraData(*chunk);
        }
        if (track.mediaType == AVMediaType::video && scale > 0 && rate > 0) {
            track.nominalFrameRate = static_cast<float>(rate / scale);
            if (seconds_ == 0) seconds_ = length * scale / rate;
        }
        asset_.tracks.push_back(track);
    }

    /// A negative height tells that rows go from the top.
    double pixels(std::uint64_t offset) {
        const auto value = static_cast<std::int32_t>(number<std::uint32_t>(offset));
        return value < 0 ? -static_cast<double>(value) : value;
    }

    /// OpenDML AVI 1.02: a file of several parts counts the frames of all of them here, the others of the first part.
    void readLarge(const RiffChunk& list) {
        RiffChunks<ByteSource> chunks(source_, list);
        while (const auto chunk = chunks.next())
            if (chunk->name == "dmlh") largeFrames_ = number<std::uint32_t>(chunk->position);
    }

    /// Cameras keep an Exif directory in a stream's private data, its offsets counted from its own start.
    void readCameraData(const RiffChunk& chunk) {
        const auto mark = source_.bytes(chunk.position, 4);
        if (!mark || asText(*mark) != "AVIF") return;
        ByteSource block = source_.part(chunk.position, chunk.length);
        constexpr std::uint64_t head = 8;
        imageio::TiffContext tiff{block, ByteOrder::little, false, head};
        ImageProperties properties;
        imageio::ExifWalk walk(tiff, properties);
        walk.readFirst(readTiffDirectory(tiff, 0));
        adopt(properties, "strd/");
        for (const auto& entry : properties.exif) addItem(asset_, "", "exif/" + std::string(entry.key()), entry.value);
    }

    void adopt(const ImageProperties& properties, const std::string& place) {
        addItem(asset_, AVMetadataCommonKeyMake, place + "Make", properties.tiff["Make"]);
        addItem(asset_, AVMetadataCommonKeyModel, place + "Model", properties.tiff["Model"]);
        addItem(asset_, AVMetadataCommonKeySoftware, place + "Software", properties.tiff["Software"]);
        addItem(asset_, AVMetadataCommonKeyArtist, place + "Artist", properties.tiff["Artist"]);
        for (const std::string_view name : {"DateTimeOriginal", "DateTimeDigitized"})
            addCreationDate(asset_, place + std::string(name), properties.exif[name].string());
        addCreationDate(asset_, place + "DateTime", properties.tiff["DateTime"].string());
        const auto degrees = [&](std::string_view name, std::string_view reference, std::string_view negative) {
            return properties.gps[name].doubleValue() * (properties.gps[reference].string() == negative ? -1 : 1);
        };
        if (properties.gps.contains("Latitude") && properties.gps.contains("Longitude"))
            addItem(asset_, AVMetadataCommonKeyLocation, place + "GPS",
                    iso6709(degrees("Latitude", "LatitudeRef", "S"), degrees("Longitude", "LongitudeRef", "W")));
    }

    void readText(const RiffChunk& chunk) {
        if (chunk.isList("INFO") || chunk.isList("exif")) {
            RiffChunks<ByteSource> chunks(source_, chunk);
            while (const auto text = chunks.next()) readInfo(*text, "riff/" + chunk.listType + "/");
        }
        if (chunk.name == "IDIT") addDate(chunk, "riff/IDIT");
        if (chunk.isList("ncdt")) readNikon(chunk);
        if (chunk.name == "_PMX" && chunk.length <= kLongestPacket) {
            const auto packet = source_.bytes(chunk.position, chunk.length);
            if (!packet) return;
            ImageProperties properties;
            readXmp(*packet, properties);
            adopt(properties, "xmp/");
        }
    }

    std::string textOf(const RiffChunk& chunk) {
        const Bytes bytes = source_.bytesUpTo(chunk.position, std::min(chunk.length, kLongestText));
        return imageio::toUtf8(imageio::trimmed(asText(bytes)));
    }

    void readInfo(const RiffChunk& chunk, const std::string& place) {
        if (chunk.name == "ICRD" || chunk.name == "DTIM") return addDate(chunk, place + chunk.name);
        for (const auto& [name, commonKey] : kTexts)
            if (name == chunk.name)
                if (const std::string text = textOf(chunk); !text.empty())
                    addItem(asset_, commonKey, place + chunk.name, text);
    }

    void addDate(const RiffChunk& chunk, const std::string& place) {
        addCreationDate(asset_, place, sortedDate(textOf(chunk)));
    }

    /// Nikon's list: entries of a number and a length. Make, model, firmware, date.
    void readNikon(const RiffChunk& list) {
        RiffChunks<ByteSource> chunks(source_, list);
        while (const auto chunk = chunks.next()) {
            if (chunk->name != "nctg") continue;
            for (std::uint64_t at = chunk->position; at + 4 <= chunk->end();) {
                const auto tag = number<std::uint16_t>(at);
                const auto length = number<std::uint16_t>(at + 2);
                RiffChunk value;
                value.position = at + 4;
                value.length = std::min<std::uint64_t>(length, chunk->end() - value.position);
                const std::string text = textOf(value);
                if (tag == 3) addItem(asset_, AVMetadataCommonKeyMake, "ncdt/Make", text);
                if (tag == 4) addItem(asset_, AVMetadataCommonKeyModel, "ncdt/Model", text);
                if (tag == 5) addItem(asset_, AVMetadataCommonKeySoftware, "ncdt/Software", text);
                if (tag == 0x13) addCreationDate(asset_, "ncdt/DateTimeOriginal", text);
                at += 4ULL + length;
            }
        }
    }

    void finish() {
        asset_.durationInSeconds = seconds_;
        const double perFrame = frameMicroseconds_ / 1e6;
        for (AVAssetTrack& track : asset_.tracks) {
            if (track.mediaType != AVMediaType::video) continue;
            if (track.naturalSize.width == 0) track.naturalSize = size_;
            if (track.nominalFrameRate == 0 && perFrame > 0) track.nominalFrameRate = static_cast<float>(1 / perFrame);
            if (track.nominalFrameRate > 0)
                asset_.durationInSeconds =
                    std::max(asset_.durationInSeconds, double(largeFrames_) / double(track.nominalFrameRate));
            break;
        }
        if (asset_.durationInSeconds == 0) asset_.durationInSeconds = frames_ * perFrame;
    }

    ByteSource& source_;
    AVAsset& asset_;
    std::uint32_t frameMicroseconds_ = 0;
    std::uint32_t frames_ = 0;
    std::uint32_t largeFrames_ = 0;
    double seconds_ = 0;
    CGSize size_;
};

}  // namespace

void readAvi(ByteSource& source, AVAsset& asset) { AviWalk(source, asset).read(); }

}  // namespace tessaly::media
