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
    /// Values as the file has them, for programs: plain numbers, ISO dates, nothing for what is not there.
    bool isRaw = false;

    /// The user's visible keys, in the user's order; with `hiddenToo` all of them.
    [[nodiscard]] static KeySelection usersOwn(bool hiddenToo);
    [[nodiscard]] static KeySelection named(const std::vector<std::string>& keys);
    [[nodiscard]] const std::vector<std::string>& of(const ExifInformation& record) const;
};

[[nodiscard]] bool isVideo(const ExifInformation& record);
[[nodiscard]] bool hasValidLocation(const ExifInformation& record);
/// Whether a formatter, a raw accessor or a property of some file answers to the name.
[[nodiscard]] bool isKeyName(const std::string& name);

/// The rows of a record: one a key, "Not available" where a key has no item. Of the user's own those that would tell
/// nothing are left out where the user wants it so.
[[nodiscard]] std::vector<Item> itemsOf(ExifInformation& record, const KeySelection& selection);

}  // namespace tessaly::cli
