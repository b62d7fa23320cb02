#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"
#include "platform/ImageIO/WritableProperties.h"

/// What people write for a value, taken whole or not at all.
namespace tessaly::cli {

[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;
[[nodiscard]] bool equalsWithoutCase(std::string_view a, std::string_view b) noexcept;

/// "5.6", "-1", "1/125", "-1/3"; nothing else than that.
[[nodiscard]] std::optional<double> numberOf(std::string_view text);

/// A date of Exif (Exif 2.32, 4.6.4, DateTime) with what stands in fields of its own beside it.
struct EditDate {
    std::string local;      ///< "2024:05:01 12:30:00"
    std::string subsecond;  ///< The digits behind the point, "" for none.
    std::string zone;       ///< "+02:00", "" for none.
};
/// "2024-05-01 12:30:00.25+02:00", where all behind the day may be left out; '-', ':', '/' or '.' within the day.
[[nodiscard]] std::optional<EditDate> dateOf(std::string_view text);
/// "+02:00", "+0200", "+02" or "Z".
[[nodiscard]] std::optional<std::string> zoneOf(std::string_view text);

struct EditDegrees {
    double value = 0;       ///< Never negative.
    char reference = '\0';  ///< Of "NS" or "EW"; '\0' where neither sign nor letter tells.
};
/// "53.14", "-8.21", "8.21 W", "53°8'24\" N". `letters`: those of the positive and of the negative half.
[[nodiscard]] std::optional<EditDegrees> degreesOf(std::string_view text, std::string_view letters);

/// The value that the property takes; nullopt where the text does not say one.
[[nodiscard]] std::optional<Value> valueOf(const WritableProperty& property, std::string_view text);
/// What the property takes, in words with an example: "a number such as 5.6".
[[nodiscard]] std::string formOf(const WritableProperty& property);

}  // namespace tessaly::cli
