#pragma once
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "acquisition/MediaFile.h"

namespace tessaly::cli {

/// One row of a page.
struct Item {
    std::string key;
    std::string label;
    std::string value;
    std::string raw;
};

/// Which rows are wanted, for photos and for videos. Read-only once made: several threads may share one.
struct KeySelection {
    std::vector<std::string> photo;
    std::vector<std::string> video;
    /// The user's own lists leave the map out where no place is known; keys asked for by name always stand.
    bool isUsersOwn = true;

    /// The user's visible keys, in the user's order; with `hiddenToo` all of them.
    [[nodiscard]] static KeySelection usersOwn(bool hiddenToo);
    [[nodiscard]] static KeySelection named(const std::vector<std::string>& keys);
    [[nodiscard]] const std::vector<std::string>& of(const ExifInformation& record) const;
};

[[nodiscard]] bool isVideo(const ExifInformation& record);
[[nodiscard]] bool hasValidLocation(const ExifInformation& record);
/// Whether a formatter or a raw accessor answers to the name.
[[nodiscard]] bool isKeyName(const std::string& name);

/// The rows of a record: one a key, "Not available" where a key has no item.
[[nodiscard]] std::vector<Item> itemsOf(ExifInformation& record, const KeySelection& selection);

}  // namespace tessaly::cli
