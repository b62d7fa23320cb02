#include "linux/desktop/DesktopEntries.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "linux/desktop/KeyFile.h"

namespace tessaly::desktop {

namespace fs = std::filesystem;

namespace {

using std::string_literals::operator""s;
using TypeNames = std::vector<std::string>;

/// The program's own entry: it is no other program to open a picture with.
constexpr std::string_view kOwnEntry = "org.tessaly.Tessaly.desktop";

constexpr std::array kIconFolders{"scalable/apps", "64x64/apps",   "48x48/apps",   "128x128/apps",
                                  "96x96/apps",    "256x256/apps", "512x512/apps", "32x32/apps"};

/// A folder's entries by their types, read once for all questions.
class FolderTypes {
public:
    explicit FolderTypes(const std::string& folder) {
        if (cacheIsFresh(folder)) {
            const KeyFile cache(textOfFile(folder + "/mimeinfo.cache"));
            for (const auto& [type, ids] : cache.group("MIME Cache")) ids_[type] = split(ids, ';');
        } else {
            scan(folder);
        }
    }
    [[nodiscard]] std::vector<std::string> idsFor(const std::string& type) const {
        const auto found = ids_.find(type);
        return found == ids_.end() ? std::vector<std::string>() : found->second;
    }

private:
    /// Putting the cache into its place touches the folder, too, a moment after the cache was written.
    static bool cacheIsFresh(const std::string& folder) {
        constexpr std::chrono::seconds kMoment{5};
        std::error_code error;
        const auto cached = fs::last_write_time(folder + "/mimeinfo.cache", error);
        if (error) return false;
        const auto changed = fs::last_write_time(folder, error);
        return !error && cached + kMoment >= changed;
    }

    void scan(const fs::path& folder) {
        std::error_code error;
        std::vector<fs::path> paths;
        constexpr auto kSkips = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator file(folder, kSkips, error), end; !error && file != end;
             file.increment(error))
            if (file->path().extension() == ".desktop") paths.push_back(file->path());
        std::ranges::sort(paths);
        for (const fs::path& path : paths) {
            std::string id = path.lexically_relative(folder).string();
            std::ranges::replace(id, '/', '-');
            for (const std::string& type : KeyFile(textOfFile(path)).list("Desktop Entry", "MimeType"))
                ids_[type].push_back(id);
        }
    }

    std::map<std::string, std::vector<std::string>> ids_;
};

const FolderTypes& typesIn(const std::string& folder, std::map<std::string, FolderTypes>& known) {
    return known.try_emplace(folder, folder).first->second;
}

/// "kde-tool-view.desktop" is that file, kde/tool-view.desktop, kde/tool/view.desktop, ...
std::string entryFile(const std::string& folder, const std::string& id) {
    std::error_code ignored;
    if (std::string path = folder + '/' + id; fs::is_regular_file(path, ignored)) return path;
    for (std::size_t dash = id.find('-'); dash != std::string::npos; dash = id.find('-', dash + 1)) {
        const std::string inner = folder + '/' + id.substr(0, dash);
        if (!fs::is_directory(inner, ignored)) continue;
        if (std::string path = entryFile(inner, id.substr(dash + 1)); !path.empty()) return path;
    }
    return {};
}

bool opensAny(const Application& application, const TypeNames& names) {
    return std::ranges::find_first_of(application.mimeTypes, names) != application.mimeTypes.end();
}

/// Second words of the lines whose first is `first`, in a list of pairs.
std::vector<std::string> pairedWith(const std::string& text, const std::string& word, bool isFirst) {
    std::vector<std::string> partners;
    for (const std::string& line : split(text, '\n'))
        if (const auto pair = split(trimmed(line), ' '); pair.size() == 2 && pair[isFirst ? 0 : 1] == word)
            partners.push_back(pair[isFirst ? 1 : 0]);
    return partners;
}

std::vector<std::string> mimeFacts(const SearchPath& where, const char* list, const std::string& type, bool isFirst) {
    std::vector<std::string> facts;
    for (const std::string& folder : where.data)
        for (std::string& fact : pairedWith(textOfFile(folder + "/mime/" + list), type, isFirst))
            if (std::ranges::find(facts, fact) == facts.end()) facts.push_back(std::move(fact));
    return facts;
}

}  // namespace

/// The lists are walked from the most to the least important one. What one of them removes is removed in those after
/// it.
struct DesktopEntries::Associations {
    TypeNames names;
    std::vector<std::string> defaults, added;
    std::set<std::string> removed;

