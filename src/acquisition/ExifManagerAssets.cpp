#include <cmath>
#include <filesystem>

#include "acquisition/ExifManager.h"
#include "acquisition/LocalImageFiles.h"
#include "acquisition/QueueManager.h"
#include "acquisition/UIImage+Resize.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Log.h"
#include "platform/Photos/PHContentEditing.h"
#include "platform/Photos/PHImageManager.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "platform/UIKit/UIDevice.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr std::string_view kRawType = "raw-image";  // Part of the type of every maker's raw files.
constexpr std::string_view kAdobeRawType = "com.adobe.raw-image";
constexpr std::size_t kResourcesOfLivePhoto = 2;  // The photo, then its video.

bool allowsNetwork(bool forceDownload) {
    return forceDownload || PersistanceManager::sharedInstance().allowNetworkAccessToDownloadPhotos();
}

ExifInformationRef recordOf(const Data& data) {
    const auto properties = ExifManager::metadataFromImageData(data);
    return ExifInformation::exifInformationFromMetaDataDictionary(properties ? Value(*properties) : Value());
}

void markScreenShot(const PHAssetRef& asset, ExifInformation& record) {
    if (UIDevice::currentDevice().hasSystemVersion("9.0"))
        record.isScreenShot = asset && (asset->mediaSubtypes & PHAssetMediaSubtypePhotoScreenshot) != 0;
}

/// What a request for a photo's file brought.
struct Answer {
    Data data;
    Dictionary info;
    bool isInCloud = false;
};

PHImageRequestOptions bestQuality() {
    PHImageRequestOptions options;
    options.deliveryMode = PHImageRequestOptionsDeliveryMode::highQualityFormat;
    options.resizeMode = PHImageRequestOptionsResizeMode::none;
    return options;
}

Answer request(const PHAssetRef& asset, const PHImageRequestOptions& options) {
    Answer answer;
    DispatchSemaphore answered;
    PHImageManager::defaultManager().requestImageDataForAsset(
        asset, options, [&](const Data& data, const std::string&, UIImageOrientation, const Dictionary& info) {
            answer.data = data;
            answer.info = info;
            answered.signal();
        });
    answered.wait();
    return answer;
}

Answer requestFromNetwork(const PHAssetRef& asset, const PHProgressHandler& progressHandler) {
    PHImageRequestOptions options = bestQuality();
    options.networkAccessAllowed = true;
    options.progressHandler = [progressHandler](double progress, const std::string& error, bool& stop,
                                                const Dictionary& info) {
        log("RAW %f", progress);
        if (progressHandler) progressHandler(progress, error, stop, info);
    };
    Answer answer = request(asset, options);
    log("OPTIONS =  %@ and %@", Value(answer.info), Value(answer.data));
    answer.isInCloud = !answer.data;
    log("exifInformationFromPHAssett in NETWORK ACCESS ALLOWED MODE IMAGE_DATA_NIL %@ and %@", answer.isInCloud ? 1 : 0,
        Value(answer.info));
    return answer;
}

Answer requestPhoto(const PHAssetRef& asset, bool mayUseNetwork, const PHProgressHandler& progressHandler) {
    PHImageRequestOptions options = bestQuality();
    options.synchronous = true;
    Answer answer = request(asset, options);
    if (answer.data) return answer;
    answer.isInCloud = true;
    if (!mayUseNetwork) return answer;
    log("exifInformationFromPHAssett IMAGE_DATA_NIL %@", Value(answer.info));
    Answer fetched = requestFromNetwork(asset, progressHandler);
    // The type may be known only now that there is a file.
    if (answer.info.contains(PHImageFileUTIKey)) fetched.info = std::move(answer.info);
    return fetched;
}

/// Counts the bytes of a live photo's video, which goes on after the record was handed out.
void countLiveVideo(const PHAssetRef& asset, bool mayUseNetwork, const ExifInformationRef& record) {
    const auto resources = PHAssetResource::assetResourcesForAsset(asset);
    if (resources.size() != kResourcesOfLivePhoto) return;
    PHAssetResourceRequestOptions options;
    options.networkAccessAllowed = mayUseNetwork;
    PHAssetResourceManager::requestDataForAssetResource(
        resources[1], options,
        [record](std::span<const std::byte> piece) {
            record->liveVideoFileSizeInBytes += static_cast<std::int64_t>(piece.size());
        },
        [](const std::string&) {});
}

void markRaw(const Answer& answer, ExifInformation& record) {
    const std::string_view type = answer.info[PHImageFileUTIKey].string();
    if (type.find(kRawType) == std::string_view::npos) return;
    record.isRAWFile = true;
    log("UTI_ %@", type);
    if (type != kAdobeRawType) return;
    const UIImageRef picture = UIImageResize::imageFromDNGImageNSData(answer.data);
    if (!picture) return;
    const CGSize size = picture->size();
    record.dimensions = {size.width * picture->scale(), size.height * picture->scale()};
}

