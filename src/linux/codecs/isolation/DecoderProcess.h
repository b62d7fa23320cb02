#pragma once
#include <sys/types.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "linux/codecs/isolation/Channel.h"
#include "linux/codecs/isolation/Orders.h"

namespace tessaly::codecs {

/// One running `tessaly-decoder`: a family's libraries, loaded once, in a process that can open nothing and makes a
/// child of its own for every picture. It ends with this program, and by itself when nobody asks for long.
class DecoderProcess {
public:
    /// The one of a family, started when there is none that lives. From any thread. Null, with a line in the log, when
    /// it cannot be started.
    [[nodiscard]] static std::shared_ptr<DecoderProcess> running(std::string_view family);

    /// One more, which nobody else asks.
    [[nodiscard]] static std::shared_ptr<DecoderProcess> start(const std::string& family);

    DecoderProcess(std::string family, pid_t process, Descriptor orders) noexcept
        : family_(std::move(family)), process_(process), orders_(std::move(orders)) {}

    [[nodiscard]] pid_t process() const noexcept { return process_; }
    /// False when the process is gone.
    [[nodiscard]] bool order(const Order& order, std::span<const int> descriptors) const {
        return send(orders_.get(), order, descriptors);
    }
    /// What keeps it in, once it has begun; nothing when it does not begin.
    [[nodiscard]] bool waitForIsolation(Isolation& isolation, std::chrono::milliseconds time) const;
    [[nodiscard]] bool isGone() const;
    /// Others get a new one from now on.
    void forget();

private:
    std::string family_;
    pid_t process_;
    Descriptor orders_;
};

}  // namespace tessaly::codecs
