#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly {

class PersistanceManager;

inline constexpr std::string_view ExifDataListNeedRefresh = "ExifDataListNeedRefresh";
inline constexpr std::string_view PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent =
    "PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent";
inline constexpr std::string_view PersistanceManagerDateFormatOrPreferenceChangedEvent =
    "PersistanceManagerDateFormatOrPreferenceChangedEvent";

enum class SettingType : std::uint8_t { boolean, integer, unsignedInteger, integer64, string };

/// One preference: how it is named and stored, and what holds when it is absent.
struct Setting {
    std::string_view name;  ///< Of its getter, and the key it is stored under.
    SettingType type = SettingType::boolean;
    std::int64_t defaultNumber = 0;
    std::string_view defaultText{};   ///< Of a string; English, and localised where `read` says so.
    std::string_view notification{};  ///< Posted by its setter; empty for none.
    /// Where the getter does more than read the stored value or the default; `stored` is null when absent.
    Value (*read)(PersistanceManager& store, const Setting& setting, const Value& stored) = nullptr;

    [[nodiscard]] Value defaultValue() const;
};

/// Every stored preference, in the order in which they are listed.
[[nodiscard]] std::span<const Setting> allSettings() noexcept;
/// The one of this name, or null.
[[nodiscard]] const Setting* settingNamed(std::string_view name) noexcept;
/// What `text` means for the setting: "true", "yes", "on", "1" and their opposites, a number in range, or any string.
/// The null value when it means nothing.
[[nodiscard]] Value settingValueFromText(const Setting& setting, std::string_view text);
/// "true", "2", or the string itself.
[[nodiscard]] std::string settingText(const Setting& setting, const Value& value);
/// "yes or no", "number", "text": for messages.
[[nodiscard]] std::string_view describe(SettingType type) noexcept;

}  // namespace tessaly
