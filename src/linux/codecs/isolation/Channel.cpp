#include "linux/codecs/isolation/Channel.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace tessaly::codecs {
namespace {

constexpr std::size_t kMostDescriptors = 4;

union ControlSpace {
    char bytes[CMSG_SPACE(sizeof(int) * kMostDescriptors)];
    cmsghdr alignment;
};

/// Takes what came along, so that nothing stays open unseen. @return whether it all had a place.
bool takeDescriptors(msghdr& header, std::span<Descriptor> descriptors) {
    bool fits = (header.msg_flags & MSG_CTRUNC) == 0;
    std::size_t taken = 0;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + i * sizeof number, sizeof number);
            Descriptor descriptor(number);
            if (taken < descriptors.size())
                descriptors[taken++] = std::move(descriptor);
            else
                fits = false;
        }
    }
    return fits;
}

}  // namespace

Channel Channel::open() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return {};
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

bool sendBytes(int socket, std::span<const std::byte> message, std::span<const int> descriptors) {
    iovec content{const_cast<std::byte*>(message.data()), message.size()};
    ControlSpace space{};
    msghdr header{};
    header.msg_iov = &content;
    header.msg_iovlen = 1;
    if (descriptors.size() > kMostDescriptors) return false;
    if (!descriptors.empty()) {
        header.msg_control = space.bytes;
        header.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr* part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(part), descriptors.data(), descriptors.size_bytes());
    }
    ssize_t sent = -1;
    do {
        sent = ::sendmsg(socket, &header, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(message.size());
}

Received receiveBytes(int socket, std::span<std::byte> message, std::span<Descriptor> descriptors) {
    iovec content{message.data(), message.size()};
    ControlSpace space{};
    msghdr header{};
    header.msg_iov = &content;
    header.msg_iovlen = 1;
    header.msg_control = space.bytes;
    header.msg_controllen = sizeof space.bytes;
    ssize_t count = -1;
    do {
        count = ::recvmsg(socket, &header, MSG_CMSG_CLOEXEC);
    } while (count < 0 && errno == EINTR);
    if (count < 0) return errno == EAGAIN ? Received::nothing : Received::end;
    const bool fits = takeDescriptors(header, descriptors);
    const bool isWhole = count == static_cast<ssize_t>(message.size()) && (header.msg_flags & MSG_TRUNC) == 0;
    return fits && isWhole ? Received::message : Received::end;
}

bool waitFor(int socket, std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    pollfd watched{socket, POLLIN, 0};
    for (auto left = time;;) {
        const int count = ::poll(&watched, 1, left.count() < 0 ? -1 : static_cast<int>(left.count()));
        if (count >= 0 || errno != EINTR) return count > 0;
        if (time.count() < 0) continue;
        left =
            std::max(std::chrono::milliseconds(0),
                     std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now()));
    }
}

}  // namespace tessaly::codecs
