#include "platform/ImageIO/WritableProperties.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "linux/imageio/blocks/ExifTags.h"
#include "linux/imageio/blocks/IptcDataSets.h"
#include "linux/imageio/rewrite/ExifFields.h"
#include "linux/imageio/rewrite/XmpSets.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {
namespace {

using namespace imageio;

struct Count {
    std::uint16_t tag;
    std::uint8_t least, most;
};

/// Exif 2.32, 4.6: fields of several numbers.
constexpr std::array kCounts{Count{0x013E, 2, 2}, Count{0x013F, 6, 6}, Count{0x8827, 1, 8}, Count{0x9101, 4, 4},
                             Count{0x9214, 2, 4}, Count{0xA214, 2, 2}, Count{0xA432, 4, 4}};

WritableProperty numbersOf(WritableProperty property, TiffKind kind, std::uint16_t tag) {
    constexpr std::uint64_t largestPart = 0x7FFFFFFF;
    switch (const TiffType type = numberType(kind, tag)) {
        case TiffType::rational:
        case TiffType::signedRational:
            property.kind = type == TiffType::rational ? WritableKind::fraction : WritableKind::signedFraction;
            property.largest = largestPart;
            break;
        default:
            property.kind = WritableKind::whole;
            property.largest = (std::uint64_t{1} << (8 * sizeOf(type))) - 1;
    }
    if (kind == TiffKind::gps) {
        if (tag == 0x0000) property.least = property.most = 4;
    } else if (const auto count = std::ranges::find(kCounts, tag, &Count::tag); count != kCounts.end()) {
        property.least = count->least;
        property.most = count->most;
    }
    if (tag == 0x0112 && kind == TiffKind::first) property.largest = 8;
    return property;
}

WritableProperty propertyOf(std::string_view dictionary, TiffKind kind, const TagRule& rule) {
    const WritableProperty property{dictionary, rule.name};
    const auto of = [&](WritableKind form) { return WritableProperty{dictionary, rule.name, form}; };
    switch (rule.form) {
        case TagForm::number:
        case TagForm::numbers:
        case TagForm::numberOrAll:
            return numbersOf(property, kind, rule.tag);
        case TagForm::flagByte:
            return {dictionary, rule.name, WritableKind::whole, 0xFF};
        case TagForm::version:
            return of(WritableKind::version);
        case TagForm::degrees:
            return of(WritableKind::degrees);
        case TagForm::timeOfDay:
            return of(WritableKind::time);
        case TagForm::dateStamp:
            return of(WritableKind::day);
        default:
            if (rule.name.starts_with("DateTime")) return of(WritableKind::date);
            if (rule.name.starts_with("OffsetTime")) return of(WritableKind::zone);
            return rule.name.starts_with("SubsecTime") ? of(WritableKind::digits) : property;
    }
}

WritableProperty iptcProperty(std::string_view name) {
    WritableProperty property{kCGImagePropertyIPTCDictionary, name};
    const auto set = std::ranges::find(kIptcDataSets, name, &IptcDataSetRule::name);
    if (set != kIptcDataSets.end() && set->repeats) property.kind = WritableKind::texts;
    if (name.ends_with("Date") || name == "DateCreated") property.kind = WritableKind::day;
    if (name.ends_with("Time") || name == "TimeCreated") property.kind = WritableKind::time;
    return property;
}

const std::vector<WritableProperty>& all() {
    static const std::vector<WritableProperty> properties = [] {
        std::vector<WritableProperty> made;
        const auto add = [&](std::string_view dictionary, TiffKind kind, std::span<const TagRule> rules) {
            for (const TagRule& rule : rules) made.push_back(propertyOf(dictionary, kind, rule));
        };
        add(kCGImagePropertyTIFFDictionary, TiffKind::first, tiffTags());
        add(kCGImagePropertyExifDictionary, TiffKind::exif, exifTags());
        add(kCGImagePropertyGPSDictionary, TiffKind::gps, gpsTags());
        for (const std::string_view name : iptcNames()) made.push_back(iptcProperty(name));
        // These describe the picture itself; writing them would only make them wrong.
        std::erase_if(made, [](const WritableProperty& property) {
            return property.name == "Compression" || property.name == "PhotometricInterpretation";
        });
        return made;
    }();
    return properties;
}

bool equalsWithoutCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b,
                              [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

}  // namespace

std::vector<WritableProperty> writableProperties(std::string_view name) {
    std::vector<WritableProperty> found;
    for (const WritableProperty& property : all()) {
        const std::string_view group = property.dictionary.substr(1, property.dictionary.size() - 2);
        if (equalsWithoutCase(property.name, name) || equalsWithoutCase(group, name)) found.push_back(property);
    }
    return found;
}

std::span<const std::string_view> writablePropertyNames() {
    static const std::vector<std::string_view> names = [] {
        std::vector<std::string_view> made;
        for (const WritableProperty& property : all()) made.push_back(property.name);
        return made;
    }();
    return names;
}

}  // namespace tessaly
