#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaly {

enum class NSLocaleLanguageDirection : std::uint8_t { unknown, leftToRight, rightToLeft };

class NSLocale {
public:
    /// ICU identifier of the user's locale ("de_DE"): from LC_ALL, LC_MESSAGES or LANG ("C" is en_US), unless set.
    [[nodiscard]] static const std::string& currentLocale();
    /// For tests; "" puts the environment's back. Not to be called while other threads format.
    static void setCurrentLocale(std::string_view identifier);
    /// The locale of fixed formats: Gregorian calendar, ASCII digits, English.
    [[nodiscard]] static std::string_view systemLocale() noexcept { return "en_US_POSIX"; }

    /// False where feet and miles are the custom.
    [[nodiscard]] static bool usesMetricSystem();
    /// Languages of the user by preference, as table codes: "de", "zh-Hans".
    [[nodiscard]] static std::vector<std::string> preferredLanguages();
    /// The language alone: "zh" of "zh-Hans" and of "zh_Hans_CN".
    [[nodiscard]] static std::string languageCodeFromLocaleIdentifier(std::string_view identifier);
    /// How its script runs.
    [[nodiscard]] static NSLocaleLanguageDirection characterDirectionForLanguage(std::string_view code);
};

}  // namespace tessaly
