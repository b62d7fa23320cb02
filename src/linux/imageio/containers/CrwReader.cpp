#include <bit>
#include <chrono>
#include <cmath>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/ExifBlock.h"
#include "linux/imageio/containers/CiffHeap.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/Foundation/Format.h"

namespace tessaly::imageio {
namespace {

// CIFF 1.0, 5: type and number in one.
constexpr std::uint16_t kComment = 0x0805;
constexpr std::uint16_t kMakeAndModel = 0x080A;
constexpr std::uint16_t kFirmware = 0x080B;
constexpr std::uint16_t kOwner = 0x0810;
constexpr std::uint16_t kFocalLength = 0x1029;
constexpr std::uint16_t kShotInfo = 0x102A;
constexpr std::uint16_t kCameraSettings = 0x102D;
constexpr std::uint16_t kSerialNumber = 0x180B;
constexpr std::uint16_t kTimeStamp = 0x180E;
constexpr std::uint16_t kImageInfo = 0x1810;
constexpr std::uint16_t kExposure = 0x1818;
constexpr std::uint64_t kLongestText = 1024;
constexpr std::uint32_t kDay = 24 * 60 * 60;

class CrwWalk {
public:
    CrwWalk(ByteSource& source, ImageProperties& properties) : source_(source), properties_(properties) {}

    void read() {
        forEachCiffEntry(source_, [this](const CiffEntry& entry) { take(entry); });
        if (focalLength_ > 0)
            ImageProperties::add(properties_.exif, "FocalLength", focalLength_ / (focalUnits_ > 0 ? focalUnits_ : 1));
        adoptTiffBasics(properties_);
    }

private:
    template <std::unsigned_integral T>
    T number(const CiffEntry& entry, std::uint64_t index) {
        if (entry.length < (index + 1) * sizeof(T)) return 0;
        return source_.read<T>(entry.position + index * sizeof(T), entry.order).value_or(0);
    }
    double real(const CiffEntry& entry, std::uint64_t index) {
        const auto value = std::bit_cast<float>(number<std::uint32_t>(entry, index));
        return std::isfinite(value) ? double{value} : 0;
    }
    std::string_view text(const CiffEntry& entry) {
        return asText(source_.bytesUpTo(entry.position, std::min(entry.length, kLongestText)));
    }

    void take(const CiffEntry& entry) {
        switch (entry.identifier) {
            case kComment:
                return ImageProperties::add(properties_.exif, "UserComment", textValue(text(entry)));
            case kMakeAndModel:
                return readNames(text(entry));
            case kFirmware:
                return ImageProperties::add(properties_.makerAux, "Firmware", textValue(text(entry)));
            case kOwner:
                return ImageProperties::add(properties_.makerAux, "OwnerName", textValue(text(entry)));
            case kSerialNumber:
                if (const auto serial = number<std::uint32_t>(entry, 0); serial != 0)
                    ImageProperties::add(properties_.makerAux, "SerialNumber", std::uint64_t{serial});
                return;
            case kFocalLength:
                focalLength_ = number<std::uint16_t>(entry, 1);
                return;
            case kCameraSettings:
                focalUnits_ = number<std::uint16_t>(entry, 25);
                return;
            case kShotInfo:
                return readSensitivity(number<std::uint16_t>(entry, 1), number<std::uint16_t>(entry, 2));
            case kTimeStamp:
                return readDate(number<std::uint32_t>(entry, 0));
            case kImageInfo:
                return readImage(entry);
            case kExposure:
                return readExposure(entry);
            default:
                return;
        }
    }

    /// One behind the other, each with a NUL.
    void readNames(std::string_view names) {
        const std::size_t end = names.find('\0');
        ImageProperties::add(properties_.tiff, "Make", textValue(names.substr(0, end)));
        if (end != std::string_view::npos)
            ImageProperties::add(properties_.tiff, "Model", textValue(names.substr(end + 1)));
    }

    /// Thirty-seconds of a stop: what the camera added by itself, and the base, of which 160 are ISO 100.
    void readSensitivity(std::uint16_t added, std::uint16_t base) {
        if (base == 0 || base > 0x3FF || added > 0x3FF) return;
        const double speed = std::exp2((base + added) / 32.0) * 100 / 32;
        ImageProperties::add(properties_.exif, "ISOSpeedRatings", Array{Value(std::lround(speed))});
    }

    /// Seconds since 1970 on the camera's own clock.
    void readDate(std::uint32_t seconds) {
        if (seconds == 0) return;
        const std::chrono::sys_days day{std::chrono::days(seconds / kDay)};
        const std::chrono::year_month_day date{day};
        const unsigned second = seconds % kDay;
        ImageProperties::add(properties_.exif, "DateTimeOriginal",
                             formatted("%04d:%02u:%02u %02u:%02u:%02u", static_cast<int>(date.year()),
                                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                                       second / 3600, second / 60 % 60, second % 60));
    }

    void readImage(const CiffEntry& entry) {
        properties_.setPixelSize(number<std::uint32_t>(entry, 0), number<std::uint32_t>(entry, 1));
        const auto turned = static_cast<std::int32_t>(number<std::uint32_t>(entry, 3));
        const int orientation = turned == 90 ? 6 : turned == 180 ? 3 : turned == 270 || turned == -90 ? 8 : 1;
        ImageProperties::add(properties_.tiff, "Orientation", orientation);
    }

    /// Compensation in stops, shutter and aperture as APEX values.
    void readExposure(const CiffEntry& entry) {
        if (entry.length < 12) return;
        const double shutter = real(entry, 1);
        const double aperture = real(entry, 2);
        ImageProperties::add(properties_.exif, "ExposureBiasValue", real(entry, 0));
        if (std::abs(shutter) < 32) ImageProperties::add(properties_.exif, "ExposureTime", std::exp2(-shutter));
        if (aperture > 0 && aperture < 32)
            ImageProperties::add(properties_.exif, "FNumber", std::round(std::exp2(aperture / 2) * 10) / 10);
    }

    ByteSource& source_;
    ImageProperties& properties_;
    double focalLength_ = 0;
    double focalUnits_ = 0;
};

}  // namespace

void readCrw(ByteSource& source, ImageProperties& properties) { CrwWalk(source, properties).read(); }

}  // namespace tessaly::imageio
