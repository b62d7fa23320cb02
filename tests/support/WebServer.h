#pragma once
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/TemporaryFolder.h"

namespace tessaly::test {

/// A web server on a loopback port of its own, as long as the object. It is ready from the start.
class WebServer {
public:
    [[nodiscard]] static bool isInstalled();
    /// Whether locations may use dav_ext_methods.
    [[nodiscard]] static bool hasWebDav();

    /// `locations` goes into the server's block of the configuration; FOLDER stands for the server's folder.
    explicit WebServer(const std::string& locations, std::string scheme = "http");
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;
    ~WebServer();

    /// Of a path that begins with a slash; `user` is "name:password@".
    [[nodiscard]] std::string url(const std::string& path, const std::string& user = {}) const;
    /// Adds a file below "/".
    void add(const std::string& name, const std::string& content) const { folder_.write("files/" + name, content); }
    /// Where that file is.
    [[nodiscard]] std::filesystem::path file(const std::string& name) const { return folder_.path() / "files" / name; }
    /// Nobody listens at the port any more.
    void stop();

private:
    bool start(const std::string& locations);

    TemporaryFolder folder_;
    std::string scheme_;
    std::uint16_t port_ = 0;
    pid_t process_ = -1;
};

/// Answers every request with what it was told to, however wrong that is, and then cuts the connection or falls silent.
class RudeServer {
public:
    enum class Then : std::uint8_t { cuts, isSilent };

    /// From a thread of its own, one request at a time: gets the request with its head and body.
    using Answer = std::function<std::string(const std::string& request)>;

    RudeServer(std::string answer, Then then);
    RudeServer(Answer answer, Then then);
    RudeServer(const RudeServer&) = delete;
    RudeServer& operator=(const RudeServer&) = delete;
    ~RudeServer();

    [[nodiscard]] std::string url(const std::string& scheme = "http") const;

private:
    void run();
    void serve(int connection);

    Answer answer_;
    Then then_;
    std::uint16_t port_ = 0;
    int listening_;
    int ending_;  // Readable once the server is to end.
    std::vector<int> silent_;
    std::thread thread_;
};

}  // namespace tessaly::test
