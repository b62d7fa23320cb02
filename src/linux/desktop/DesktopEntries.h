#pragma once
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "linux/desktop/SearchPath.h"

namespace tessaly::desktop {

/// A program that can be started with files: a desktop entry (Desktop Entry Specification 1.5).
struct Application {
    std::string id;    ///< "org.gnome.eog.desktop".
    std::string name;  ///< In the user's language.
    std::string icon;  ///< A file, or a name of the icon theme's; "" for none.
    std::string exec;  ///< The Exec value, unescaped as a string but not taken apart.
    std::string path;  ///< Of the entry.
    std::string workingFolder;
    std::vector<std::string> mimeTypes;
    friend bool operator==(const Application&, const Application&) = default;
};

/// Reads an entry; nullopt when it is none, is not an application, is Hidden, or its program is not installed.
/// NoDisplay entries count: that mark keeps an entry out of menus, and stands on many that exist for files alone.
/// Programs that want a terminal are left out, for there is no common way to give them one.
[[nodiscard]] std::optional<Application> readDesktopEntry(const std::string& path, std::string id,
                                                          const SearchPath& where);

/// The command lines that start the application with the files: one, or one a file where it takes only one at a time.
/// Every path stays within its own argument and nothing is given to a shell. Empty when Exec is malformed.
[[nodiscard]] std::vector<std::vector<std::string>> commandsFor(const Application& application,
                                                                std::span<const std::string> paths);

/// Which applications open what (MIME Applications Associations 1.0.1). Reads files when it is asked; any thread, one
/// at a time.
class DesktopEntries {
public:
    explicit DesktopEntries(SearchPath where = SearchPath::fromEnvironment()) : where_(std::move(where)) {}
    /// Those that open the type, the user's default first, then in the order of the associations, then those of the
    /// types that it is a kind of.
    [[nodiscard]] std::vector<Application> applicationsFor(std::string_view mimeType);
    /// Those that open every one of the types, in the order of the first.
    [[nodiscard]] std::vector<Application> applicationsForAll(std::span<const std::string_view> mimeTypes);
    /// A picture file for the application's icon, about 48 points large; "" without one.
    [[nodiscard]] std::string iconFile(const Application& application) const;

private:
    struct Associations;
    const std::optional<Application>& entryNamed(const std::string& id);
    void addApplicationsOf(const std::string& mimeType, std::vector<Application>& found, std::set<std::string>& seen);
    [[nodiscard]] std::vector<std::string> parentsOf(const std::string& mimeType) const;

    SearchPath where_;
    std::map<std::string, std::optional<Application>> entries_;
};

}  // namespace tessaly::desktop
