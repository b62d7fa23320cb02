#include "linux/foundation/WriteBehind.h"

#include <cerrno>
#include <utility>

namespace tessaly {

WriteBehind::WriteBehind(Write write) : write_(std::move(write)) {
    for (std::vector<std::byte>& buffer : buffers_) buffer.resize(kBufferSize);
    thread_ = std::thread([this] { run(); });
}

WriteBehind::~WriteBehind() { static_cast<void>(finish()); }

std::span<std::byte> WriteBehind::buffer() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return submitted_ - written_ < kBuffers; });
    return buffers_[submitted_ % kBuffers];
}

bool WriteBehind::submit(std::span<const std::byte> filled) {
    const std::scoped_lock lock(mutex_);
    filled_[submitted_ % kBuffers] = filled;
    ++submitted_;
    changed_.notify_all();
    return !failed_;
}

bool WriteBehind::finish() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
    if (failed_) errno = error_;
    return !failed_;
}

void WriteBehind::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return submitted_ > written_ || isEnding_; });
        if (submitted_ == written_) return;
        const std::span<const std::byte> bytes = filled_[written_ % kBuffers];
        lock.unlock();
        const bool succeeded = failed_ || write_(bytes);
        const int error = errno;
        lock.lock();
        if (!succeeded) {
            failed_ = true;
            error_ = error;
        }
        ++written_;
        changed_.notify_all();
    }
}

}  // namespace tessaly
