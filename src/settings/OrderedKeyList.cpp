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

std::optional<ExifKeys> OrderedKeyList::stored(const NSUserDefaults& defaults) const {
    const Value archive = defaults.objectForKey(storedUnder_);
    if (archive.isNull()) return std::nullopt;
    return unarchiveObjectWithData<ExifKey>(archive.data()).value_or(ExifKeys{});
}

ExifKeys missingKeys(const ExifKeys& stored, const ExifKeys& defaults) {
    std::string joined;
    for (const ExifKey& key : stored) joined += key.key + ",";
    ExifKeys missing;
    std::ranges::copy_if(defaults, std::back_inserter(missing),
                         [&](const ExifKey& key) { return joined.find(key.key) == std::string::npos; });
    return missing;
}

}  // namespace tessaly
