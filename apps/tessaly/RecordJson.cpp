#include "RecordJson.h"

#include <cmath>
#include <cstdlib>
#include <ctime>

#include "Json.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSTimeZone.h"

namespace tessaly::cli {
namespace {

void writeNumber(JsonWriter& json, double number) {
    // Whole numbers without a fraction: pixels are counted, and 4032.0 helps nobody.
    if (std::nearbyint(number) == number && std::fabs(number) < 1e15)
        json.number(static_cast<std::int64_t>(number));
    else
        json.number(number);
}

void writeDimensions(JsonWriter& json, const CGSize& size) {
    json.key("dimensions");
    if (size.width <= 0 || size.height <= 0) {
        json.null();
        return;
    }
    json.beginArray();
    writeNumber(json, size.width);
    writeNumber(json, size.height);
    json.endArray();
}

void writeNumberOrNull(JsonWriter& json, std::string_view key, const std::optional<double>& number) {
    json.key(key);
    number ? json.number(*number) : json.null();
}

void writeLocation(JsonWriter& json, const std::optional<MeasuredPlace>& place) {
    json.key("location");
    if (!place) {
        json.null();
        return;
    }
    json.beginObject();
    json.key("latitude").number(place->latitude);
    json.key("longitude").number(place->longitude);
    writeNumberOrNull(json, "altitude", place->altitude);
    writeNumberOrNull(json, "course", place->course);
    writeNumberOrNull(json, "speed", place->speed);
    json.endObject();
}

void writeItems(JsonWriter& json, const std::vector<Item>& items) {
    json.key("items").beginArray();
    for (const Item& item : items)
        json.beginObject()
            .key("key")
            .text(item.key)
            .key("label")
            .text(item.label)
            .key("value")
            .text(item.value)
            .key("raw")
            .text(item.raw)
            .endObject();
    json.endArray();
}

}  // namespace

std::string iso8601(NSDate date) {
    const int offset = NSTimeZone::secondsFromGMT(date);
    const auto seconds = static_cast<std::time_t>(std::floor(date.timeIntervalSince1970)) + offset;
    std::tm civil{};
    ::gmtime_r(&seconds, &civil);
    const int minutes = std::abs(offset) / 60;
    return formatted("%04d-%02d-%02dT%02d:%02d:%02d%@%02d:%02d", civil.tm_year + 1900, civil.tm_mon + 1, civil.tm_mday,
                     civil.tm_hour, civil.tm_min, civil.tm_sec, offset < 0 ? "-" : "+", minutes / 60, minutes % 60);
}

void appendJsonError(std::string& out, std::string_view path, std::string_view error) {
    JsonWriter(out).beginObject().path(path).key("error").text(error).endObject();
}

void appendJson(std::string& out, const std::string& path, const MediaFile& file, const KeySelection& selection) {
    if (!file.record) return appendJsonError(out, path, describe(file.fault));
    ExifInformation& record = *file.record;
    const bool video = isVideo(record);
    JsonWriter json(out);
    json.beginObject();
    json.path(path);
    json.key("mediaType").text(video ? "video" : "image");
    json.key("fileSizeInBytes").number(record.fileSizeInBytes);
    writeDimensions(json, record.dimensions);
    json.key("dateTaken");
    file.facts.dateTaken.empty() ? json.null() : json.text(file.facts.dateTaken);
    writeLocation(json, file.facts.place);
    json.key("duration");
    if (video)
        json.number(record.duration);
    else
        json.null();
    json.key("framesPerSecond");
    if (video)
        json.number(static_cast<double>(record.framesPerSecondValue));
    else
        json.null();
    json.key("exifInfoAvailable").boolean(record.exifInfoAvailable);
    json.key("exifORTiffInfoAvailable").boolean(record.exifORTiffInfoAvailable);
    json.key("gpsInfoAvailable").boolean(file.facts.place.has_value());
    json.key("isScreenShot").boolean(record.isScreenShot);
    writeItems(json, itemsOf(record, selection));
    json.key("metadata").value(file.properties);
    json.endObject();
}

}  // namespace tessaly::cli
