#include "FileWalk.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "Output.h"

namespace tessaly::cli {
namespace {

constexpr int kMaximumDepth = 128;

struct Name {
    std::string text;
    bool folder;
};

bool isFolder(const std::string& path, unsigned char type) {
    if (type != DT_UNKNOWN) return type == DT_DIR;
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// A regular file, or a link that leads to one; never a device or a pipe.
bool isFile(const std::string& path, unsigned char type) {
    if (type == DT_REG) return true;
    if (type != DT_UNKNOWN && type != DT_LNK) return false;
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

class TreeWalk {
public:
    TreeWalk(const std::function<bool(const std::string&)>& visit,
             const std::function<void(const std::string&, const std::string&)>& complain)
        : visit_(visit), complain_(complain) {}

    bool walk(const std::string& folder, int depth) {
        if (depth > kMaximumDepth) {
            complain_(folder, "folders are nested too deep");
            return true;
        }
        std::vector<Name> names;
        if (!list(folder, names)) return true;
        std::ranges::sort(names, {}, &Name::text);
        for (const Name& name : names) {
            const std::string path = folder + (folder.ends_with('/') ? "" : "/") + name.text;
            if (name.folder ? !walk(path, depth + 1) : !visit_(path)) return false;
        }
        return true;
    }

private:
    bool list(const std::string& folder, std::vector<Name>& names) {
        const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(folder.c_str()));
        if (!directory) {
            complain_(folder, std::strerror(errno));
            return false;
        }
        while (const dirent* entry = ::readdir(directory.get())) {
            const std::string name = entry->d_name;
            if (name == "." || name == "..") continue;
            const std::string path = folder + "/" + name;
            const bool inner = isFolder(path, entry->d_type);
            if (inner || isFile(path, entry->d_type)) names.push_back({name, inner});
        }
        return true;
    }

    const std::function<bool(const std::string&)>& visit_;
    const std::function<void(const std::string&, const std::string&)>& complain_;
};

}  // namespace

bool walkTree(const std::string& folder, const std::function<bool(const std::string&)>& visit,
              const std::function<void(const std::string&, const std::string&)>& complain) {
    return TreeWalk(visit, complain).walk(folder, 0);
}

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::vector<NamedFile> namedFilesBelow(const std::vector<std::string>& arguments, bool opensFolders, bool& failed) {
    std::vector<NamedFile> files;
    const auto complainAbout = [&failed](const std::string& path, const std::string& why) {
        complain(path, why);
        failed = true;
    };
    for (const std::string& path : arguments) {
        if (!opensFolders || !isFolder(path)) {
            files.push_back({path, path.substr(path.rfind('/') + 1), false});
            continue;
        }
        const std::size_t skipped = path.size() + (path.ends_with('/') ? 0 : 1);
        walkTree(
            path,
            [&](const std::string& file) {
                files.push_back({file, file.substr(skipped), true});
                return true;
            },
            complainAbout);
    }
    return files;
}

std::vector<std::string> namedFiles(const std::vector<std::string>& arguments, bool opensFolders, bool& failed) {
    std::vector<std::string> paths;
    for (NamedFile& file : namedFilesBelow(arguments, opensFolders, failed)) paths.push_back(std::move(file.path));
    return paths;
}

}  // namespace tessaly::cli
