#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "metadata/ExifInformation.h"
#include "platform/Foundation/NSURL.h"
#include "platform/Foundation/Value.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly {

class AVAsset;
class NSDateFormatter;

/// The one place where metadata is acquired and made into records.
///
/// Reading never takes in a whole file and decodes no pixels: a record only says how its thumbnail is made. Nothing
/// here throws; a file that cannot be read yields a record without metadata (MediaFile says why it could not).
class ExifManager {
public:
    static const ExifManager& sharedInstance();

    /// Reads the dates of metadata: "yyyy:MM:dd HH:mm:ss".
    [[nodiscard]] const NSDateFormatter& dateFormatter() const;

    /// The properties of the source's first image, or, where it has none, its XMP properties; nullopt without either.
    static std::optional<Dictionary> metadataFromImageSource(const CGImageSourceRef& source);
    static std::optional<Dictionary> metadataFromImageURL(const std::optional<NSURL>& url);
    static std::optional<Dictionary> metadataFromImageData(const Data& data);

    /// A record of these properties, with its location. Null (no metadata) gives an empty record.
    static ExifInformationRef exifInformationWithMetadataDict(const Value& dictionary);
    static ExifInformationRef exifInformationFromNSData(const Data& data);
    static ExifInformationRef exifinformationFromNSURL(const NSURL& url);
    /// The same of a source that is open already.
    static ExifInformationRef exifInformationFromImageSource(const CGImageSourceRef& source, const NSURL& url);
    /// Without a location; its URL is made from the path as a plain URL text.
    static ExifInformationRef exifInformationForImageFileAtPath(const std::string& path);
    static ExifInformationRef exifInformationFromVideoURL(const NSURL& url);
    /// The same of a movie that is open already.
    static ExifInformationRef exifInformationFromVideoAsset(const AVAsset& asset, const NSURL& url);

    /// The records that the user's filters let through, in the same order.
    static std::vector<ExifInformationRef> exifDataItemsArrayAndFilterFromExifArray(
        const std::vector<ExifInformationRef>& records);

private:
    ExifManager() = default;
};

}  // namespace tessaly
