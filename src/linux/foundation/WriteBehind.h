#pragma once
#include <array>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

namespace tessaly {

/// Writes on a thread of its own, so that the next bytes can be read and looked at meanwhile. Used by one thread.
class WriteBehind {
public:
    using Write = std::function<bool(std::span<const std::byte>)>;
    static constexpr std::size_t kBufferSize = 256 * 1024;

    explicit WriteBehind(Write write);
    WriteBehind(const WriteBehind&) = delete;
    WriteBehind& operator=(const WriteBehind&) = delete;
    ~WriteBehind();

    /// A buffer to fill, valid until the next submit(); waits for one to become free.
    [[nodiscard]] std::span<std::byte> buffer();
    /// Hands over a part of that buffer to be written. @return false once a write has failed.
    bool submit(std::span<const std::byte> filled);
    /// Waits until everything is written. @return whether all of it was.
    [[nodiscard]] bool finish();

private:
    static constexpr std::size_t kBuffers = 4;
    void run();

    Write write_;
    std::array<std::vector<std::byte>, kBuffers> buffers_;
    std::array<std::span<const std::byte>, kBuffers> filled_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t submitted_ = 0;  // Numbers of buffers so far; the difference is what waits.
    std::size_t written_ = 0;
    bool isEnding_ = false;
    bool failed_ = false;
    int error_ = 0;  // errno of the failure, for the thread that asks.
    std::thread thread_;
};

}  // namespace tessaly
