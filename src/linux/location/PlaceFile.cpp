#include "linux/location/PlaceFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"

namespace tessaly::location {
namespace {

constexpr off_t kLargestFile = off_t{1} << 30;

Bytes mapped(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return {};
    struct stat status {};
    void* memory = MAP_FAILED;
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 && status.st_size <= kLargestFile)
        memory = ::mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, file, 0);
    ::close(file);
    if (memory == MAP_FAILED) return {};
    return {static_cast<const std::byte*>(memory), static_cast<std::size_t>(status.st_size)};
}

}  // namespace

std::optional<PlaceFile> PlaceFile::open(const std::string& path) {
    PlaceFile file(mapped(path));
    file.index_ = PlaceIndex::open(file.bytes_);
    if (file.index_) return file;
    log("%@: no place names here", path);
    return std::nullopt;
}

const PlaceIndex* PlaceFile::installed() {
    static const auto file = open(NSBundle::mainBundle().folder() + "/places/places.bin");
    return file ? &file->index() : nullptr;
}

PlaceFile::PlaceFile(PlaceFile&& other) noexcept
    : bytes_(std::exchange(other.bytes_, {})), index_(std::exchange(other.index_, std::nullopt)) {}

PlaceFile& PlaceFile::operator=(PlaceFile&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(index_, other.index_);
    return *this;
}

PlaceFile::~PlaceFile() {
    if (!bytes_.empty()) ::munmap(const_cast<std::byte*>(bytes_.data()), bytes_.size());
}

}  // namespace tessaly::location