    void takeList(const std::string& path) {
        const std::string text = textOfFile(path);
        if (text.empty()) return;
        const KeyFile list(text);
        take(list, "Default Applications", defaults);
        take(list, "Added Associations", added);
        for (const std::string& name : names)
            for (std::string& id : list.list("Removed Associations", name)) removed.insert(std::move(id));
    }
    void takeListsIn(const std::string& folder, const std::vector<std::string>& desktops) {
        for (const std::string& name : desktops) takeList(folder + '/' + name + "-mimeapps.list");
        takeList(folder + "/mimeapps.list");
    }

private:
    void take(const KeyFile& list, std::string_view group, std::vector<std::string>& ids) const {
        for (const std::string& name : names)
            for (std::string& id : list.list(group, name))
                if (!removed.contains(id)) ids.push_back(std::move(id));
    }
};

const std::optional<Application>& DesktopEntries::entryNamed(const std::string& id) {
    const auto [entry, isNew] = entries_.try_emplace(id);
    // A name with a way out of the folder is none.
    if (!isNew || id.find('/') != std::string::npos || !id.ends_with(".desktop")) return entry->second;
    for (const std::string& folder : where_.data) {
        const std::string path = entryFile(folder + "/applications", id);
        if (path.empty()) continue;
        // The first one counts even if it only hides those behind it.
        entry->second = readDesktopEntry(path, id, where_);
        break;
    }
    return entry->second;
}

void DesktopEntries::addApplicationsOf(const std::string& mimeType, std::vector<Application>& found,
                                       std::set<std::string>& seen) {
    Associations lists;
    lists.names = mimeFacts(where_, "aliases", mimeType, false);
    lists.names.insert(lists.names.begin(), mimeType);
    std::vector<std::string> listed;
    std::map<std::string, FolderTypes> folders;
    for (const std::string& folder : where_.config) lists.takeListsIn(folder, where_.desktops);
    for (const std::string& data : where_.data) {
        const std::string folder = data + "/applications";
        lists.takeListsIn(folder, where_.desktops);
        for (const std::string& name : lists.names)
            for (std::string& id : typesIn(folder, folders).idsFor(name))
                if (!lists.removed.contains(id)) listed.push_back(std::move(id));
    }
    const auto add = [&](const std::vector<std::string>& ids, bool mustOpenIt) {
        for (const std::string& id : ids) {
            const auto& entry = entryNamed(id);
            if (!entry || id == kOwnEntry || (mustOpenIt && !opensAny(*entry, lists.names))) continue;
            if (seen.insert(id).second) found.push_back(*entry);
        }
    };
    add(lists.defaults, false);
    add(lists.added, false);
    add(listed, true);
    // What the user took away from the type does not come back through what the type is a kind of.
    seen.insert(lists.removed.begin(), lists.removed.end());
}

std::vector<std::string> DesktopEntries::parentsOf(const std::string& mimeType) const {
    return mimeFacts(where_, "subclasses", mimeType, true);
}

std::vector<Application> DesktopEntries::applicationsFor(std::string_view mimeType) {
    std::vector<Application> found;
    std::set<std::string> seen;
    std::vector<std::string> types{std::string(mimeType)};
    constexpr std::size_t kMostTypes = 16;
    for (std::size_t i = 0; i < types.size() && i < kMostTypes; ++i) {
        const std::string type = types[i];
        addApplicationsOf(type, found, seen);
        for (std::string& parent : parentsOf(type))
            if (std::ranges::find(types, parent) == types.end()) types.push_back(std::move(parent));
    }
    return found;
}

std::vector<Application> DesktopEntries::applicationsForAll(std::span<const std::string_view> mimeTypes) {
    std::vector<Application> common;
    std::set<std::string_view> asked;
    for (const std::string_view type : mimeTypes) {
        if (!asked.insert(type).second) continue;
        const auto found = applicationsFor(type);
        if (asked.size() == 1) common = found;
        std::erase_if(common, [&](const Application& one) { return std::ranges::find(found, one) == found.end(); });
    }
    return common;
}

std::string DesktopEntries::iconFile(const Application& application) const {
    std::error_code ignored;
    const std::string& icon = application.icon;
    if (icon.starts_with('/')) return fs::is_regular_file(icon, ignored) ? icon : std::string();
    if (icon.empty() || icon.find('/') != std::string::npos) return {};
    const auto withEnding = [&](const std::string& base) {
        for (const char* ending : {".svg", ".png"})
            if (fs::is_regular_file(base + ending, ignored)) return base + ending;
        return ""s;
    };
    for (const std::string& data : where_.data)
        for (const char* folder : kIconFolders)
            if (auto path = withEnding(data + "/icons/hicolor/" + folder + '/' + icon); !path.empty()) return path;
    for (const std::string& data : where_.data)
        if (auto path = withEnding(data + "/pixmaps/" + icon); !path.empty()) return path;
    return {};
}

}  // namespace tessaly::desktop
