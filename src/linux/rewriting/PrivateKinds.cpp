#include <algorithm>
#include <array>
#include <cctype>

#include "platform/ImageIO/MetadataAudit.h"

namespace tessaly {
namespace {

using std::string_view_literals::operator""sv;
using Words = std::vector<std::string>;

/// "Iptc4xmpCore:CountryCode", "com.apple.quicktime.location.ISO6709", "By-line" as words in lower case. A namespace is
/// none of them.
Words wordsOf(std::string_view name) {
    if (const std::size_t colon = name.rfind(':'); colon != name.npos) name.remove_prefix(colon + 1);
    Words words;
    bool continues = false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto letter = static_cast<unsigned char>(name[i]);
        if (!std::isalpha(letter)) {
            continues = false;
            continue;
        }
        const bool isUpper = std::isupper(letter) != 0;
        const bool afterLower = i > 0 && std::islower(static_cast<unsigned char>(name[i - 1])) != 0;
        const bool beforeLower = i + 1 < name.size() && std::islower(static_cast<unsigned char>(name[i + 1])) != 0;
        if (!continues || (isUpper && (afterLower || beforeLower))) words.emplace_back();
        words.back() += static_cast<char>(std::tolower(letter));
        continues = true;
    }
    return words;
}

template <std::size_t Count>
bool anyOf(const Words& words, const std::array<std::string_view, Count>& known) {
    return std::ranges::any_of(words,
                               [&](const std::string& word) { return std::ranges::find(known, word) != known.end(); });
}

bool isPlace(const Words& words) {
    static constexpr std::array kWords{"city"sv,        "country"sv,  "province"sv,    "location"sv,
                                       "sublocation"sv, "landmark"sv, "latitude"sv,    "longitude"sv,
                                       "altitude"sv,    "gps"sv,      "hometown"sv,    "geo"sv,
                                       "geotag"sv,      "place"sv,    "gpslatitude"sv, "gpslongitude"sv};
    // Where in the picture, and what a sensitivity or exposure spans.
    static constexpr std::array kOthers{"subject"sv, "speed"sv, "exposure"sv, "preview"sv, "thumbnail"sv};
    if (words.size() == 1 && words.front() == "state") return true;
    return anyOf(words, kWords) && !anyOf(words, kOthers);
}

bool isPerson(const Words& words) {
    static constexpr std::array kWords{"artist"sv,    "creator"sv,    "author"sv,   "byline"sv,  "owner"sv,
                                       "copyright"sv, "rights"sv,     "credit"sv,   "contact"sv, "writer"sv,
                                       "editor"sv,    "copyrights"sv, "person"sv,   "people"sv,  "photographer"sv,
                                       "baby"sv,      "host"sv,       "director"sv, "producer"sv};
    static constexpr std::array kOthers{"tool"sv, "flag"sv};
    if (words.size() == 1 && words.front() == "source") return true;
    if (words == Words{"by", "line"} || words == Words{"by", "line", "title"}) return true;
    if (words == Words{"face", "names"}) return true;
    return anyOf(words, kWords) && !anyOf(words, kOthers);
}

bool isDevice(const Words& words) {
    static constexpr std::array kWords{"serial"sv, "guid"sv, "uuid"sv, "identifier"sv, "serialnumber"sv};
    static constexpr std::array<std::array<std::string_view, 2>, 10> kPairs{{{"unique", "id"},
                                                                             {"document", "id"},
                                                                             {"instance", "id"},
                                                                             {"image", "id"},
                                                                             {"shutter", "count"},
                                                                             {"image", "count"},
                                                                             {"image", "number"},
                                                                             {"file", "number"},
                                                                             {"device", "id"},
                                                                             {"camera", "id"}}};
    return anyOf(words, kWords) ||
           std::ranges::any_of(kPairs, [&](const auto& pair) { return std::ranges::search(words, pair).size() == 2; });
}

bool isDate(const Words& words) {
    static constexpr std::array kDates{"date"sv, "when"sv, "birthday"sv, "datetime"sv, "day"sv};
    // Durations, and how times are counted.
    static constexpr std::array kDurations{"exposure"sv, "shutter"sv, "scale"sv,  "value"sv,   "delay"sv,
                                           "flash"sv,    "timer"sv,   "lapse"sv,  "burst"sv,   "duration"sv,
                                           "play"sv,     "frame"sv,   "format"sv, "recycle"sv, "integration"sv};
    static constexpr std::array kTimes{"time"sv};
    return (anyOf(words, kDates) || anyOf(words, kTimes)) && !anyOf(words, kDurations);
}

bool isText(const Words& words) {
    static constexpr std::array kWords{"title"sv,    "caption"sv,  "description"sv,  "keywords"sv, "keyword"sv,
                                       "comment"sv,  "headline"sv, "instructions"sv, "history"sv,  "abstract"sv,
                                       "comments"sv, "subject"sv,  "label"sv};
    static constexpr std::array kOthers{"area"sv,    "distance"sv, "dist"sv,     "lens"sv,
                                        "profile"sv, "location"sv, "detection"sv};
    return (anyOf(words, kWords) && !anyOf(words, kOthers)) || words == Words{"object", "name"};
}

PrivateKind kindOfWords(const Words& words) {
    if (isPlace(words)) return PrivateKind::place;
    if (isDevice(words)) return PrivateKind::device;
    if (isDate(words)) return PrivateKind::date;
    if (isPerson(words)) return PrivateKind::person;
    return isText(words) ? PrivateKind::text : PrivateKind::none;
}

/// How a picture was or is to be developed; its words mean tones and colours.
bool isDevelopment(std::string_view name) {
    return name.starts_with("crs:") || name.starts_with("hdrgm:") || name.starts_with("GPano:Cropped");
}

}  // namespace

PrivateKind privateKindOf(std::string_view name) {
    if (isDevelopment(name)) return PrivateKind::none;
    // IPTC's have a stroke in one name, the fields of structures one between two: each part is asked, the last first.
    while (true) {
        const std::size_t stroke = name.rfind('/');
        const std::string_view part = stroke == name.npos ? name : name.substr(stroke + 1);
        if (const PrivateKind kind = kindOfWords(wordsOf(part)); kind != PrivateKind::none) return kind;
        if (stroke == name.npos) return PrivateKind::none;
        // The people that are framed in a picture.
        if (part.ends_with(":Name") && name.find("Regions") != name.npos) return PrivateKind::person;
        name = name.substr(0, stroke);
    }
}

}  // namespace tessaly
