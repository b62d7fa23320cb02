#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace tessaly::desktop {

/// Where the desktop keeps its files, by the XDG Base Directory Specification 0.8. Paths that are not absolute are
/// left out, as it asks.
struct SearchPath {
    std::vector<std::string> config;    ///< The user's own first.
    std::vector<std::string> data;      ///< The user's own first.
    std::vector<std::string> programs;  ///< $PATH.
    std::vector<std::string> desktops;  ///< $XDG_CURRENT_DESKTOP, in lower case.

    [[nodiscard]] static SearchPath fromEnvironment();
    /// The path of a program: `name` itself when it has a slash; "" when there is none that may be run.
    [[nodiscard]] std::string programNamed(const std::string& name) const;
};

/// Never empty: "/" for a user without a home.
[[nodiscard]] std::string homeFolder();
/// "PICTURES", "DOWNLOAD": the folder that the user has for it (xdg-user-dirs); "" where there is none.
[[nodiscard]] std::string userFolder(std::string_view name);

/// A file's whole text; "" when it cannot be read, or is larger than any such file is.
[[nodiscard]] std::string textOfFile(const std::string& path);
/// The parts between separators, without empty ones.
[[nodiscard]] std::vector<std::string> split(std::string_view text, char separator);
[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;

}  // namespace tessaly::desktop