/// A raw photo's record comes from its full-size file, but keeps what the library told.
ExifInformationRef completeRawRecord(const ExifInformationRef& record, bool forceDownload) {
    log("EXIF NOT AVAILABLE FOR RAW FILE");
    ExifInformationRef complete;
    DispatchSemaphore completed;
    ExifManager::fetchCompleteExifInformationsFor(record, forceDownload, [&](const ExifInformationRef& fuller) {
        complete = fuller;
        completed.signal();
    });
    completed.wait();
    if (complete == record) return record;
    complete->isRAWFile = record->isRAWFile;
    complete->liveVideoFileSizeInBytes = record->liveVideoFileSizeInBytes.load();
    complete->phAsset = record->phAsset;
    complete->dateTaken = record->dateTaken;
    complete->hasFetchedFromPHAsset = record->hasFetchedFromPHAsset.load();
    complete->location = record->location;
    complete->fileSizeInBytes = record->fileSizeInBytes;
    complete->imageResultIsInCloud = record->imageResultIsInCloud.load();
    complete->dimensions = record->dimensions;
    return complete;
}

/// When a photo was taken, as the library knows it. One that tells no date has its file's time there, by which it is
/// sorted; nobody took it then.
std::optional<NSDate> dateTaken(const PHAssetRef& asset) {
    constexpr double kSame = 0.001;  // Seconds.
    if (!asset || !asset->creationDate || !asset->modificationDate) return asset ? asset->creationDate : std::nullopt;
    const double apart = asset->creationDate->timeIntervalSince1970 - asset->modificationDate->timeIntervalSince1970;
    return std::fabs(apart) <= kSame ? std::nullopt : asset->creationDate;
}

/// The library's place and date outrank the file's.
ExifInformationRef recordOfPhoto(const PHAssetRef& asset, const Answer& answer) {
    auto record = recordOf(answer.data);
    record->location = asset ? asset->location : std::nullopt;
    record->fileSizeInBytes = answer.data ? static_cast<std::int64_t>(answer.data->size()) : 0;
    if (const auto date = dateTaken(asset)) record->dateTaken = date;
    record->phAsset = asset;
    record->imageResultIsInCloud = answer.isInCloud;
    if (answer.isInCloud) log("ON_CLOUD and imageData = %@", Value(answer.data));
    return record;
}

ExifInformationRef readPhoto(const PHAssetRef& asset, bool forceDownload, const PHProgressHandler& progressHandler) {
    log("exifInformationFromPHAssett_2");
    const bool mayUseNetwork = allowsNetwork(forceDownload);
    Answer answer = requestPhoto(asset, mayUseNetwork, progressHandler);
    if (progressHandler) {
        bool stop = false;
        progressHandler(1.0, "", stop, {});
    }
    auto record = recordOfPhoto(asset, answer);
    if (asset && asset->mediaSubtypes == PHAssetMediaSubtypePhotoLive) countLiveVideo(asset, mayUseNetwork, record);
    markRaw(answer, *record);
    answer.data = nullptr;  // A raw file is read once more; twice in memory is too much.
    if (record->isRAWFile) record = completeRawRecord(record, forceDownload);
    markScreenShot(asset, *record);
    return record;
}

std::shared_ptr<AVAsset> requestMovie(const PHAssetRef& asset, bool forceDownload) {
    PHVideoRequestOptions options;
    options.networkAccessAllowed = allowsNetwork(forceDownload);
    options.deliveryMode = PHImageRequestOptionsDeliveryMode::highQualityFormat;
    std::shared_ptr<AVAsset> movie;
    DispatchSemaphore answered;
    PHImageManager::defaultManager().requestAVAssetForVideo(
        asset, options, [&](const std::shared_ptr<AVAsset>& delivered, const Dictionary&) {
            movie = delivered;
            answered.signal();
        });
    answered.wait();
    return movie;
}

void addMovie(const AVAsset& movie, ExifInformation& record) {
    const auto read = ExifManager::exifInformationFromAsset(movie, {});
    record.tifDic = read->tifDic;
    record.gpsDic = read->gpsDic;
    record.exifDic = read->exifDic;
    record.cameraModel = read->cameraModel;
    record.exifInfoAvailable = read->exifInfoAvailable;
    record.exifORTiffInfoAvailable = read->exifORTiffInfoAvailable;
    if (movie.path.empty()) return;  // Bytes without a file.
    record.fileSizeInBytes = read->fileSizeInBytes;
    record.framesPerSecondValue = read->framesPerSecondValue;
}

ExifInformationRef readVideo(const PHAssetRef& asset, bool forceDownload) {
    auto record = std::make_shared<ExifInformation>();
    record->phAsset = asset;
    record->location = asset->location;
    record->dimensions = {static_cast<double>(asset->pixelWidth), static_cast<double>(asset->pixelHeight)};
    record->dateTaken = asset->creationDate;
    record->dateCreated = asset->creationDate ? asset->creationDate : asset->modificationDate;
    record->duration = asset->duration;
    const auto movie = requestMovie(asset, forceDownload);
    record->hasFetchedFromPHAsset = true;
    record->tifDic.emplace();
    if (movie) addMovie(*movie, *record);
    record->imageResultIsInCloud = !movie;
    return record;
}

