#include "platform/ImageIO/WritableProperties.h"

#include <algorithm>
#include <cctype>

#include "linux/imageio/blocks/ExifTags.h"
#include "linux/imageio/rewrite/XmpSets.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {
namespace {

const std::vector<WritableProperty>& all() {
    static const std::vector<WritableProperty> properties = [] {
        std::vector<WritableProperty> made;
        const auto add = [&](std::string_view dictionary, std::span<const imageio::TagRule> rules) {
            for (const imageio::TagRule& rule : rules) made.push_back({dictionary, rule.name});
        };
        add(kCGImagePropertyTIFFDictionary, imageio::tiffTags());
        add(kCGImagePropertyExifDictionary, imageio::exifTags());
        add(kCGImagePropertyGPSDictionary, imageio::gpsTags());
        for (const std::string_view name : imageio::iptcNames()) made.push_back({kCGImagePropertyIPTCDictionary, name});
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
