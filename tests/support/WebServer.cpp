#include "support/WebServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tessaly::test {
namespace {

constexpr const char* kProgram = "/usr/sbin/nginx";
constexpr const char* kWebDav = "/usr/lib/nginx/modules/ngx_http_dav_ext_module.so";
constexpr int kBacklog = 64;
constexpr int kAttempts = 5;

/// A listening socket on a free port of the loopback device.
int listenAnywhere(std::uint16_t& port) {
    ::setenv("no_proxy", "127.0.0.1", 1);  // The proxy of whoever runs the tests cannot reach it.
    const int listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listening, plain, length) != 0 || ::listen(listening, kBacklog) != 0 ||
        ::getsockname(listening, plain, &length) != 0)
        throw std::runtime_error("no loopback port");
    port = ntohs(address.sin_port);
    return listening;
}

std::string hostAndPort(std::uint16_t port) { return "127.0.0.1:" + std::to_string(port); }

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
}

std::string configuration(const std::string& locations, const std::string& folder, const std::string& address) {
    std::string text = locations.find("dav_ext_methods") == std::string::npos
                           ? std::string()
                           : "load_module " + std::string(kWebDav) + ";\n";
    text +=
        "daemon off; master_process off; pid FOLDER/pid; error_log FOLDER/errors;\n"
        "events {}\n"
        "http {\n access_log off; client_body_temp_path FOLDER/t1; proxy_temp_path FOLDER/t2;\n"
        " fastcgi_temp_path FOLDER/t3; uwsgi_temp_path FOLDER/t4; scgi_temp_path FOLDER/t5;\n"
        " server { listen " +
        address + "; root FOLDER/files;\n" + locations + "\n }\n}\n";
    replaceAll(text, "FOLDER", folder);
    return text;
}

/// Whether all of a request has come. What is none, as the hello of an encrypted connection, is answered at once.
bool isWhole(const std::string& request) {
    constexpr std::array<std::string_view, 3> kMethods{"GET ", "HEAD ", "PROPFIND "};
    if (std::ranges::none_of(
            kMethods, [&](std::string_view method) { return method.starts_with(request.substr(0, method.size())); }))
        return true;
    const auto end = request.find("\r\n\r\n");
    if (end == std::string::npos) return false;
    constexpr std::string_view kLength = "\r\nContent-Length: ";
    const auto length = request.find(kLength);
    const std::size_t body = length < end ? std::stoul(request.substr(length + kLength.size())) : 0;
    return request.size() >= end + 4 + body;
}

}  // namespace

bool WebServer::isInstalled() { return ::access(kProgram, X_OK) == 0; }
bool WebServer::hasWebDav() { return isInstalled() && ::access(kWebDav, R_OK) == 0; }

WebServer::WebServer(const std::string& locations, std::string scheme) : scheme_(std::move(scheme)) {
    folder_.write("files/.keep", "");
    // Between our letting go of a port and its taking it another program may be faster.
    for (int attempt = 0; attempt < kAttempts && !start(locations); ++attempt) {
    }
    if (process_ < 0) throw std::runtime_error("no web server: " + contentOf(folder_.path() / "errors"));
}

bool WebServer::start(const std::string& locations) {
    ::close(listenAnywhere(port_));
    const std::string folder = folder_.path().string();
    const std::string address = hostAndPort(port_) + (scheme_ == "https" ? " ssl" : "");
    const std::string file = folder_.write("configuration", configuration(locations, folder, address));
    process_ = ::fork();
    if (process_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::execl(kProgram, kProgram, "-p", folder.c_str(), "-c", file.c_str(), nullptr);
        ::_exit(127);
    }
    // It writes its number down once it listens.
    while (contentOf(folder_.path() / "pid").empty()) {
        if (::waitpid(process_, nullptr, WNOHANG) != 0) {
            process_ = -1;
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

WebServer::~WebServer() { stop(); }

void WebServer::stop() {
    if (process_ < 0) return;
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
}

std::string WebServer::url(const std::string& path, const std::string& user) const {
    return scheme_ + "://" + user + hostAndPort(port_) + path;
}

RudeServer::RudeServer(std::string answer, Then then)
    : RudeServer([answer = std::move(answer)](const std::string&) { return answer; }, then) {}

RudeServer::RudeServer(Answer answer, Then then)
    : answer_(std::move(answer)), then_(then), listening_(listenAnywhere(port_)), ending_(::eventfd(0, EFD_CLOEXEC)) {
    thread_ = std::thread([this] { run(); });
}

RudeServer::~RudeServer() {
    ::eventfd_write(ending_, 1);
    thread_.join();
    for (const int connection : silent_) ::close(connection);
    ::close(ending_);
    ::close(listening_);
}

std::string RudeServer::url(const std::string& scheme) const { return scheme + "://" + hostAndPort(port_) + "/"; }

void RudeServer::run() {
    std::array<pollfd, 2> waiting{{{listening_, POLLIN, 0}, {ending_, POLLIN, 0}}};
    while (::poll(waiting.data(), waiting.size(), -1) > 0 && (waiting[1].revents & POLLIN) == 0) {
        const int connection = ::accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) serve(connection);
    }
}

void RudeServer::serve(int connection) {
    const timeval limit{10, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    std::string request;
    std::array<char, 4096> buffer{};
    // A connection that is closed with a request unread loses the answer as well.
    while (!isWhole(request)) {
        const auto got = ::recv(connection, buffer.data(), buffer.size(), 0);
        if (got <= 0) break;
        request.append(buffer.data(), static_cast<std::size_t>(got));
    }
    const std::string answer = answer_(request);
    static_cast<void>(::send(connection, answer.data(), answer.size(), MSG_NOSIGNAL));
    if (then_ == Then::isSilent)
        silent_.push_back(connection);
    else
        ::close(connection);
}

}  // namespace tessaly::test
