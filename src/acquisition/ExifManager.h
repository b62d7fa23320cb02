#pragma once
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "metadata/ExifInformation.h"
#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/ImageIO/CGImageSource.h"

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
    /// Of an image file. Never null: a file that cannot be read yields a record without metadata.
    [[nodiscard]] static ExifInformationRef exifinformationFromNSURL(const NSURL& url);
    /// Without a location, and with the path itself for a URL.
    [[nodiscard]] static ExifInformationRef exifInformationForImageFileAtPath(const std::string& path);
    /// Of a movie file.
    [[nodiscard]] static ExifInformationRef exifInformationFromVideoURL(const NSURL& url);

    /// The same for what is open already.
    [[nodiscard]] static ExifInformationRef exifInformationFromSource(const CGImageSourceRef& source, const NSURL& url);
    [[nodiscard]] static ExifInformationRef exifInformationFromAsset(const AVAsset& asset, const NSURL& url);

    /// The same file without its Exif, TIFF, IPTC and GPS dictionaries, wherever it repeats them; pixels, orientation,
    /// profile and every other dictionary stay. Null for what is no image; empty for a format that cannot be written.
    [[nodiscard]] static Data imageDataByRemovingExifAndGeoTagging(const Data& data);
    /// The file's first image, written anew with its own properties. Null and empty as above.
    [[nodiscard]] static Data imageDataWithEXIFEdited(const Data& data);
    /// The metadata with both orientations set.
    [[nodiscard]] static Dictionary fixOrientationInMetadata(const Dictionary& metadata, std::int64_t withOrientation);

    /// The records that the user's filters let through, in order: by location, and those without Exif.
    [[nodiscard]] static std::vector<ExifInformationRef> exifDataItemsArrayAndFilterFromExifArray(
        std::span<const ExifInformationRef> records);

private:
    ExifManager();
    NSDateFormatter dateFormatter_;
};

}  // namespace tessaly
