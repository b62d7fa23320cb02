#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

#include "linux/photos/RemoteFolder.h"
#include "support/WebServer.h"

namespace tessaly::photos {

/// Paths with sizes, in order.
using Files = std::map<std::string, std::uint64_t>;

inline Files filesAt(const std::string& url, std::string& fault) {
    Files files;
    fault = listRemoteFolder(url, [&](const RemoteFile& file) {
        EXPECT_TRUE(files.emplace(file.path, file.size).second) << file.path << " is listed twice";
    });
    return files;
}

/// Of a server that then ends the connection.
inline std::string answerOf(int status, const std::string& body, const std::string& headers = {}) {
    return "HTTP/1.1 " + std::to_string(status) + " Answer\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

}  // namespace tessaly::photos
