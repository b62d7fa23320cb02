#include "linux/foundation/Module.h"

#include <dlfcn.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Foundation/Log.h"

namespace tessaly {
namespace {

/// In the program's own folder (where the decoder stands), beside that (as the build leaves them), where an installed
/// program's libraries are, and where this library was installed for programs of others.
std::vector<std::filesystem::path> moduleFolders() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    std::vector<std::filesystem::path> folders;
    if (!error)
        folders = {program, program / TESSALY_MODULES_FROM_PROGRAM, program / ".." / "modules",
                   program / ".." / ".." / "modules"};
    folders.emplace_back(TESSALY_MODULES_INSTALLED);
    return folders;
}

/// The paths at which there is such a file, the best one first.
std::vector<std::string> placesOf(const std::string& name) {
    std::vector<std::string> places;
    for (const auto& folder : moduleFolders()) {
        std::error_code ignored;
        if (std::filesystem::exists(folder / name, ignored)) places.push_back((folder / name).string());
    }
    return places;
}

void* load(const std::string& name) {
    std::string why = "not installed";
    for (const std::string& path : placesOf(name)) {
        if (void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return module;
        if (const char* message = ::dlerror()) why = message;
    }
    if (isLogging()) writeLogLine(name + ": " + why);
    return nullptr;
}

}  // namespace

const void* moduleSymbol(std::string_view module, const char* symbol) {
    static std::mutex mutex;
    static std::map<std::string, void*, std::less<>> loaded;
    const std::lock_guard lock(mutex);
    auto known = loaded.find(module);
    if (known == loaded.end()) known = loaded.emplace(module, load(std::string(module))).first;
    return known->second ? ::dlsym(known->second, symbol) : nullptr;
}

std::string moduleFile(const std::string& name) {
    const auto places = placesOf(name);
    return places.empty() ? std::string() : places.front();
}

}  // namespace tessaly
