#include "settings/OrderedKeyList.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace tessaly {

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

ExifKeys mergedKeys(OrderedKeyList::Stored stored, const ExifKeys& defaults) {
    if (stored.isList && stored.keys.size() < defaults.size())
        std::ranges::move(missingKeys(stored.keys, defaults), std::back_inserter(stored.keys));
    return std::move(stored.keys);
}

}  // namespace tessaly
