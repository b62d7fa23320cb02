#include <memory>
#include <vector>

#include "FuzzReader.h"
#include "acquisition/ExifManager.h"

/// Any file, from its first byte to the texts that are shown: readers, record, every formatter.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessaly;
    const auto bytes = fuzz::bytesOf(data, size);
    const Data copy = std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
    ExifInformationRef record = ExifManager::exifInformationFromNSData(copy);
    if (record->metaDataDictionary.empty())
        record = ExifManager::exifInformationFromAsset(*AVAsset::assetWithData(copy), {});
    for (const std::string_view key : ExifInformation::keyNames())
        static_cast<void>(record->performCustomSelector(key));
    static_cast<void>(record->shortExifStringsForShare());
    return 0;
}
