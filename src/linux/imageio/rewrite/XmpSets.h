#pragma once
#include <vector>

#include "linux/imageio/rewrite/IptcChange.h"
#include "linux/imageio/rewrite/XmpChange.h"
#include "platform/Foundation/Value.h"

namespace tessaly::imageio {

/// The XMP properties that say the same as {TIFF}, {Exif}, {ExifAux}, {GPS} and {IPTC} of `values` (XMP part 2; CIPA
/// DC-010).
[[nodiscard]] std::vector<XmpProperty> xmpProperties(const Dictionary& values);

/// The data sets that say the same as {IPTC} of `values`.
[[nodiscard]] std::vector<IptcDataSet> iptcDataSets(const Dictionary& values);

/// The names in {IPTC} that one of the two can hold.
[[nodiscard]] std::vector<std::string_view> iptcNames();

}  // namespace tessaly::imageio
