#pragma once
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "linux/imageio/rewrite/ByteWriter.h"

namespace tessaly::imageio {

/// A data set of record 2 (IIM 4.2, chapter 6) with its new values in UTF-8; without values it is only removed.
struct IptcDataSet {
    std::uint8_t number = 0;
    std::vector<std::string> values;
    bool onlyWhereThere = false;  ///< Only a block that has one gets the new.
};

struct IptcRules {
    /// Whether a data set goes. Empty: none.
    std::function<bool(std::uint8_t record, std::uint8_t number)> removes;
    std::vector<IptcDataSet> sets;
    /// Whether a block stays that says nothing any more but its version.
    bool keepsEmptyBlock = false;
};

/// The data sets with the rules applied; empty when none is left. What cannot be read is not taken over.
[[nodiscard]] ByteVector changedIptc(Bytes datasets, const IptcRules& rules);

/// Photoshop image resources ("8BIM") as they will be: each resource through `change`, which returns its new data, or
/// nullopt to remove it.
using ResourceChange = std::function<std::optional<ByteVector>(std::uint16_t identifier, Bytes data)>;
[[nodiscard]] ByteVector changedPhotoshopResources(Bytes resources, const ResourceChange& change);

/// Appends one resource without a name.
void appendPhotoshopResource(ByteVector& resources, std::uint16_t identifier, Bytes data);

}  // namespace tessaly::imageio
