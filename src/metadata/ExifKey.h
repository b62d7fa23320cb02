#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "platform/Foundation/NSKeyedArchiver.h"

namespace tessaly {

/// One entry of an ordered key list: a key name, and whether the user has hidden it.
struct ExifKey {
    std::string key;
    bool isHidden = false;

    ExifKey() = default;
    ExifKey(std::string_view name, bool hidden) : key(name), isHidden(hidden) {}
    /// Reads the entries that encodeWithCoder writes, without checking them.
    explicit ExifKey(const NSCoder& coder)
        : key(coder.decodeObjectForKey("exifKey").string()),
          isHidden(coder.decodeObjectForKey("isHidden").boolValue()) {}

    [[nodiscard]] static ExifKey exifWithKey(std::string_view name) { return {name, false}; }
    void encodeWithCoder(NSCoder& coder) const {
        coder.encodeObject(key, "exifKey");
        coder.encodeObject(isHidden, "isHidden");
    }
    friend bool operator==(const ExifKey&, const ExifKey&) = default;
};

using ExifKeys = std::vector<ExifKey>;

}  // namespace tessaly
