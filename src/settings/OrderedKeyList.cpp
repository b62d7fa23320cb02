#include "settings/OrderedKeyList.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

namespace tessaly {
namespace {

/// Rows that few people want.
constexpr std::array<std::string_view, 4> kHiddenAtFirst{"City", "Country", "Creator", "Credit"};

}  // namespace

const ExifKeys& OrderedKeyList::visibleKeys() const {
    if (visible_.empty())
        std::ranges::copy_if(keys_, std::back_inserter(visible_), [](const ExifKey& key) { return !key.isHidden; });
    return visible_;
}

void OrderedKeyList::set(ExifKeys keys, NSUserDefaults& suite, bool synchronise) {
    keys_ = std::move(keys);
    visible_.clear();
    suite.setObject(archivedDataWithRootObject(keys_), storedUnder_);
    if (synchronise) suite.synchronize();
}

std::optional<OrderedKeyList::Stored> OrderedKeyList::stored(const NSUserDefaults& defaults) const {
    const Value archive = defaults.objectForKey(storedUnder_);
    if (archive.isNull()) return std::nullopt;
    auto keys = unarchiveObjectWithData<ExifKey>(archive.data());
    return keys ? Stored{std::move(*keys)} : Stored{.keys = {}, .isList = false};
}

ExifKeys missingKeys(const ExifKeys& stored, const ExifKeys& defaults) {
    std::string joined;
    for (const ExifKey& key : stored) joined += key.key + ",";
    ExifKeys missing;
    std::ranges::copy_if(defaults, std::back_inserter(missing),
                         [&](const ExifKey& key) { return joined.find(key.key) == std::string::npos; });
    return missing;
}

ExifKeys withKeysHiddenAtFirst(ExifKeys keys) {
    for (const std::string_view name : kHiddenAtFirst)
        if (std::ranges::find(keys, name, &ExifKey::key) == keys.end()) keys.emplace_back(name, true);
    return keys;
}

ExifKeys withoutKeysHiddenAtFirst(ExifKeys keys) {
    std::erase_if(keys, [](const ExifKey& key) {
        return key.isHidden && std::ranges::find(kHiddenAtFirst, key.key) != kHiddenAtFirst.end();
    });
    return keys;
}

ExifKeys mergedKeys(OrderedKeyList::Stored stored, const ExifKeys& defaults) {
    if (stored.isList && stored.keys.size() < defaults.size())
        std::ranges::move(missingKeys(stored.keys, defaults), std::back_inserter(stored.keys));
    return std::move(stored.keys);
}

}  // namespace tessaly
