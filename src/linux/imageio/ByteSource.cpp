#include "linux/imageio/ByteSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace tessaly::imageio {

ByteSource::ByteSource(Bytes bytes) noexcept : size_(bytes.size()), window_(bytes) {}

namespace {

FileFault faultOf(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return FileFault::notFound;
        case EISDIR:
            return FileFault::isFolder;
        case ENXIO:
        case ENODEV:
            return FileFault::notRegularFile;
        case EACCES:
        case EPERM:
            return FileFault::noPermission;
        default:
            return FileFault::readError;
    }
}

/// As much as there is, up to the size of `target`.
std::size_t readAt(int file, std::uint64_t offset, std::span<std::byte> target) {
    std::size_t done = 0;
    while (done < target.size()) {
        const auto got = ::pread(file, target.data() + done, target.size() - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

}  // namespace

std::optional<ByteSource> ByteSource::openFile(const std::string& path, FileFault& fault) {
    // Non-blocking, so that a pipe without a writer is refused below instead of being waited for.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) {
        fault = faultOf(errno);
        return std::nullopt;
    }
    ByteSource source;
    source.file_ = file;
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        fault = faultOf(errno);
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        fault = S_ISDIR(status.st_mode) ? FileFault::isFolder : FileFault::notRegularFile;
        return std::nullopt;
    }
    source.size_ = static_cast<std::uint64_t>(status.st_size);
    const auto head = static_cast<std::size_t>(std::min<std::uint64_t>(source.size_, kHeadSize));
    errno = 0;
    source.window_ = source.load(0, head);
    if (source.window_.empty() && errno != 0) {
        fault = faultOf(errno);
        return std::nullopt;
    }
    fault = FileFault::none;
    return source;
}

ByteSource::ByteSource(ByteSource&& other) noexcept
    : file_(std::exchange(other.file_, -1)),
      parent_(std::exchange(other.parent_, nullptr)),
      parentStart_(std::exchange(other.parentStart_, 0)),
      size_(std::exchange(other.size_, 0)),
      windowStart_(std::exchange(other.windowStart_, 0)),
      window_(std::exchange(other.window_, {})),
      blocks_(std::move(other.blocks_)),
      memory_(std::move(other.memory_)),
      kept_(std::exchange(other.kept_, 0)),
      blockSize_(std::exchange(other.blockSize_, kBlockSize)) {}

ByteSource& ByteSource::operator=(ByteSource&& other) noexcept {
    std::swap(file_, other.file_);
    std::swap(parent_, other.parent_);
    std::swap(parentStart_, other.parentStart_);
    std::swap(size_, other.size_);
    std::swap(windowStart_, other.windowStart_);
    std::swap(window_, other.window_);
    std::swap(blocks_, other.blocks_);
    std::swap(memory_, other.memory_);
    std::swap(kept_, other.kept_);
    std::swap(blockSize_, other.blockSize_);
    return *this;
}

ByteSource::~ByteSource() {
    if (file_ >= 0) ::close(file_);
}

std::optional<Bytes> ByteSource::bytesElsewhere(std::uint64_t offset, std::uint64_t length) {
    if (offset > size_ || length > size_ - offset) return std::nullopt;
    if (length == 0) return Bytes{};
    if (parent_) {
        const auto found = parent_->bytes(parentStart_ + offset, length);
        if (found) adoptParentWindow();
        return found;
    }
    if (const Block* block = keptBlock(offset, length)) {
        windowStart_ = block->start;
        window_ = block->bytes;
        return window_.subspan(static_cast<std::size_t>(offset - windowStart_), static_cast<std::size_t>(length));
    }
    if (file_ < 0 || length > kMemoryLimit) return std::nullopt;
    // Whoever reads on where the last block ended will go on doing so.
    const bool onwards = !blocks_.empty() && offset >= blocks_.back().start &&
                         offset - blocks_.back().start <= blocks_.back().bytes.size() + kBlockSize;
    blockSize_ = onwards ? std::min(blockSize_ * 2, kLargestBlock) : kBlockSize;
    const auto wanted = std::min<std::uint64_t>(std::max<std::uint64_t>(length, blockSize_), size_ - offset);
    const Bytes loaded = load(offset, static_cast<std::size_t>(wanted));
    if (loaded.size() < length) return std::nullopt;
    windowStart_ = offset;
    window_ = loaded;
    return loaded.first(static_cast<std::size_t>(length));
}

/// Looks through the head and the latest blocks only: reading an old block again costs less than a long search.
const ByteSource::Block* ByteSource::keptBlock(std::uint64_t offset, std::uint64_t length) const {
    const auto holds = [&](const Block& block) {
        return offset >= block.start && offset - block.start <= block.bytes.size() &&
               length <= block.bytes.size() - (offset - block.start);
    };
    if (!blocks_.empty() && holds(blocks_.front())) return &blocks_.front();
    const std::size_t first = blocks_.size() - std::min(blocks_.size(), kSearched);
    for (std::size_t i = blocks_.size(); i > first; --i)
        if (holds(blocks_[i - 1])) return &blocks_[i - 1];
    return nullptr;
}

ByteSource ByteSource::part(std::uint64_t offset, std::uint64_t length) {
    ByteSource child;
    child.parent_ = this;
    child.parentStart_ = std::min(offset, size_);
    child.size_ = std::min(length, size_ - child.parentStart_);
    child.adoptParentWindow();
    return child;
}

/// A part looks through its parent's present window, as far as that lies within the part.
void ByteSource::adoptParentWindow() {
    const std::uint64_t from = std::max(parent_->windowStart_, parentStart_);
    const std::uint64_t to = std::min(parent_->windowStart_ + parent_->window_.size(), parentStart_ + size_);
    window_ = {};
    windowStart_ = 0;
    if (from >= to) return;
    windowStart_ = from - parentStart_;
    window_ = parent_->window_.subspan(static_cast<std::size_t>(from - parent_->windowStart_),
                                       static_cast<std::size_t>(to - from));
}

Bytes ByteSource::bytesUpTo(std::uint64_t offset, std::uint64_t length) {
    if (offset >= size_) return {};
    return bytes(offset, std::min(length, size_ - offset)).value_or(Bytes{});
}

std::size_t ByteSource::copyTo(std::uint64_t offset, std::span<std::byte> target) {
    if (offset >= size_) return 0;
    target = target.first(static_cast<std::size_t>(std::min<std::uint64_t>(target.size(), size_ - offset)));
    if (parent_) return parent_->copyTo(parentStart_ + offset, target);
    if (file_ >= 0) return readAt(file_, offset, target);
    std::ranges::copy(window_.subspan(static_cast<std::size_t>(offset), target.size()), target.begin());
    return target.size();
}

/// Reads and keeps `length` bytes; fewer when the file has shrunk, none when the limit is reached.
Bytes ByteSource::load(std::uint64_t offset, std::size_t length) {
    if (length == 0 || length > kMemoryLimit - kept_) return {};
    auto memory = std::make_unique_for_overwrite<std::byte[]>(length);
    const std::size_t done = readAt(file_, offset, {memory.get(), length});
    const Bytes view(memory.get(), done);
    if (done == 0) return {};
    memory_.push_back(std::move(memory));
    blocks_.push_back({offset, view});
    kept_ += length;
    return view;
}

}  // namespace tessaly::imageio
