#include "FileCondition.h"

#include <array>
#include <deque>
#include <set>
#include <vector>

#include "Condition.h"
#include "Items.h"
#include "Output.h"
#include "platform/ImageIO/WritableProperties.h"

namespace tessaly::cli {
namespace {

constexpr std::array kMembers = std::to_array<ConditionName>({{"path", ConditionKind::text},
                                                              {"mediaType", ConditionKind::text},
                                                              {"fileSizeInBytes", ConditionKind::number},
                                                              {"width", ConditionKind::number},
                                                              {"height", ConditionKind::number},
                                                              {"dateTaken", ConditionKind::date},
                                                              {"location", ConditionKind::place},
                                                              {"location.latitude", ConditionKind::number},
                                                              {"location.longitude", ConditionKind::number},
                                                              {"location.altitude", ConditionKind::number},
                                                              {"location.course", ConditionKind::number},
                                                              {"location.speed", ConditionKind::number},
                                                              {"duration", ConditionKind::number},
                                                              {"framesPerSecond", ConditionKind::number},
                                                              {"exifInfoAvailable", ConditionKind::truth},
                                                              {"exifORTiffInfoAvailable", ConditionKind::truth},
                                                              {"gpsInfoAvailable", ConditionKind::truth},
                                                              {"isScreenShot", ConditionKind::truth}});

/// Where a property is looked for by its bare name, in this order; "" is the top.
constexpr std::array<std::string_view, 6> kDictionaries{"", "Exif", "TIFF", "GPS", "IPTC", "ExifAux"};

constexpr std::array<std::string_view, 9> kTopNames{"PixelWidth",  "PixelHeight", "DPIWidth",    "DPIHeight", "Depth",
                                                    "Orientation", "ColorModel",  "ProfileName", "HasAlpha"};

Value valueOf(const std::optional<double>& number) { return number ? Value(*number) : Value(); }

/// What a list of one says, as ISOSpeedRatings does.
Value plain(const Value& value) { return value.isArray() && value.array().size() == 1 ? value.array()[0] : value; }

Value inDictionary(const Dictionary& properties, std::string_view dictionary, std::string_view name) {
    if (dictionary.empty()) {
        const Value& value = properties[name];
        return value.isDictionary() ? Value() : plain(value);
    }
    return plain(properties["{" + std::string(dictionary) + "}"].dictionary()[name]);
}

Value propertyOf(const Dictionary& properties, std::string_view name) {
    if (const auto dot = name.find('.'); dot != std::string_view::npos)
        return inDictionary(properties, name.substr(0, dot), name.substr(dot + 1));
    for (const std::string_view dictionary : kDictionaries)
        if (Value value = inDictionary(properties, dictionary, name); !value.isNull()) return value;
    return {};
}

/// Of the text that the JSON has; parts of a second are left out.
Value dateOf(std::string text) {
    if (const auto dot = text.find('.'); dot != std::string::npos)
        text.erase(dot, std::min(text.find_first_not_of("0123456789", dot + 1), text.size()) - dot);
    const auto period = Period::of(text);
    return period ? Value(period->begin) : Value();
}

Value placeValue(const MediaFile& file, std::string_view part) {
    if (!file.facts.place) return {};
    if (part == "latitude") return file.facts.place->latitude;
    if (part == "longitude") return file.facts.place->longitude;
    if (part == "altitude") return valueOf(file.facts.place->altitude);
    if (part == "course") return valueOf(file.facts.place->course);
    return valueOf(file.facts.place->speed);
}

Value memberOf(const std::string& path, const MediaFile& file, std::string_view name) {
    const ExifInformation& record = *file.record;
    const bool video = isVideo(record);
    if (name == "path") return path;
    if (name == "mediaType") return video ? "video" : "image";
    if (name == "fileSizeInBytes") return record.fileSizeInBytes;
    if (name == "width") return record.dimensions.width > 0 ? Value(record.dimensions.width) : Value();
    if (name == "height") return record.dimensions.height > 0 ? Value(record.dimensions.height) : Value();
    if (name == "dateTaken") return dateOf(file.facts.dateTaken);
    if (name == "location") return file.facts.place ? Value(true) : Value();
    if (name.starts_with("location.")) return placeValue(file, name.substr(9));
    if (name == "duration") return video ? Value(record.duration) : Value();
    if (name == "framesPerSecond") return video ? Value(static_cast<double>(record.framesPerSecondValue)) : Value();
    if (name == "exifInfoAvailable") return record.exifInfoAvailable;
    if (name == "exifORTiffInfoAvailable") return record.exifORTiffInfoAvailable;
    if (name == "gpsInfoAvailable") return file.facts.place.has_value();
    if (name == "isScreenShot") return record.isScreenShot;
    return propertyOf(file.properties, name);
}

/// The members and every property, bare and behind its dictionary. The texts are kept in `kept`.
std::vector<ConditionName> allNames(std::deque<std::string>& kept) {
    std::vector<ConditionName> names(kMembers.begin(), kMembers.end());
    std::set<std::string_view> properties(kTopNames.begin(), kTopNames.end());
    for (const std::string_view name : writablePropertyNames()) properties.insert(name);
    for (const std::string_view name : ExifInformation::keyNames()) properties.insert(name);
    for (const std::string_view name : properties)
        for (const std::string_view dictionary : kDictionaries)
            names.push_back({kept.emplace_back(dictionary.empty() ? std::string(name)
                                                                  : std::string(dictionary) + "." + std::string(name)),
                             ConditionKind::property});
    return names;
}

}  // namespace

struct FileCondition::Parsed {
    explicit Parsed(const std::string& text) : predicate(parsed(text)) {}
    NSPredicate predicate;

private:
    static NSPredicate parsed(const std::string& text) {
        std::deque<std::string> kept;
        return parsedCondition("--if", text, allNames(kept));
    }
};

FileCondition::FileCondition(const std::string& text) : parsed_(std::make_unique<const Parsed>(text)) {}
FileCondition::~FileCondition() = default;

bool FileCondition::holds(const std::string& path, const MediaFile& file) const {
    return parsed_->predicate.evaluateWithObject([&](std::string_view name) { return memberOf(path, file, name); });
}

std::unique_ptr<const FileCondition> FileCondition::of(const std::string& text) {
    return text.empty() ? nullptr : std::make_unique<const FileCondition>(text);
}

void addConditionOption(CLI::App& command, std::string& text) {
    command.add_option("--if", text, "Only files that a condition holds for: 'dateTaken >= 2024-05 AND FNumber < 2.8'")
        ->type_name("CONDITION");
}

void keepFilesThat(const std::string& condition, std::vector<NamedFile>& files, bool& failed) {
    const auto wanted = FileCondition::of(condition);
    if (!wanted) return;
    std::erase_if(files, [&](const NamedFile& named) {
        const MediaFile file = MediaFile::read(named.path);
        if (file.record) return !wanted->holds(named.path, file);
        complain(named.path, describe(file.fault));
        failed = true;
        return true;
    });
}

}  // namespace tessaly::cli
