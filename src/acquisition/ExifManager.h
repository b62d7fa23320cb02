#pragma once
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "acquisition/BatchProgress.h"
#include "metadata/ExifInformation.h"
#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/Photos/PHFetchResult.h"
#include "platform/Photos/PHImageManager.h"

namespace tessaly {

/// The one place where metadata is acquired and becomes a record. Operations hold no state and may run on any thread;
/// the instance exists for the date formatter.
class ExifManager {
public:
    [[nodiscard]] static const ExifManager& sharedInstance();
    /// "yyyy:MM:dd HH:mm:ss" in the system locale.
    [[nodiscard]] const NSDateFormatter& dateFormatter() const noexcept { return dateFormatter_; }

    /// The properties of image 0, or its metadata alone where it has no properties; nullopt for neither.
    [[nodiscard]] static std::optional<Dictionary> metadataFromImageSource(const CGImageSourceRef& source);
    [[nodiscard]] static std::optional<Dictionary> metadataFromImageURL(const NSURL& url);
    [[nodiscard]] static std::optional<Dictionary> metadataFromImageData(const Data& data);

    /// The record of the properties, with its location.
    [[nodiscard]] static ExifInformationRef exifInformationWithMetadataDict(
        const std::optional<Dictionary>& properties);
    [[nodiscard]] static ExifInformationRef exifInformationFromNSData(const Data& data);
    /// Of an image file, with a thumbnail. Never null: a file that cannot be read yields a record without metadata.
    [[nodiscard]] static ExifInformationRef exifinformationFromNSURL(const NSURL& url);
    /// Without a location, and with the path itself for a URL.
    [[nodiscard]] static ExifInformationRef exifInformationForImageFileAtPath(const std::string& path);
    /// Of a decoded picture, which becomes the thumbnail.
    [[nodiscard]] static ExifInformationRef exifInformationFromImage(const UIImageRef& image);
    /// Of a movie file, with its first picture; waits for that.
    [[nodiscard]] static ExifInformationRef exifInformationFromVideoURL(const NSURL& url);

    /// The same, without a picture, for what is open already.
    [[nodiscard]] static ExifInformationRef exifInformationFromSource(const CGImageSourceRef& source, const NSURL& url);
    [[nodiscard]] static ExifInformationRef exifInformationFromAsset(const AVAsset& asset, const NSURL& url);

    using RecordBlock = std::function<void(const ExifInformationRef&)>;
    using RecordsBlock = std::function<void(const std::vector<ExifInformationRef>&)>;
    using BatchProgressHandler = BatchProgress::Handler;

    /// Of an item of the photo library, waiting for it without a limit: not for the main thread. Never null. What is
    /// in the cloud is fetched where the settings or `forceDownload` allow it; the progress handler, which may be null,
    /// hears of that on other threads, and of a photo's end on this one.
    [[nodiscard]] static ExifInformationRef exifInformationFromPHAssett(
        const PHAssetRef& asset, const PHProgressHandler& withProgressHandler = nullptr) {
        return exifInformationFromPHAssett(asset, false, withProgressHandler);
    }
    [[nodiscard]] static ExifInformationRef exifInformationFromPHAssett(const PHAssetRef& asset, bool forceDownload,
                                                                        const PHProgressHandler& withProgressHandler);
    /// The same as far as the bytes tell that are at hand, without waiting; the completion comes on the main queue.
    static void exifInformationFromPHAssett(const PHAssetRef& asset, RecordBlock withCompletionBlock);
    /// A fuller record of the same asset, from its full-size file; the same record where that is not to be had. The
    /// completion comes on completeEXIFFetchingQueue, or at once for what is in the cloud and has to stay there.
    static void fetchCompleteExifInformationsFor(const ExifInformationRef& record, RecordBlock withCompletionBlock) {
        fetchCompleteExifInformationsFor(record, false, std::move(withCompletionBlock));
    }
    static void fetchCompleteExifInformationsFor(const ExifInformationRef& record, bool forceDownload,
                                                 RecordBlock withCompletionBlock);
    /// The library's asset behind a file of the device's own photo folders, by its name or else its date; null for
    /// none, and for any file elsewhere.
    [[nodiscard]] static PHAssetRef assetInPhotosAppForFileWithURL(const NSURL& url,
                                                                   const std::optional<NSDate>& withCreationDate);

    /// The records of a range, in its order, before it returns: not for the main thread.
    static void exifDataArrayInPHFetchResults(const PHFetchResult<PHAsset>& fetched, NSRange inRange,
                                              const RecordsBlock& completionBlock) {
        exifDataArrayInPHFetchResults(fetched, inRange, nullptr, completionBlock);
    }
    static void exifDataArrayInPHFetchResults(const PHFetchResult<PHAsset>& fetched, NSRange inRange,
                                              const BatchProgressHandler& withProgressHandler,
                                              const RecordsBlock& completionBlock);
    /// The records of the first 1000 assets that the predicate lets through, "" for all, by their dates: the newest
    /// first when `ascending`, the oldest first otherwise, whatever `sortBy` says. The predicate names fields of the
    /// record or display keys. The completion comes on the main queue.
    static void allExifDataArrayInPHFetchResult(const PHFetchResult<PHAsset>& fetched, const std::string& predicates,
                                                const std::string& sortBy, bool ascending,
                                                const RecordsBlock& completionBlock);

    /// The same file without its Exif, TIFF, IPTC and GPS dictionaries, wherever it repeats them; pixels, orientation,
    /// profile and every other dictionary stay. Null for what is no image; empty for a format that cannot be written.
    [[nodiscard]] static Data imageDataByRemovingExifAndGeoTagging(const Data& data);
    /// The file's first image, written anew with its own properties. Null and empty as above.
    [[nodiscard]] static Data imageDataWithEXIFEdited(const Data& data);
    /// The picture as JPEG with the caller's metadata and without any place; pixels are encoded anew, twice, upright.
    /// GPS is set to nothing in the caller's dictionary. Null for no picture.
    [[nodiscard]] static UIImageRef imageByRemovingGeoTagging(const UIImageRef& image, Dictionary& withMetaData);
    /// The file as an upright JPEG with that metadata, orientation 1. Null for what does not decode.
    [[nodiscard]] static Data imageData(const Data& data, const Dictionary& withMetadata);
    /// The file as an upright JPEG without metadata. Null for what does not decode.
    [[nodiscard]] static Data imageDataByFixingOrientationIssue(const Data& data);
    /// The metadata with both orientations set.
    [[nodiscard]] static Dictionary fixOrientationInMetadata(const Dictionary& metadata, std::int64_t withOrientation);

    /// The records that the user's filters let through, in order: by location, and those without Exif.
    [[nodiscard]] static std::vector<ExifInformationRef> exifDataItemsArrayAndFilterFromExifArray(
        std::span<const ExifInformationRef> records);

private:
    using SharedRecords = std::shared_ptr<std::vector<ExifInformationRef>>;

    ExifManager();
    /// Adds chunk after chunk to the array until it has as many records as the range.
    static void _exifDataArrayInPHFetchResults(const PHFetchResult<PHAsset>& fetched,
                                               const SharedRecords& withExifDataArray, NSRange inRange,
                                               const RecordsBlock& completionBlock);
    /// The records of one chunk, in the order in which they arrive, on the main queue.
    static void _exifDataArrayChunkInPHFetchResults(const PHFetchResult<PHAsset>& fetched, NSRange inRange,
                                                    RecordsBlock completionBlock);
    NSDateFormatter dateFormatter_;
};

}  // namespace tessaly
