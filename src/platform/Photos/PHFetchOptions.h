#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Foundation/NSPredicate.h"

namespace tessaly {

struct NSSortDescriptor {
    std::string key;
    bool ascending = true;
};

/// What to fetch and in which order. Keys are the names of PHAsset's and PHAssetCollection's properties, and "title".
/// A predicate or an order with a key that neither has fetches nothing, with a line in the log.
struct PHFetchOptions {
    std::optional<NSPredicate> predicate;
    std::vector<NSSortDescriptor> sortDescriptors;
    std::uint64_t includeAssetSourceTypes = 0;  ///< Bits; 0 for all.
    std::size_t fetchLimit = 0;                 ///< 0 for no limit.
    bool includesGoneAssets = false;            ///< Those, too, whose files are gone and that are still remembered.
};

}  // namespace tessaly
