#include "linux/media/CameraMessages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "linux/imageio/Text.h"
#include "linux/media/MovieItems.h"
#include "linux/media/SequenceHeader.h"
#include "platform/Foundation/Format.h"

namespace tessaly::media {
namespace {

using imageio::asText;
using imageio::ByteOrder;
using imageio::ByteReader;
using imageio::Bytes;
using imageio::loadInteger;

constexpr std::size_t kLongestUnit = 4096;
constexpr std::string_view kMark{"\x17\xEE\x8C\x60\xF8\x4D\x11\xD9\x8C\xD6\x08\x00\x20\x0C\x9A\x66MDPM", 20};

/// The fields by their number.
class Fields {
public:
    void set(std::uint8_t number, Bytes value) {
        isThere_[number] = true;
        std::ranges::copy(value, values_[number].begin());
    }
    /// `count` fields that follow each other, as one value; nullopt where one is missing.
    [[nodiscard]] std::optional<std::string> bytes(std::uint8_t first, std::size_t count = 1) const {
        std::string joined;
        for (std::size_t i = first; i < first + count; ++i) {
            if (!isThere_[i]) return std::nullopt;
            joined += asText(values_[i]);
        }
        return joined;
    }
    /// Two numbers of 16 bits.
    [[nodiscard]] std::optional<double> ratio(std::uint8_t number, bool isSigned = false) const {
        if (!isThere_[number]) return std::nullopt;
        const auto* at = values_[number].data();
        const auto above = loadInteger<std::uint16_t>(at, ByteOrder::big);
        const auto below = loadInteger<std::uint16_t>(at + 2, ByteOrder::big);
        if (below == 0) return std::nullopt;
        return (isSigned ? double(static_cast<std::int16_t>(above)) : double(above)) / below;
    }
    /// Degrees, minutes and seconds, with a letter before them.
    [[nodiscard]] std::optional<double> degrees(std::uint8_t reference, char negative) const {
        const auto letter = bytes(reference);
        const auto first = static_cast<std::uint8_t>(reference + 1);
        const auto whole = ratio(first);
        if (!letter || !whole) return std::nullopt;
        const double value = *whole + ratio(static_cast<std::uint8_t>(first + 1)).value_or(0) / 60 +
                             ratio(static_cast<std::uint8_t>(first + 2)).value_or(0) / 3600;
        return letter->front() == negative ? -value : value;
    }

private:
    std::array<bool, 256> isThere_{};
    std::array<std::array<std::byte, 4>, 256> values_{};
};

std::string_view makeOf(std::uint16_t code) {
    switch (code) {
        case 0x0103:
            return "Panasonic";
        case 0x0108:
            return "Sony";
        case 0x1011:
            return "Canon";
        case 0x1104:
            return "JVC";
        default:
            return {};
    }
}

/// Zone, then year, month, day, hour, minute and second as pairs of decimal digits.
void addDate(const Fields& fields, AVAsset& asset) {
    const auto bytes = fields.bytes(0x18, 2);
    if (!bytes) return;
    const auto at = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>((*bytes)[i])); };
    const unsigned zone = at(0);
    std::string text = formatted("%02x%02x-%02x-%02x %02x:%02x:%02x", at(1), at(2), at(3), at(4), at(5), at(6), at(7));
    // All ones, where the camera does not know it.
    constexpr unsigned kUnknownZone = 0xFF;
    if (zone != kUnknownZone)
        text +=
            ((zone & 0x20U) != 0 ? "-" : "+") + formatted("%02u:%s", zone >> 1U & 0xFU, (zone & 1U) != 0 ? "30" : "00");
    addCreationDate(asset, "mdpm/DateTimeOriginal", text);
}

void addCamera(const Fields& fields, AVAsset& asset) {
    if (const auto code = fields.bytes(0xE0)) {
        const auto make = makeOf(loadInteger<std::uint16_t>(imageio::asBytes(*code).data(), ByteOrder::big));
        if (!make.empty()) addItem(asset, AVMetadataCommonKeyMake, "mdpm/Make", make);
        if (make == "Sony")
            if (const auto model = fields.bytes(0xE4, 3))
                addItem(asset, AVMetadataCommonKeyModel, "mdpm/Model", imageio::textValue(*model));
    }
}

