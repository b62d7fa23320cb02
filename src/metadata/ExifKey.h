#pragma once
#include <string>
#include <utility>
#include <vector>

namespace tessaly {

/// One entry of the user's ordered key lists: a key name and whether the user has hidden it.
struct ExifKey {
    std::string key;
    bool isHidden = false;

    static ExifKey exifWithKey(std::string key) { return {std::move(key), false}; }
    friend bool operator==(const ExifKey&, const ExifKey&) = default;
};

using ExifKeyList = std::vector<ExifKey>;

}  // namespace tessaly
