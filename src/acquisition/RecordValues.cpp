#include "acquisition/RecordValues.h"

#include <algorithm>
#include <array>

namespace tessaly {
namespace {

template <class Field>
Value valueOf(const std::optional<Field>& field) {
    return field ? Value(*field) : Value();
}

Value valueOf(const std::string& text) { return text.empty() ? Value() : Value(text); }

Value valueOf(CGSize size) { return Dictionary{{"width", size.width}, {"height", size.height}}; }

Value valueOf(const std::optional<CLLocation>& location) {
    if (!location) return {};
    const auto& [latitude, longitude] = location->coordinate;
    return Dictionary{{"coordinate", Dictionary{{"latitude", latitude}, {"longitude", longitude}}},
                      {"altitude", location->altitude},
                      {"course", location->course},
                      {"speed", location->speed}};
}

Value valueOf(const PHAssetRef& asset) {
    if (!asset) return {};
    return Dictionary{{"localIdentifier", asset->localIdentifier},
                      {"mediaType", asset->mediaType},
                      {"mediaSubtypes", asset->mediaSubtypes},
                      {"creationDate", valueOf(asset->creationDate)},
                      {"modificationDate", valueOf(asset->modificationDate)},
                      {"pixelWidth", asset->pixelWidth},
                      {"pixelHeight", asset->pixelHeight},
                      {"duration", asset->duration},
                      {"favorite", asset->favorite}};
}

struct Field {
    std::string_view name;
    Value (*value)(const ExifInformation& record);
};

#define TESSALY_FIELD(name, expression)                                          \
    Field {                                                                      \
#name, [](const ExifInformation& record) -> Value { return expression; } \
    }

constexpr std::array kFields{
    TESSALY_FIELD(metaDataDictionary, record.metaDataDictionary),
    TESSALY_FIELD(exifDic, valueOf(record.exifDic)),
    TESSALY_FIELD(tifDic, valueOf(record.tifDic)),
    TESSALY_FIELD(gpsDic, valueOf(record.gpsDic)),
    TESSALY_FIELD(iptcDic, valueOf(record.iptcDic)),
    TESSALY_FIELD(keywordsArray, valueOf(record.keywordsArray)),
    TESSALY_FIELD(dateTaken, valueOf(record.dateTaken)),
    TESSALY_FIELD(dateCreated, valueOf(record.dateCreated)),
    TESSALY_FIELD(dateModified, valueOf(record.dateModified)),
    TESSALY_FIELD(rating, record.rating),
    TESSALY_FIELD(dimensions, valueOf(record.dimensions)),
    TESSALY_FIELD(fileSizeInBytes, record.fileSizeInBytes),
    TESSALY_FIELD(liveVideoFileSizeInBytes, record.liveVideoFileSizeInBytes.load()),
    TESSALY_FIELD(cameraMaker, valueOf(record.cameraMaker)),
    TESSALY_FIELD(cameraModel, valueOf(record.cameraModel)),
    TESSALY_FIELD(cameraSubject, valueOf(record.cameraSubject)),
    TESSALY_FIELD(aperture_fStop, record.aperture_fStop),
    TESSALY_FIELD(shutterSpeedExposureTimeInSeconds, record.shutterSpeedExposureTimeInSeconds),
    TESSALY_FIELD(iSOSpeed, record.iSOSpeed),
    TESSALY_FIELD(exposureBias, record.exposureBias),
    TESSALY_FIELD(focalLengthInmm, record.focalLengthInmm),
    TESSALY_FIELD(meteringMode, valueOf(record.meteringMode)),
    TESSALY_FIELD(flashMode, valueOf(record.flashMode)),
    TESSALY_FIELD(flashStatusCode, record.flashStatusCode),
    TESSALY_FIELD(locationName, valueOf(record.locationName)),
    TESSALY_FIELD(location, valueOf(record.location)),
    TESSALY_FIELD(gpsInfoAvailable, record.gpsInfoAvailable()),
    TESSALY_FIELD(exifInfoAvailable, record.exifInfoAvailable),
    TESSALY_FIELD(exifORTiffInfoAvailable, record.exifORTiffInfoAvailable),
    TESSALY_FIELD(isScreenShot, record.isScreenShot),
    TESSALY_FIELD(isRAWFile, record.isRAWFile),
    TESSALY_FIELD(imageResultIsInCloud, record.imageResultIsInCloud.load()),
    TESSALY_FIELD(framesPerSecondValue, static_cast<double>(record.framesPerSecondValue)),
    TESSALY_FIELD(duration, record.duration),
    TESSALY_FIELD(mediaType, record.mediaType()),
    TESSALY_FIELD(fileNameCached, valueOf(record.fileNameCached())),
    TESSALY_FIELD(imageFilePath, valueOf(record.imageFilePath)),
    TESSALY_FIELD(phAsset, valueOf(record.phAsset)),
};

#undef TESSALY_FIELD

Value displayValue(ExifInformation& record, std::string_view key) {
    const KeyResult result = record.performCustomSelector(key);
    if (const auto* item = std::get_if<ExifValue>(&result)) return valueOf(item->exifValueReadableFormat);
    const auto* stored = std::get_if<Value>(&result);
    return stored ? *stored : Value();
}

}  // namespace

Value valueOfRecord(ExifInformation& record, std::string_view keyPath) {
    std::size_t end = keyPath.find('.');
    const std::string_view name = keyPath.substr(0, end);
    const auto field = std::ranges::find(kFields, name, &Field::name);
    Value value = field != kFields.end() ? field->value(record) : displayValue(record, name);
    while (end != std::string_view::npos) {
        keyPath.remove_prefix(end + 1);
        end = keyPath.find('.');
        value = Value(value.dictionary()[keyPath.substr(0, end)]);
    }
    return value;
}

}  // namespace tessaly
