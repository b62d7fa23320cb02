#include <algorithm>
#include <array>

#include "metadata/ExifInformation.h"
#include "metadata/Formatting.h"
#include "metadata/PreciseValues.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/PersistanceManager.h"

// From a key name to its formatter, and the record as a few lines of text.
namespace tessaly {
namespace {

/// Where the promotion line of a shared text leads.
constexpr std::string_view AppStoreShareLink = "https://tessaly.invalid/app?ct=SharedContent";

/// A text of the IPTC dictionary; of several, all.
std::string iptcText(const ExifInformation& record, std::string_view name) {
    return record.iptcDic ? (*record.iptcDic)[name].description() : std::string();
}

// Rows that nobody sees before they are asked for.
ExifValue City(ExifInformation& record) { return item("City", "City", iptcText(record, "City")); }
ExifValue Country(ExifInformation& record) {
    return item("Country", "Country", iptcText(record, "Country/PrimaryLocationName"));
}
ExifValue Creator(ExifInformation& record) { return item("Creator", "Creator", iptcText(record, "Byline")); }
ExifValue Credit(ExifInformation& record) { return item("Credit", "Credit", iptcText(record, "Credit")); }

struct Formatter {
    std::string_view key;
    ExifValue (*format)(ExifInformation& record);
};

#define TESSALY_FORMATTER(name)                                       \
    Formatter {                                                       \
#name, [](ExifInformation & record) { return record.name(); } \
    }

/// The vocabulary: every name is a key of the ordered lists and a formatter of the record.
constexpr std::array kFormatters{
    TESSALY_FORMATTER(Make),
    TESSALY_FORMATTER(Model),
    TESSALY_FORMATTER(CameraMakeAndModel),
    TESSALY_FORMATTER(CameraSerialNumber),
    TESSALY_FORMATTER(LensMake),
    TESSALY_FORMATTER(LensModel),
    TESSALY_FORMATTER(LensSerialNumber),
    TESSALY_FORMATTER(Software),
    TESSALY_FORMATTER(MakerNote),
    TESSALY_FORMATTER(FilmMode),
    TESSALY_FORMATTER(shutterCount),
    TESSALY_FORMATTER(ApertureValue),
    TESSALY_FORMATTER(ApertureMax),
    TESSALY_FORMATTER(ExposureTime),
    TESSALY_FORMATTER(ShutterSpeedStringValue),
    TESSALY_FORMATTER(ISOSpeedRatings),
    TESSALY_FORMATTER(ISOSpeedValue),
    TESSALY_FORMATTER(ExposureBiasValue),
    TESSALY_FORMATTER(ExposureMode),
    TESSALY_FORMATTER(ExposureProgram),
    TESSALY_FORMATTER(MeteringMode),
    TESSALY_FORMATTER(Flash),
    TESSALY_FORMATTER(FlashPixVersion),
    TESSALY_FORMATTER(WhiteBalance),
    TESSALY_FORMATTER(LightSource),
    TESSALY_FORMATTER(SceneType),
    TESSALY_FORMATTER(SceneCaptureType),
    TESSALY_FORMATTER(SensingMethod),
    TESSALY_FORMATTER(SensitivityType),
    TESSALY_FORMATTER(Sharpness),
    TESSALY_FORMATTER(Contrast),
    TESSALY_FORMATTER(Saturation),
    TESSALY_FORMATTER(GainControl),
    TESSALY_FORMATTER(CustomRendered),
    TESSALY_FORMATTER(SubjectDistRange),
    TESSALY_FORMATTER(FocalLength),
    TESSALY_FORMATTER(FocalLenIn35mmFilm),
    TESSALY_FORMATTER(DigitalZoomRatio),
    TESSALY_FORMATTER(ResolutionInMegaPixel),
    TESSALY_FORMATTER(AspectRatioFraction),
    TESSALY_FORMATTER(DPIWidth),
    TESSALY_FORMATTER(DPIHeight),
    TESSALY_FORMATTER(Depth),
    TESSALY_FORMATTER(Orientation),
    TESSALY_FORMATTER(ColorModel),
    TESSALY_FORMATTER(ColorSpace),
    TESSALY_FORMATTER(ColorProfile),
    TESSALY_FORMATTER(CompressedBitsPerPixel),
    TESSALY_FORMATTER(FileSize),
    TESSALY_FORMATTER(FileSource),
    TESSALY_FORMATTER(Duration),
    TESSALY_FORMATTER(FramesPerSecond),
    TESSALY_FORMATTER(DateTaken),
    TESSALY_FORMATTER(EditedDate),
    TESSALY_FORMATTER(GPS),
    TESSALY_FORMATTER(GPSAltitude),
    TESSALY_FORMATTER(GPSSpeed),
    TESSALY_FORMATTER(GPSDirection),
    TESSALY_FORMATTER(LocationName),
    TESSALY_FORMATTER(MapView),
    TESSALY_FORMATTER(Map),
    TESSALY_FORMATTER(Artist),
    TESSALY_FORMATTER(Copyright),
    TESSALY_FORMATTER(Headline),
    TESSALY_FORMATTER(Title),
    TESSALY_FORMATTER(Caption),
    TESSALY_FORMATTER(CaptionAbstract),
    TESSALY_FORMATTER(UserComment),
    TESSALY_FORMATTER(Keywords),
    TESSALY_FORMATTER(StarRating),
    Formatter{"City", City},
    Formatter{"Country", Country},
    Formatter{"Creator", Creator},
    Formatter{"Credit", Credit},
};

#undef TESSALY_FORMATTER

constexpr auto kKeyNames = [] {
    std::array<std::string_view, kFormatters.size()> names;
    std::ranges::transform(kFormatters, names.begin(), &Formatter::key);
    return names;
}();

struct RawAccessor {
    std::string_view key;
    std::string_view property;  ///< Of the top level; "" answers nothing.
};

/// Names that answer a stored object of the properties' top level, where readers put hardly any of them.
constexpr std::array kRawAccessors{
    RawAccessor{"FNumber", "FNumber"},
    RawAccessor{"PixelWidth", "PixelWidth"},
    RawAccessor{"PixelHeight", "PixelHeight"},
    RawAccessor{"SubjectArea", "SubjectArea"},
    RawAccessor{"SubsecTime", "SubsecTime"},
    RawAccessor{"SubsecTimeDigitized", "SubsecTimeDigitized"},
    RawAccessor{"SubsecTimeOriginal", ""},
    RawAccessor{"DateTime", "DateTime"},
    RawAccessor{"DateTimeOriginal", "DateTimeOriginal"},
    RawAccessor{"DateTimeDigitized", "DateTimeDigitized"},
    RawAccessor{"ComponentsConfiguration", "ComponentsConfiguration"},
    RawAccessor{"Orientation_TIFF", "Orientation"},
    RawAccessor{"ResolutionUnit", "ResolutionUnit"},
    RawAccessor{"XResolution", "XResolution"},
    RawAccessor{"YResolution", "YResolution"},
};

}  // namespace

std::span<const std::string_view> ExifInformation::keyNames() noexcept { return kKeyNames; }

KeyResult ExifInformation::performCustomSelector(std::string_view key) {
    if (const auto found = std::ranges::find(kFormatters, key, &Formatter::key); found != kFormatters.end()) {
        ExifValue value = found->format(*this);
        return PersistanceManager::sharedInstance().showsPreciseValues() ? preciseValue(*this, std::move(value))
                                                                         : std::move(value);
    }
    if (const auto found = std::ranges::find(kRawAccessors, key, &RawAccessor::key); found != kRawAccessors.end())
        return found->property.empty() ? Value() : metaDataDictionary[found->property];
    return std::monostate{};
}

std::string ExifInformation::shareLineFor(const ExifKey& key) {
    const KeyResult result = exifValueFor(key);
    const auto* value = std::get_if<ExifValue>(&result);
    if (!value) return {};
    const std::string& text = value->exifValueReadableFormat;
    if (text.empty() || text == exifNotAvailableString() || text == GPSDataNotAvailableString()) return {};
    if (key.key == "ExposureTime" && !PersistanceManager::sharedInstance().showsPreciseValues())
        return shutterSpeedString();
    if (key.key == "FocalLenIn35mmFilm") return formatted(localized("%@ (35 mm format)"), text);
    if (key.key == "ExposureBiasValue") return formatted(localized("%@ EV"), text);
    if (key.key == "Copyright") return formatted(localized("© %@"), text);
    if (key.key == "MeteringMode") return formatted(localized("%@ Metering mode"), text);
    // The line of the 35 mm equivalent says it already.
    if (key.key == "FocalLength") {
        const KeyResult equivalent = performCustomSelector("FocalLenIn35mmFilm");
        if (text == std::get<ExifValue>(equivalent).exifValueReadableFormat) return {};
    }
    return text;
}

std::string ExifInformation::shortExifStringsForShare() {
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    std::string summary;
    for (const ExifKey& key : settings.allSharedExifVisibleKeysOrderedArray())
        if (const std::string line = shareLineFor(key); !line.empty()) summary += line + "\n";
    std::string promotion;
    if (settings.shouldShareAPPURLWhileSharing())
        promotion = formatted(localized("Shared via Tessaly App %@"), AppStoreShareLink);
    return summary + formatted("\n\n%@", promotion);
}

}  // namespace tessaly
