#include "SingleInstance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace tessaly::viewer {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kPatience = 2s;
constexpr auto kPause = 20ms;
constexpr std::size_t kMostBytes = 4 << 20;
constexpr int kMostWaiting = 16;
/// Ends every field of a handover: no path and no URL has it.
constexpr char kEnd = '\0';
constexpr std::string_view kTaken = "taken";

int millisecondsUntil(Clock::time_point time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

bool isReady(int file, short events, Clock::time_point until) {
    pollfd one{file, events, 0};
    int count = 0;
    while ((count = ::poll(&one, 1, millisecondsUntil(until))) < 0 && errno == EINTR) {
    }
    return count > 0;
}

bool sendAll(int socket, std::string_view bytes, Clock::time_point until) {
    while (!bytes.empty()) {
        if (!isReady(socket, POLLOUT, until)) return false;
        const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

/// To the end of what the other side sends; nullopt when that takes too long, or is too much.
std::optional<std::string> receiveAll(int socket, Clock::time_point until) {
    std::string bytes;
    std::array<char, 4096> piece{};
    while (isReady(socket, POLLIN, until)) {
        const auto count = ::recv(socket, piece.data(), piece.size(), MSG_DONTWAIT);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (count == 0) return bytes;
        if (count < 0) return std::nullopt;
        bytes.append(piece.data(), static_cast<std::size_t>(count));
        if (bytes.size() > kMostBytes) return std::nullopt;
    }
    return std::nullopt;
}

bool isOwnUser(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::getuid();
}

/// Nullopt for a path that no socket can have.
std::optional<sockaddr_un> addressOf(const std::string& path) {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) return std::nullopt;
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    return address;
}

const sockaddr* generic(const sockaddr_un& address) { return reinterpret_cast<const sockaddr*>(&address); }

/// A connected socket, or -1 when nobody listens in time: the first one may have just begun.
int connectTo(const std::string& path, Clock::time_point until) {
    const auto address = addressOf(path);
    while (address && Clock::now() < until) {
        const int connection = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (connection < 0) return -1;
        if (::connect(connection, generic(*address), sizeof *address) == 0) return connection;
        ::close(connection);
        ::poll(nullptr, 0, static_cast<int>(kPause.count()));
    }
    return -1;
}

void closeFile(int& file) {
    if (file >= 0) ::close(std::exchange(file, -1));
}

}  // namespace

std::string encoded(const Handover& handover) {
    std::string bytes = handover.activationToken + kEnd;
    for (const std::string& item : handover.items) bytes += item + kEnd;
    return bytes;
}

Handover decodedHandover(const std::string& bytes) {
    Handover handover;
    bool isFirst = true;
    for (std::size_t at = 0, end = 0; (end = bytes.find(kEnd, at)) != std::string::npos; at = end + 1) {
        std::string field = bytes.substr(at, end - at);
        if (std::exchange(isFirst, false))
            handover.activationToken = std::move(field);
        else if (!field.empty())
            handover.items.push_back(std::move(field));
    }
    return handover;
}

SingleInstance::SingleInstance(const std::string& folder) {
    if (folder.empty()) return;
    socketPath_ = folder + "/tessaly-viewer.socket";
    lockPath_ = folder + "/tessaly-viewer.lock";
}

SingleInstance::~SingleInstance() {
    if (thread_.joinable()) {
        ::eventfd_write(ending_, 1);
        thread_.join();
        // Before the lock: whoever has that next makes a socket of its own.
        ::unlink(socketPath_.c_str());
    }
    closeFile(listening_);
    closeFile(ending_);
    closeFile(lock_);
}

bool SingleInstance::listen(Handler handler) {
    const auto address = addressOf(socketPath_);
    if (!address) return false;
    lock_ = ::open(lockPath_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    // Nobody else can listen in a folder that is not there.
    if (lock_ < 0) socketPath_.clear();
    // The kernel lets go of it with the program, however that ends; a socket's file would stay.
    if (lock_ < 0 || ::flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        closeFile(lock_);
        return false;
    }
    ::unlink(socketPath_.c_str());
    listening_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ending_ = ::eventfd(0, EFD_CLOEXEC);
    if (listening_ < 0 || ending_ < 0 || ::bind(listening_, generic(*address), sizeof *address) != 0 ||
        ::listen(listening_, kMostWaiting) != 0) {
        closeFile(listening_);
        closeFile(ending_);
        closeFile(lock_);
        return false;
    }
    handler_ = std::move(handler);
    thread_ = std::thread([this] { serve(); });
    return true;
}

void SingleInstance::serve() {
    while (true) {
        std::array<pollfd, 2> files{pollfd{listening_, POLLIN, 0}, pollfd{ending_, POLLIN, 0}};
        if (::poll(files.data(), files.size(), -1) < 0 && errno != EINTR) return;
        if (files[1].revents != 0) return;
        int connection =
            files[0].revents != 0 ? ::accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK) : -1;
        if (connection < 0) continue;
        if (isOwnUser(connection)) take(connection);
        closeFile(connection);
    }
}

void SingleInstance::take(int connection) const {
    const auto until = Clock::now() + kPatience / 2;
    const auto bytes = receiveAll(connection, until);
    if (!bytes) return;
    handler_(decodedHandover(*bytes));
    static_cast<void>(sendAll(connection, kTaken, until));
}

bool SingleInstance::handOver(const Handover& handover) const {
    const auto until = Clock::now() + kPatience;
    int connection = connectTo(socketPath_, until);
    if (connection < 0) return false;
    bool isTaken = sendAll(connection, encoded(handover), until) && ::shutdown(connection, SHUT_WR) == 0;
    isTaken = isTaken && receiveAll(connection, until) == kTaken;
    closeFile(connection);
    return isTaken;
}

}  // namespace tessaly::viewer
