#pragma once
#include <optional>
#include <string_view>

#include "metadata/ExifKey.h"
#include "platform/Foundation/NSUserDefaults.h"

namespace tessaly {

/// One of the user's ordered key lists: all its keys, and the visible ones.
class OrderedKeyList {
public:
    explicit OrderedKeyList(std::string_view storedUnder) : storedUnder_(storedUnder) {}

    [[nodiscard]] const ExifKeys& keys() const noexcept { return keys_; }
    /// The keys that are not hidden, in the same order. Kept until the list is set.
    [[nodiscard]] const ExifKeys& visibleKeys() const;

    /// Keeps the list and stores its archive in the suite, at once unless the caller will synchronise.
    void set(ExifKeys keys, NSUserDefaults& suite, bool synchronise = true);

    struct Stored {
        ExifKeys keys;
        bool isList = true;  ///< False for what cannot be unarchived: there is no list to add anything to.
    };
    /// What is stored in `defaults`; nullopt for nothing.
    [[nodiscard]] std::optional<Stored> stored(const NSUserDefaults& defaults) const;
    [[nodiscard]] std::string_view storedUnder() const noexcept { return storedUnder_; }

private:
    std::string_view storedUnder_;
    ExifKeys keys_;
    mutable ExifKeys visible_;
};

/// The default keys that a stored list lacks, in default order.
///
/// A key counts as present when its name occurs anywhere in the stored names joined by commas, so a name that is part
/// of a stored one ("Model" in "LensModel") counts as present too. Lists in the field depend on that.
[[nodiscard]] ExifKeys missingKeys(const ExifKeys& stored, const ExifKeys& defaults);

/// The stored list, with what it lacks behind it where it is shorter than the default.
[[nodiscard]] ExifKeys mergedKeys(OrderedKeyList::Stored stored, const ExifKeys& defaults);

/// A list as it can be changed: behind it, and hidden, the keys that no list has at first.
[[nodiscard]] ExifKeys withKeysHiddenAtFirst(ExifKeys keys);
/// What of such a list is to be stored: without those of these keys that are hidden still.
[[nodiscard]] ExifKeys withoutKeysHiddenAtFirst(ExifKeys keys);

/// Keys of the given names, none hidden.
template <class Names>
[[nodiscard]] ExifKeys keysNamed(const Names& names) {
    ExifKeys keys;
    keys.reserve(std::size(names));
    for (const std::string_view name : names) keys.push_back(ExifKey::exifWithKey(name));
    return keys;
}

}  // namespace tessaly
