#pragma once
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tessaly {

/// Pairs of a .strings file: "key" = "value"; with C-like comments and escapes. Nullopt where it is not well formed.
[[nodiscard]] std::optional<std::map<std::string, std::string, std::less<>>> parseStringsFile(std::string_view text);

/// A folder of resources with string tables by language: <folder>/<code>.lproj/<table>.strings.
/// Tables are read on first use. A key that no table has is answered by itself: it is the English text. May be used by
/// several threads.
class NSBundle {
public:
    explicit NSBundle(std::string folder);
    NSBundle(const NSBundle&) = delete;
    NSBundle& operator=(const NSBundle&) = delete;
    ~NSBundle();

    /// The program's: $TESSALY_RESOURCES, else resources beside or above the program, else the installed ones.
    [[nodiscard]] static NSBundle& mainBundle();
    /// resources/DateTools.bundle.
    [[nodiscard]] static NSBundle& dateToolsBundle();

    /// The text for `key`: of the table, else `value`, else the key.
    [[nodiscard]] std::string localizedStringForKey(std::string_view key, std::string_view value,
                                                    std::string_view table) const;
    /// Code of the language that is answered in: the one that was set, else the user's most preferred of those that
    /// exist here, else "en".
    [[nodiscard]] std::string preferredLocalization() const;
    /// Answers in this language from now on. "", and a language that does not exist here, follows the user's
    /// preferences.
    void setLanguage(std::string_view code);
    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }

private:
    struct Tables;
    std::string folder_;
    std::unique_ptr<Tables> tables_;
};

/// The main bundle's text for an English key, from its default table.
[[nodiscard]] std::string localized(std::string_view key);
/// Marks a key that stands in a table and is looked up elsewhere; scripts/check-strings finds it by this mark.
[[nodiscard]] consteval std::string_view localizable(std::string_view key) noexcept { return key; }

}  // namespace tessaly
