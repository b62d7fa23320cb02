#include <array>
#include <memory>
#include <utility>

#include "metadata/ExifInformation.h"
#include "metadata/Formatting.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSByteCountFormatter.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/Foundation/NSNumberFormatter.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "settings/PersistanceManager.h"

// The picture and its file: size, colour, dates, texts.
namespace tessaly {
namespace {

constexpr std::array kColorSpaces{
    CodeText{1, "sRGB"},
    CodeText{2, "Adobe RGB"},
    CodeText{65533, "Wide Gamut RGB"},
    CodeText{65535, "ICC Profile"},
};

std::string stamp(const std::optional<NSDate>& date) { return date ? stampedDate(*date) : std::string(); }

}  // namespace

std::string stampedDate(NSDate date) {
    // Made again only when the user's pattern changes: locale data costs a millisecond.
    thread_local std::optional<std::pair<std::string, std::unique_ptr<NSDateFormatter>>> kept;
    const std::string pattern = PersistanceManager::sharedInstance().dateFormatString();
    if (!kept || kept->first != pattern) kept.emplace(pattern, std::make_unique<NSDateFormatter>(pattern));
    return kept->second->stringFromDate(date);
}

std::int64_t ExifInformation::GCD_with(std::int64_t a, std::int64_t b) noexcept {
    while (b != 0) {
        const std::int64_t rest = a % b;
        a = b;
        b = rest;
    }
    return a;
}

ExifValue ExifInformation::ResolutionInMegaPixel() const {
    const auto millions = static_cast<float>(dimensions.width * dimensions.height / 1'000'000);
    const NSNumberFormatter oneDigit{.maximumFractionDigits = 1, .roundingMode = NSNumberFormatterRoundingMode::up};
    const std::string number = oneDigit.stringFromNumber(static_cast<double>(millions));
    return marked(item("ResolutionInMegaPixel", "Resolution", formatted(localized("%@ MegaPixels"), number)));
}

ExifValue ExifInformation::AspectRatioFraction() const {
    ExifValue value = item("AspectRatioFraction", "Aspect Ratio");
    const auto width = static_cast<std::int64_t>(dimensions.width);
    const auto height = static_cast<std::int64_t>(dimensions.height);
    if (const std::int64_t divisor = GCD_with(width, height); divisor != 0) {
        const std::int64_t reducedWidth = width / divisor;
        const std::int64_t reducedHeight = height / divisor;
        const auto across = static_cast<double>(reducedWidth);
        const auto down = static_cast<double>(reducedHeight);
        // A reduced width above 16 tells nobody anything: add the ratio.
        if (across > 16 && height != 0)
            value.exifValueReadableFormat = formatted(localized("%0.0f/%0.0f (%f)"), across, down,
                                                      static_cast<float>(width) / static_cast<float>(height));
        else
            value.exifValueReadableFormat = formatted(localized("%0.0f/%0.0f"), across, down);
    }
    return marked(std::move(value));
}

ExifValue ExifInformation::DPIWidth() const {
    return item("DPIWidth", "DPI Width", formatted("%f", metaDataDictionary[kCGImagePropertyDPIWidth].doubleValue()));
}

ExifValue ExifInformation::DPIHeight() const {
    return item("DPIHeight", "DPI Height",
                formatted("%f", metaDataDictionary[kCGImagePropertyDPIHeight].doubleValue()));
}

ExifValue ExifInformation::Depth() const {
    return item("Depth", "Depth", formatted("%ld", metaDataDictionary[kCGImagePropertyDepth].integerValue()));
}

ExifValue ExifInformation::Orientation() const {
    return item("Orientation", "Orientation",
                formatted("%ld", metaDataDictionary[kCGImagePropertyOrientation].integerValue()));
}

ExifValue ExifInformation::ColorModel() const {
    return item("ColorModel", "Color Model", metaDataDictionary[kCGImagePropertyColorModel].description());
}

ExifValue ExifInformation::ColorProfile() const {
    const std::string name = metaDataDictionary[kCGImagePropertyProfileName].description();
    return item("ColorProfile", "Profile Name", name.empty() ? localized("Unknown") : name);
}

ExifValue ExifInformation::ColorSpace() const {
    return item("ColorSpace", "Color Space",
                textOfCode(kColorSpaces, exif()["ColorSpace"].integerValue(), "Uncalibrated"));
}

ExifValue ExifInformation::CompressedBitsPerPixel() const {
    return item("CompressedBitsPerPixel", "Compressed Bits Per Pixel",
                formatted("%ld", exif()["CompressedBitsPerPixel"].integerValue()));
}

ExifValue ExifInformation::FileSize() const {
    const bool live = phAsset && phAsset->mediaSubtypes == PHAssetMediaSubtypePhotoLive;
    std::string text;
    if (live && liveVideoFileSizeInBytes >= 1) {
        text = formatted(localized("%@ & Video size %@"), stringFromByteCount(fileSizeInBytes),
                         stringFromByteCount(liveVideoFileSizeInBytes));
    } else {
        const NSByteCountFormatter exact{
            .includesActualByteCount = true, .zeroPadsFractionDigits = true, .adaptive = false};
        text = exact.stringFromByteCount(fileSizeInBytes);
    }
    return item("FileSize", "File Size", std::move(text));
}

ExifValue ExifInformation::Duration() const {
    const std::int64_t seconds = Value(duration).integerValue();
    return item("Duration", "Duration",
                formatted("%02ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60, seconds % 60));
}

ExifValue ExifInformation::DateTaken() const { return item("DateTaken", "Date Taken", stamp(dateTaken)); }

ExifValue ExifInformation::EditedDate() const {
    return item("EditedDate", "Edited Date", stamp(phAsset ? phAsset->modificationDate : std::nullopt));
}

ExifValue ExifInformation::Artist() const {
    return item("Artist", "Artist", tiff()[kCGImagePropertyTIFFArtist].description());
}

ExifValue ExifInformation::Copyright() const {
    return item("Copyright", "Copyright", tiff()[kCGImagePropertyTIFFCopyright].description());
}

ExifValue ExifInformation::Headline() const {
    return item("Headline", "Headline", iptc()[kCGImagePropertyIPTCHeadline].description());
}

ExifValue ExifInformation::Title() const {
    return item("Title", "Title", iptc()[kCGImagePropertyIPTCObjectName].description());
}

ExifValue ExifInformation::Caption() const {
    std::string text = iptc()[kCGImagePropertyIPTCCaptionAbstract].description();
    if (text.empty()) text = tiff()[kCGImagePropertyTIFFImageDescription].description();
    return item("Caption", "Caption", std::move(text));
}

ExifValue ExifInformation::CaptionAbstract() const {
    ExifValue value = Caption();
    value.uniqueID = "CaptionAbstract";
    return value;
}

ExifValue ExifInformation::UserComment() const {
    return marked(item("UserComment", "User Comment", exif()["UserComment"].description()));
}

ExifValue ExifInformation::Keywords() {
    updateKeywordsArray();
    std::string text;
    std::string_view separator;
    for (const Value& keyword : keywordsArray.value_or(Array())) {
        text.append(separator).append(keyword.description());
        separator = ",";
    }
    return item("Keywords", "Keywords", std::move(text));
}

ExifValue ExifInformation::StarRating() const {
    const std::int64_t stars = iptc()[kCGImagePropertyIPTCStarRating].integerValue();
    ExifValue value = item("StarRating", "Star Rating", formatted("%ld", stars));
    value.exifRAWValue = value.exifValueReadableFormat;
    return marked(std::move(value));
}

}  // namespace tessaly
