#pragma once
#include <chrono>
#include <cstddef>
#include <span>
#include <type_traits>

#include "linux/codecs/isolation/Descriptor.h"

/// Messages of fixed size between the program and its decoders: a packet each, with descriptors beside it.
namespace tessaly::codecs {

/// Two connected ends that keep packets apart and are closed in programs that are started. Both empty on failure.
struct Channel {
    Descriptor one;
    Descriptor other;
    [[nodiscard]] static Channel open();
};

enum class Received : unsigned char {
    message,
    nothing,  ///< The time is over.
    end,      ///< The other end was closed, or what it sent is no message.
};

[[nodiscard]] bool sendBytes(int socket, std::span<const std::byte> message, std::span<const int> descriptors);
/// @param descriptors takes those that came along, in their order; more than fit are no message.
[[nodiscard]] Received receiveBytes(int socket, std::span<std::byte> message, std::span<Descriptor> descriptors);
/// Waits until there is something to receive: a message or the end. A negative time waits for ever.
[[nodiscard]] bool waitFor(int socket, std::chrono::milliseconds time);

template <class Message>
[[nodiscard]] bool send(int socket, const Message& message, std::span<const int> descriptors = {}) {
    static_assert(std::is_trivially_copyable_v<Message>);
    return sendBytes(socket, std::as_bytes(std::span(&message, 1)), descriptors);
}

template <class Message>
[[nodiscard]] Received receive(int socket, Message& message, std::span<Descriptor> descriptors = {}) {
    static_assert(std::is_trivially_copyable_v<Message>);
    return receiveBytes(socket, std::as_writable_bytes(std::span(&message, 1)), descriptors);
}

}  // namespace tessaly::codecs
