#include "Properties.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "Suggestion.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/WritableProperties.h"

namespace tessaly::cli {
namespace {

/// In the order in which a bare name is looked for, behind the top level. The first four have the names of their
/// standards and no others.
constexpr std::array kDictionaries{
    kCGImagePropertyExifDictionary, kCGImagePropertyTIFFDictionary,       kCGImagePropertyGPSDictionary,
    kCGImagePropertyIPTCDictionary, kCGImagePropertyExifAuxDictionary,    kCGImagePropertyPictureStyleDictionary,
    kCGImagePropertyPNGDictionary,  kCGImagePropertyGIFDictionary,        kCGImagePropertyJFIFDictionary,
    kCGImagePropertyHEIFDictionary, kCGImagePropertyMakerAppleDictionary, kCGImagePropertyWebPDictionary,
    kCGImagePropertyDNGDictionary,
};
constexpr std::size_t kStandards = 4;

constexpr std::array<std::string_view, 11> kTopNames{"PixelWidth",
                                                     "PixelHeight",
                                                     "DPIWidth",
                                                     "DPIHeight",
                                                     "Depth",
                                                     "Orientation",
                                                     "ColorModel",
                                                     "ProfileName",
                                                     "HasAlpha",
                                                     "Compression",
                                                     "PhotometricInterpretation"};
constexpr std::array<std::string_view, 9> kAuxNames{"LensModel",        "LensID",       "LensInfo",
                                                    "LensSerialNumber", "SerialNumber", "ImageNumber",
                                                    "OwnerName",        "Firmware",     "FlashCompensation"};

std::string_view withoutBraces(std::string_view dictionary) {
    return dictionary.starts_with('{') && dictionary.ends_with('}') ? dictionary.substr(1, dictionary.size() - 2)
                                                                    : dictionary;
}

std::string_view dictionaryNamed(std::string_view name) {
    const auto same = [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); };
    const auto found = std::ranges::find_if(kDictionaries, [&](std::string_view dictionary) {
        return std::ranges::equal(withoutBraces(dictionary), withoutBraces(name), same);
    });
    return found == kDictionaries.end() ? std::string_view() : *found;
}

bool isStandard(std::string_view dictionary) {
    return std::ranges::find(kDictionaries, dictionary) < kDictionaries.begin() + kStandards;
}

/// The names of one of the standards' dictionaries.
std::vector<std::string_view> namesOf(std::string_view dictionary) {
    std::vector<std::string_view> names;
    for (const WritableProperty& property : writableProperties(withoutBraces(dictionary)))
        if (property.dictionary == dictionary) names.push_back(property.name);
    if (dictionary == kCGImagePropertyTIFFDictionary) names.insert(names.end(), kTopNames.end() - 2, kTopNames.end());
    return names;
}

std::vector<std::string_view> bareNames() {
    std::vector<std::string_view> names(kTopNames.begin(), kTopNames.end());
    names.insert(names.end(), kAuxNames.begin(), kAuxNames.end());
    for (const std::string_view name : writablePropertyNames()) names.push_back(name);
    return names;
}

bool has(const std::vector<std::string_view>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

/// A movie's record has dictionaries, but no properties of a picture.
Value valueIn(const ExifInformation& record, std::string_view dictionary, std::string_view name) {
    if (dictionary == kCGImagePropertyExifDictionary) return record.exifDic ? (*record.exifDic)[name] : Value();
    if (dictionary == kCGImagePropertyTIFFDictionary) return record.tifDic ? (*record.tifDic)[name] : Value();
    return record.metaDataDictionary[dictionary].dictionary()[name];
}

}  // namespace

std::optional<PropertyPath> propertyNamed(std::string_view name) {
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) {
        static const std::vector<std::string_view> known = bareNames();
        return has(known, name) ? std::optional(PropertyPath{{}, std::string(name)}) : std::nullopt;
    }
    const std::string_view dictionary = dictionaryNamed(name.substr(0, dot));
    const std::string_view property = name.substr(dot + 1);
    if (dictionary.empty() || property.empty()) return std::nullopt;
    if (isStandard(dictionary) && !has(namesOf(dictionary), property)) return std::nullopt;
    return PropertyPath{dictionary, std::string(property)};
}

std::string suggestionForKey(std::string_view name) {
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) {
        std::vector<std::string_view> names = bareNames();
        names.insert(names.begin(), ExifInformation::keyNames().begin(), ExifInformation::keyNames().end());
        return suggestion(name, names);
    }
    const std::string_view written = name.substr(0, dot);
    const std::string_view dictionary = dictionaryNamed(written);
    if (!dictionary.empty()) {
        const auto found = closest(name.substr(dot + 1), namesOf(dictionary));
        return found ? "; did you mean '" + std::string(written) + "." + std::string(*found) + "'?" : std::string();
    }
    std::vector<std::string_view> groups;
    for (const std::string_view known : kDictionaries) groups.push_back(withoutBraces(known));
    const auto found = closest(withoutBraces(written), groups);
    return found ? "; did you mean '" + std::string(*found) + std::string(name.substr(dot)) + "'?" : std::string();
}

Value propertyOf(const ExifInformation& record, const PropertyPath& path) {
    if (!path.dictionary.empty()) return valueIn(record, path.dictionary, path.name);
    const Value& top = record.metaDataDictionary[path.name];
    if (!top.isNull()) return top;
    for (const std::string_view dictionary : kDictionaries)
        if (Value value = valueIn(record, dictionary, path.name); !value.isNull()) return value;
    return {};
}

}  // namespace tessaly::cli
