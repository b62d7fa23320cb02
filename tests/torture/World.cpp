#include "World.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/TemporaryFolder.h"

namespace tessaly::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFolders[] = {"A", "A/sub", "B"};
/// Where files may be that count as being somewhere. "away" holds what is unmounted.
constexpr const char* kPlaces[] = {"A", "B", "away", "data/Trash/files", "library/originals"};

std::string awayName(std::string folder) {
    std::ranges::replace(folder, '/', '-');
    return "away/" + folder;
}

void setSecond(const std::string& path, std::int64_t second) {
    const timespec times[2] = {{second, 0}, {second, 0}};
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) throw std::runtime_error("no times: " + path);
}

}  // namespace

World::World(std::string root) : root_(std::move(root)) {}

void World::reset() {
    for (const char* name : {"A", "B", "away", "data", "library"}) fs::remove_all(path(name));
    for (const char* name : {"A/sub", "B", "away", "data"}) fs::create_directories(path(name));
    unmounted_.clear();
}

std::string World::nameOf(const std::string& path) const {
    return path.starts_with(root_ + "/") ? path.substr(root_.size() + 1) : path;
}

std::vector<std::string> World::folders() const {
    std::vector<std::string> folders;
    for (const std::string folder : kFolders)
        if (std::ranges::none_of(
                unmounted_, [&](const std::string& gone) { return gone == folder || folder.starts_with(gone + "/"); }))
            folders.push_back(folder);
    return folders;
}

void World::unmount(const std::string& folder, bool leavesEmpty) {
    fs::rename(path(folder), path(awayName(folder)));
    if (leavesEmpty) fs::create_directory(path(folder));
    unmounted_.push_back(folder);
}

void World::mount(const std::string& folder) {
    fs::remove_all(path(folder));
    fs::rename(path(awayName(folder)), path(folder));
    std::erase(unmounted_, folder);
}

std::string World::read(const std::string& name) const { return contentOf(path(name)); }

void World::write(const std::string& name, const std::string& content, std::int64_t second) const {
    std::ofstream(path(name), std::ios::binary) << content;
    setSecond(path(name), second);
}

void World::replace(const std::string& name, const std::string& content, std::int64_t second) const {
    const fs::path target(path(name));
    const std::string beside = (target.parent_path() / (".new-" + target.filename().string())).string();
    std::ofstream(beside, std::ios::binary) << content;
    setSecond(beside, second);
    fs::rename(beside, target);
}

void World::move(const std::string& from, const std::string& to) const { fs::rename(path(from), path(to)); }

void World::swap(const std::string& one, const std::string& other) const {
    if (::renameat2(AT_FDCWD, path(one).c_str(), AT_FDCWD, path(other).c_str(), RENAME_EXCHANGE) != 0)
        throw std::runtime_error("no swap: " + one);
}

void World::remove(const std::string& name) const { fs::remove(path(name)); }

std::int64_t World::secondOf(const std::string& name) const {
    struct stat status {};
    return ::stat(path(name).c_str(), &status) == 0 ? status.st_mtim.tv_sec : 0;
}

std::map<std::string, std::string> World::files() const {
    std::map<std::string, std::string> files;
    for (const char* place : kPlaces) {
        std::error_code error;
        for (fs::recursive_directory_iterator entry(path(place), error); !error && entry != fs::end(entry);
             entry.increment(error))
            if (entry->is_regular_file()) files.emplace(nameOf(entry->path()), contentOf(entry->path()));
    }
    return files;
}

std::vector<std::string> World::leftovers() const {
    std::vector<std::string> names;
    for (const char* place : {"A", "B", "away", "library/pending", "library/originals"}) {
        std::error_code error;
        for (fs::recursive_directory_iterator entry(path(place), error); !error && entry != fs::end(entry);
             entry.increment(error)) {
            const std::string name = entry->path().filename().string();
            if (entry->is_regular_file() && (name.starts_with('.') || std::string_view(place) == "library/pending"))
                names.push_back(nameOf(entry->path()));
        }
    }
    return names;
}

}  // namespace tessaly::test
