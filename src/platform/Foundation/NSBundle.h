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
/// Tables are read on first use. A key that no table has is answered by itself, so English needs no file.
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
    /// Language codes that exist here, the user's most preferred first; "en" at the end.
    [[nodiscard]] const std::string& preferredLocalization() const;
    /// Answers in this language from now on; "" follows the user's preferences again.
    void setLanguage(std::string_view code);
    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }

private:
    struct Tables;
    std::string folder_;
    std::unique_ptr<Tables> tables_;
};

/// The main bundle's text for an English key, from its default table.
[[nodiscard]] std::string localized(std::string_view key);

}  // namespace tessaly
