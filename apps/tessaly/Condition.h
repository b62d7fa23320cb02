#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Foundation/NSPredicate.h"

/// Conditions as people write them on the command line: 'duration > 10 AND dateTaken >= 2024-05'.
namespace tessaly::cli {

/// What a name stands for. Of a place can only be asked whether it is known; a property is whatever the file has.
enum class ConditionKind : std::uint8_t { number, text, date, truth, place, property };

struct ConditionName {
    std::string_view name;
    ConditionKind kind;
};

/// Parses `text` for objects that have these names. A date is a year, month, day or moment in the default time zone
/// (2024, 2024-05, 2024-05-01, 2024-05-01T12:30:05), and stands for all of it: a photo of that day is equal to the day,
/// and neither before nor after it. Throws CLI::ValidationError naming `option` and what is wrong: a name that there is
/// not, a value or an operator of another kind, no date.
[[nodiscard]] NSPredicate parsedCondition(std::string_view option, std::string_view text,
                                          std::span<const ConditionName> names);

/// From the beginning of a date to its end.
struct Period {
    NSDate begin;
    NSDate end;
    /// nullopt for what is no date.
    [[nodiscard]] static std::optional<Period> of(std::string_view text);
};

}  // namespace tessaly::cli