/// What an asynchronous read tells. Dates of the file outrank the library's.
ExifInformationRef quickRecord(const PHAssetRef& asset, const Data& data) {
    auto record = recordOf(data);
    record->location = asset ? asset->location : std::nullopt;
    record->fileSizeInBytes = data ? static_cast<std::int64_t>(data->size()) : 0;
    if (!record->dateTaken) record->dateTaken = dateTaken(asset);
    if (asset && !record->dateCreated) record->dateCreated = asset->creationDate;
    record->phAsset = asset;
    return record;
}

/// The record of the asset's full-size file.
ExifInformationRef fullRecord(const PHAssetRef& asset, const NSURL& url) {
    auto record = ExifManager::exifinformationFromNSURL(url);
    record->location = asset->location;
    if (!record->dateTaken) record->dateTaken = dateTaken(asset);
    record->phAsset = asset;
    markScreenShot(asset, *record);
    record->didFetchedFullInfo = true;
    return record;
}

bool isDevicesOwnPhoto(const NSURL& url) {
    const std::string& text = url.absoluteString();
    return url.isFileURL() && (text.find("mobile/Media/") != std::string::npos ||
                               text.find("CoreSimulator/Devices/") != std::string::npos);
}

}  // namespace

ExifInformationRef ExifManager::exifInformationFromPHAssett(const PHAssetRef& asset, bool forceDownload,
                                                            const PHProgressHandler& withProgressHandler) {
    const bool isVideo = asset && asset->mediaType == PHAssetMediaTypeVideo;
    auto record = isVideo ? readVideo(asset, forceDownload) : readPhoto(asset, forceDownload, withProgressHandler);
    record->hasFetchedEXIFInformation = true;
    return record;
}

void ExifManager::exifInformationFromPHAssett(const PHAssetRef& asset, RecordBlock withCompletionBlock) {
    const auto receive = [asset, completion = std::move(withCompletionBlock)](const Data& data, const std::string&,
                                                                              UIImageOrientation, const Dictionary&) {
        // Before further requests: otherwise the files of all of them would be in memory at once.
        DispatchQueue::global(DispatchPriority::high).async([asset, data, completion] {
            const auto record = quickRecord(asset, data);
            DispatchQueue::main().async([record, completion] { completion(record); });
        });
    };
    DispatchQueue::global().async([asset, receive] {
        PHImageManager::defaultManager().requestImageDataForAsset(asset, PHImageRequestOptions(), receive);
    });
}

void ExifManager::fetchCompleteExifInformationsFor(const ExifInformationRef& record, bool forceDownload,
                                                   RecordBlock withCompletionBlock) {
    record->isFetchingFullInfo = true;
    PHContentEditingInputRequestOptions options;
    options.networkAccessAllowed = allowsNetwork(forceDownload);
    if (record->imageResultIsInCloud && !options.networkAccessAllowed) return withCompletionBlock(record);
    const auto receive = [record, asset = record->phAsset,
                          completion = std::move(withCompletionBlock)](const PHContentEditingInputRef& input) {
        QueueManager::sharedInstance().completeEXIFFetchingQueue.async([=] {
            // A movie's record is full already: its file holds no picture's properties.
            const bool isPhoto = asset && asset->mediaType != PHAssetMediaTypeVideo;
            if (isPhoto && !input->fullSizeImageURL.empty())
                return completion(fullRecord(asset, input->fullSizeImageURL));
            record->didFetchedFullInfo = true;
            completion(record);
        });
    };
    requestContentEditingInputWithOptions(record->phAsset, options, receive);
}

PHAssetRef ExifManager::assetInPhotosAppForFileWithURL(const NSURL& url,
                                                       const std::optional<NSDate>& withCreationDate) {
    if (PHPhotoLibrary::authorizationStatus() != PHAuthorizationStatus::authorized) return nullptr;
    log("assetInPhotosAppForFileWithURL: %@ %@", url.absoluteString(),
        withCreationDate ? Value(*withCreationDate) : Value());
    if (!withCreationDate || !isDevicesOwnPhoto(url)) return nullptr;
    const std::string name = std::filesystem::path(url.lastPathComponent()).stem().string();
    const std::string key = name.substr(0, name.find('_'));
    PHAssetRef asset = LocalImageFiles::assetWithPartialLocalIdentifier(key);
    if (!asset) asset = LocalImageFiles::assetWithCreationDate(withCreationDate);
    log("PHAsset %@", asset ? asset->localIdentifier : std::string());
    log("LocalIdentifier %@ vs %@", asset ? asset->localIdentifier : std::string(), key);
    return asset;
}

}  // namespace tessaly
