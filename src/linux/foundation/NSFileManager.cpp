#include "platform/Foundation/NSFileManager.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "linux/foundation/AtomicFile.h"

namespace tessaly {

namespace fs = std::filesystem;

std::string NSFileManager::temporaryDirectory() {
    const char* folder = std::getenv("TMPDIR");
    std::string path = folder && *folder == '/' ? folder : "/tmp";
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

bool NSFileManager::fileExistsAtPath(const std::string& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

bool NSFileManager::isWritableFileAtPath(const std::string& path) { return ::access(path.c_str(), W_OK) == 0; }

bool NSFileManager::isDeletableFileAtPath(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    return fileExistsAtPath(path) && ::access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0;
}

std::string NSFileManager::createDirectoryAtPath(const std::string& path) {
    std::error_code error;
    if (fs::create_directories(path, error)) fs::permissions(path, fs::perms::owner_all, error);
    return error ? error.message() : std::string();
}

Data NSFileManager::contentsAtPath(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return nullptr;
    auto bytes = std::make_shared<std::vector<std::byte>>();
    std::array<char, 65536> buffer{};
    while (file.read(buffer.data(), buffer.size()) || file.gcount() > 0) {
        const auto part = std::as_bytes(std::span(buffer).first(static_cast<std::size_t>(file.gcount())));
        bytes->insert(bytes->end(), part.begin(), part.end());
    }
    return file.bad() ? nullptr : bytes;
}

std::string NSFileManager::userName() { return std::to_string(::getuid()); }

bool NSFileManager::removeItemAtPath(const std::string& path) { return ::unlink(path.c_str()) == 0; }

std::string writeDataAtomically(const Data& data, const std::string& path, bool replaces) {
    auto file = AtomicFile::create(path);
    const bool done = file && (!data || file->write(*data)) &&
                      file->commit(replaces ? AtomicFile::Existing::replaced : AtomicFile::Existing::kept);
    return done ? std::string() : std::strerror(errno);
}

}  // namespace tessaly