/// As DV's camera packs told it (IEC 61834-4): for those who write nothing better.
std::optional<double> shutterTime(const Fields& fields) {
    constexpr std::uint8_t kShutter = 0x7F;
    constexpr unsigned kUnknown = 0x7FFF;
    constexpr double kPerSecond = 28125;
    const auto bytes = fields.bytes(kShutter);
    if (!bytes) return std::nullopt;
    const unsigned time = loadInteger<std::uint16_t>(imageio::asBytes(*bytes).data() + 2, ByteOrder::little) & kUnknown;
    return time == kUnknown || time == 0 ? std::nullopt : std::optional(time / kPerSecond);
}
std::optional<double> iris(const Fields& fields) {
    constexpr std::uint8_t kCamera = 0x70;
    constexpr unsigned kClosed = 0xFE;
    const auto bytes = fields.bytes(kCamera);
    if (!bytes) return std::nullopt;
    const auto setting = static_cast<unsigned char>(bytes->front());
    return setting >= kClosed ? std::nullopt : std::optional(std::exp2((setting & 0x3FU) / 8.0));
}

/// Under the names of Exif, whose values they are.
void addExposure(const Fields& fields, AVAsset& asset) {
    enum class Form : std::uint8_t { ratio, signedRatio, number };
    struct Exposure {
        std::uint8_t number;
        std::string_view name;
        Form form;
    };
    static constexpr std::array exposures{Exposure{0xA0, "ExposureTime", Form::ratio},
                                          Exposure{0xA1, "FNumber", Form::ratio},
                                          Exposure{0xA2, "ExposureProgram", Form::number},
                                          Exposure{0xA3, "BrightnessValue", Form::signedRatio},
                                          Exposure{0xA4, "ExposureBiasValue", Form::signedRatio},
                                          Exposure{0xA5, "MaxApertureValue", Form::ratio},
                                          Exposure{0xA6, "Flash", Form::number},
                                          Exposure{0xA7, "CustomRendered", Form::number},
                                          Exposure{0xA8, "WhiteBalance", Form::number},
                                          Exposure{0xA9, "FocalLenIn35mmFilm", Form::ratio},
                                          Exposure{0xAA, "SceneCaptureType", Form::number}};
    const auto add = [&asset](std::string_view name, Value value) {
        addItem(asset, "", "exif/" + std::string(name), std::move(value));
    };
    for (const auto& [number, name, form] : exposures) {
        if (form == Form::number) {
            if (const auto bytes = fields.bytes(number))
                add(name, std::int64_t{loadInteger<std::uint32_t>(imageio::asBytes(*bytes).data(), ByteOrder::big)});
        } else if (const auto value = fields.ratio(number, form == Form::signedRatio)) {
            add(name, *value);
        }
    }
    if (const auto time = shutterTime(fields); time && !fields.ratio(0xA0)) add("ExposureTime", *time);
    if (const auto aperture = iris(fields); aperture && !fields.ratio(0xA1)) add("FNumber", *aperture);
}

void addPlace(const Fields& fields, AVAsset& asset) {
    const auto latitude = fields.degrees(0xB1, 'S');
    const auto longitude = fields.degrees(0xB5, 'W');
    if (latitude && longitude) addItem(asset, AVMetadataCommonKeyLocation, "mdpm/GPS", iso6709(*latitude, *longitude));
}

/// H.264, 7.3.2.3.1: kinds and sizes of messages are sums of bytes that end with one below 255.
std::size_t sumOf(ByteReader& reader) {
    std::size_t sum = 0;
    for (auto byte = reader.read<std::uint8_t>(); byte; byte = reader.read<std::uint8_t>()) {
        sum += *byte;
        if (*byte != 0xFF) break;
    }
    return sum;
}

bool readUnit(Bytes unit, Fields& fields) {
    constexpr std::size_t kUserData = 5;
    ByteReader reader(unit);
    reader.skip(1);
    while (reader.remaining() > 2) {
        const std::size_t kind = sumOf(reader);
        const auto message = reader.take(std::min(sumOf(reader), reader.remaining()));
        if (kind != kUserData || !asText(*message).starts_with(kMark)) continue;
        ByteReader values(message->subspan(kMark.size()));
        const std::uint8_t count = values.read<std::uint8_t>().value_or(0);
        for (std::uint8_t i = 0; i < count; ++i) {
            const auto number = values.read<std::uint8_t>();
            const auto value = values.take(4);
            if (number && value) fields.set(*number, *value);
        }
        return true;
    }
    return false;
}

}  // namespace

void readCameraMessages(Bytes stream, AVAsset& asset) {
    Fields fields;
    bool isFound = false;
    forEachUnit(stream, [&](Bytes unit) {
        constexpr unsigned kInformation = 6;
        if (!isFound && (std::to_integer<unsigned>(unit[0]) & 0x1FU) == kInformation)
            isFound = readUnit(unescaped(unit, kLongestUnit), fields);
    });
    if (!isFound) return;
    addDate(fields, asset);
    addCamera(fields, asset);
    addExposure(fields, asset);
    addPlace(fields, asset);
}

}  // namespace tessaly::media
