#pragma once
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessaly {

/// Posted on the default centre, on the main thread, after the interface has another language: whoever shows texts asks
/// for them again.
inline constexpr std::string_view LanguageManagerDidChangeLanguageNotification = "LanguageManagerDidChangeLanguage";

/// A language of the interface: its code, which also names its resources, and the key of its name.
struct InterfaceLanguage {
    std::string_view code;
    std::string_view nameKey;
};

/// The language that the user chose for the interface, by its code in this program's own defaults. Main thread.
class LanguageManager {
public:
    /// The languages there are, in the order of the indexes.
    [[nodiscard]] static std::span<const InterfaceLanguage> languages() noexcept;

    /// To be called at start-up. The first time it notes the device's language, for later starts: this one follows the
    /// device in any case. After that it switches the interface to the noted language.
    static void setupCurrentLanguage();
    /// Forgets the language; the next start notes the device's again.
    static void removeCurrentLanguage();
    /// Names of the languages, in the language of the interface.
    [[nodiscard]] static std::vector<std::string> languageStrings();
    /// Name of the chosen language; "" where there is none, or none of that code.
    [[nodiscard]] static std::string currentLanguageString();
    /// As it was stored, whether such a language exists or not; "" where there is none.
    [[nodiscard]] static std::string currentLanguageCode();
    /// 0 for a code that is not in the table.
    [[nodiscard]] static std::size_t currentLanguageIndex();
    /// Stores the language and switches to it. An index past the table is ignored.
    static void saveLanguageByIndex(std::size_t index);
    [[nodiscard]] static bool isCurrentLanguageRTL();
};

}  // namespace tessaly
