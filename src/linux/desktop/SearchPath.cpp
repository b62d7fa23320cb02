#include "linux/desktop/SearchPath.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "linux/foundation/HomeFolder.h"

namespace tessaly::desktop {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestText = 8U << 20U;

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

void addFolders(std::vector<std::string>& folders, const std::string& list, const std::string& otherwise) {
    for (std::string& folder : split(list.empty() ? otherwise : list, ':'))
        if (folder.starts_with('/')) folders.push_back(std::move(folder));
}

std::vector<std::string> folders(const char* own, const std::string& ownOtherwise, const char* common,
                                 const std::string& commonOtherwise) {
    std::vector<std::string> folders;
    const std::string home = environment(own);
    folders.push_back(home.starts_with('/') ? home : ownOtherwise);
    addFolders(folders, environment(common), commonOtherwise);
    return folders;
}

bool mayRun(const std::string& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) == 0 && S_ISREG(facts.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

std::string lowered(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// The shell's form that xdg-user-dirs writes: XDG_PICTURES_DIR="$HOME/Pictures", with backslashes before specials.
std::string userFolderIn(std::string_view value, const std::string& home) {
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') return {};
    value = value.substr(1, value.size() - 2);
    std::string folder;
    if (value.starts_with("$HOME")) {
        folder = home;
        value.remove_prefix(5);
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size()) ++i;
        folder += value[i];
    }
    while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
    return folder.starts_with('/') ? folder : std::string();
}

}  // namespace

SearchPath SearchPath::fromEnvironment() {
    const std::string home = homeFolder();
    SearchPath path;
    path.config = folders("XDG_CONFIG_HOME", home + "/.config", "XDG_CONFIG_DIRS", "/etc/xdg");
    path.data = folders("XDG_DATA_HOME", home + "/.local/share", "XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    addFolders(path.programs, environment("PATH"), "/usr/local/bin:/usr/bin:/bin");
    path.desktops = split(lowered(environment("XDG_CURRENT_DESKTOP")), ':');
    return path;
}

std::string SearchPath::programNamed(const std::string& name) const {
    if (name.find('/') != std::string::npos) return name.starts_with('/') && mayRun(name) ? name : std::string();
    if (name.empty()) return {};
    for (const std::string& folder : programs) {
        std::string path = folder + '/' + name;
        if (mayRun(path)) return path;
    }
    return {};
}

std::string homeFolder() {
    const std::string home = tessaly::homeFolder();
    return home.empty() ? "/" : home;
}

std::string userFolder(std::string_view name) {
    const std::string home = homeFolder();
    const std::string list = textOfFile(SearchPath::fromEnvironment().config.front() + "/user-dirs.dirs");
    const std::string variable = "XDG_" + std::string(name) + "_DIR=";
    std::string folder;
    for (const std::string& line : split(list, '\n'))
        if (const std::string_view text = trimmed(line); text.starts_with(variable))
            folder = userFolderIn(text.substr(variable.size()), home);
    if (folder.empty()) folder = home + (name == "PICTURES" ? "/Pictures" : name == "DOWNLOAD" ? "/Downloads" : "");
    std::error_code ignored;
    // The home folder itself says that the user wants no such folder.
    return folder != home && fs::is_directory(folder, ignored) ? folder : std::string();
}

std::string textOfFile(const std::string& path) {
    std::error_code error;
    // A pipe, or a device, in place of a file could hold us for ever.
    if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > kLargestText || error) return {};
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        if (end > 0) parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

std::string_view trimmed(std::string_view text) noexcept {
    constexpr std::string_view kBlank = " \t\r";
    const std::size_t begin = text.find_first_not_of(kBlank);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlank) - begin + 1);
}

}  // namespace tessaly::desktop
