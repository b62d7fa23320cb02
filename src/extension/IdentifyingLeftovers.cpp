#include "extension/IdentifyingLeftovers.h"

#include <algorithm>
#include <array>

#include "platform/Foundation/NSBundle.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/ImageIO/MetadataRewrite.h"

namespace tessaly {
namespace {

using std::string_view_literals::operator""sv;

enum class Kind : std::uint8_t { texts, xmp, camera, credentials, video, hidden };

/// In the order of the kinds.
constexpr std::array kNames{localizable("Texts and comments"), localizable("XMP data"),
                            localizable("Camera and lens"),    localizable("Content credentials"),
                            localizable("Embedded video"),     localizable("Other hidden data")};

/// Bytes that a block of the kind has, and whatever else a file may hold hardly ever.
struct Mark {
    std::string_view head;  ///< Of the files that it counts in; "" is any.
    std::string_view bytes;
    Kind kind;
};
constexpr std::array kMarks{
    Mark{"\x89PNG"sv, "tEXt"sv, Kind::texts},
    Mark{"\x89PNG"sv, "zTXt"sv, Kind::texts},
    Mark{"\x89PNG"sv, "iTXt"sv, Kind::texts},
    Mark{"GIF8"sv, "\x21\xFE"sv, Kind::texts},
    Mark{"\xFF\xD8"sv, "\xFF\xFE"sv, Kind::texts},  // Never in a picture's scans, where zeroes follow each 0xFF.
    Mark{""sv, "8BIM\x03\xF0"sv, Kind::texts},      // Photoshop's resources: a caption, addresses, a list of them.
    Mark{""sv, "8BIM\x04\x0B"sv, Kind::texts},
    Mark{""sv, "8BIM\x04\x1E"sv, Kind::texts},
    // Packets that no properties are read from: of further pages, frames and pictures.
    Mark{""sv, ":xmpmeta"sv, Kind::xmp},
    Mark{""sv, ":RDF"sv, Kind::xmp},
    Mark{""sv, "c2pa"sv, Kind::credentials},
    Mark{""sv, "jumb"sv, Kind::credentials},
    Mark{""sv, "mpvd"sv, Kind::video},
};

/// Dictionaries that are read from more than one place of a file.
struct Section {
    std::string_view dictionary;
    Kind kind;
};
constexpr std::array kSections{Section{kCGImagePropertyExifAuxDictionary, Kind::camera},
                               Section{kCGImagePropertyPictureStyleDictionary, Kind::camera},
                               Section{kCGImagePropertyMakerAppleDictionary, Kind::camera},
                               Section{kCGImagePropertyPNGDictionary, Kind::texts},
                               Section{kCGImagePropertyGPSDictionary, Kind::xmp},
                               Section{kCGImagePropertyIPTCDictionary, Kind::xmp}};

/// A difference of so many bytes is more than another way to write down size and density: a thumbnail, a preview.
constexpr std::size_t kLayout = 256;
/// What the ends of two files share may hold the end of a mark.
constexpr std::size_t kMargin = 16;

std::string_view textOf(const Data& data) { return {reinterpret_cast<const char*>(data->data()), data->size()}; }

/// Where the two begin and end to differ: mostly before the pixels, which need not be searched then.
std::pair<std::string_view, std::string_view> differing(std::string_view file, std::string_view clean) {
    const std::size_t shorter = std::min(file.size(), clean.size());
    const auto ahead = static_cast<std::size_t>(std::ranges::mismatch(file, clean).in1 - file.begin());
    std::size_t behind = 0;
    while (behind < shorter - ahead && file[file.size() - 1 - behind] == clean[clean.size() - 1 - behind]) ++behind;
    const std::size_t first = ahead - std::min(ahead, kMargin);
    const std::size_t last = behind - std::min(behind, kMargin);
    return {file.substr(first, file.size() - last - first), clean.substr(first, clean.size() - last - first)};
}

std::size_t countIn(std::string_view text, std::string_view bytes) {
    std::size_t count = 0;
    for (auto at = text.find(bytes); at != std::string_view::npos; at = text.find(bytes, at + bytes.size())) ++count;
    return count;
}

Dictionary propertiesOf(const Data& file) {
    const auto source = CGImageSourceCreateWithData(file);
    return source ? CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary()) : Dictionary();
}

Dictionary xmpOf(const Data& file) {
    const auto source = CGImageSourceCreateWithData(file);
    return source ? CGImageSourceCopyMetadataAtIndex(source, 0, {}).value_or(Dictionary()) : Dictionary();
}

using Kinds = std::array<bool, kNames.size()>;
bool& has(Kinds& kinds, Kind kind) { return kinds[static_cast<std::size_t>(kind)]; }

void addMarked(const Data& file, const Data& clean, Kinds& kinds) {
    const auto [mine, other] = differing(textOf(file), textOf(clean));
    for (const auto& [head, bytes, kind] : kMarks)
        if (textOf(file).starts_with(head) && countIn(mine, bytes) > countIn(other, bytes)) has(kinds, kind) = true;
}

void addRead(const Data& file, const Data& clean, Kinds& kinds) {
    const Dictionary properties = propertiesOf(file), rest = propertiesOf(clean);
    for (const auto& [dictionary, kind] : kSections) {
        const Dictionary kept = rest[dictionary].dictionary();
        for (const Dictionary::Entry& entry : properties[dictionary].dictionary())
            if (!kept.contains(entry.key())) has(kinds, kind) = true;
    }
    // A packet may be in both, for what it says of a gain map.
    const Dictionary xmp = xmpOf(file), keptXmp = xmpOf(clean);
    for (const Dictionary::Entry& entry : xmp)
        if (!(entry.value == keptXmp[entry.key()])) has(kinds, Kind::xmp) = true;
}

}  // namespace

Data dataWithoutAnyMetadata(const Data& file) {
    return rewriteMetadata(file, {.removal = MetadataChange::Removal::everything, .removes = {}, .values = {}});
}

std::vector<std::string_view> identifyingLeftovers(const Data& file, const Data& clean) {
    Kinds kinds{};
    addMarked(file, clean, kinds);
    addRead(file, clean, kinds);
    const bool isNamed = std::ranges::find(kinds, true) != kinds.end();
    if (!isNamed && file->size() > clean->size() + kLayout) has(kinds, Kind::hidden) = true;
    std::vector<std::string_view> names;
    for (std::size_t i = 0; i < kNames.size(); ++i)
        if (kinds[i]) names.push_back(kNames[i]);
    return names;
}

std::string namesOfLeftovers(const std::vector<std::string_view>& kinds) {
    std::string names;
    for (const std::string_view label : kinds) names += (names.empty() ? "" : ", ") + localized(label);
    return names;
}

}  // namespace tessaly
