#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <set>
#include <thread>

#include "linux/remote/Download.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"
#include "support/WebServer.h"

namespace tessaly {
namespace {

using namespace std::chrono_literals;
using test::contentOf;
using test::RudeServer;
using test::TemporaryFolder;
using test::WebServer;
using Kind = DownloadFault::Kind;

std::string photoOf(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<char>(at * at >> 3 ^ at);
    return bytes;
}

std::set<std::string> namesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
    return names;
}

DownloadRequest requestOf(const std::string& url) {
    DownloadRequest request;
    request.url = url;
    return request;
}

/// Downloads over an older file and looks that a fault leaves it, and nothing else, in the folder.
DownloadFault downloadOver(const DownloadRequest& request, const std::string& expected) {
    const TemporaryFolder folder;
    const std::string path = folder.write("photo.jpg", "older");
    const DownloadFault fault = download(request, path);
    EXPECT_TRUE(contentOf(path) == (fault ? "older" : expected)) << contentOf(path).size() << " bytes";
    EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("photo.jpg"));
    return fault;
}

class Download : public testing::Test {
protected:
    void SetUp() override {
        if (!WebServer::isInstalled()) GTEST_SKIP() << "nginx is not installed";
    }
};

constexpr const char* kLocations = R"(
    location /slow/ { alias FOLDER/files/; limit_rate 200k; }
    location /denied { return 403; }
    location /gone { return 410; }
    location /broken { return 500; }
    location /nothing { return 204; }
    location /moved { return 302 /photo.jpg; }
    location /moved-nowhere { return 302 ""; }
    location /away { return 302 file:///etc/hostname; }
    location /loop { return 302 /loop; }
    location /agent { return 200 $http_user_agent; }
    location /private { alias FOLDER/files/photo.jpg; auth_basic "photos"; auth_basic_user_file FOLDER/files/users; }
)";

TEST_F(Download, TakesWhatAServerHasAndNamesWhatItHasNot) {
    const WebServer server(kLocations);
    const std::string photo = photoOf(300000);
    server.add("photo.jpg", photo);
    server.add("ärger 100%/a?b#c;d.jpg", photo);
    server.add("empty", "");
    server.add("users", "me@home:{PLAIN}se/cret\n");
    struct Case {
        std::string url;
        Kind kind = Kind::none;
        long status = 0;
        std::string content;
        std::optional<std::uint64_t> size;
    };
    const std::vector<Case> cases{
        {server.url("/photo.jpg"), Kind::none, 0, photo, {}},
        {server.url("/photo.jpg"), Kind::none, 0, photo, photo.size()},
        {server.url("/photo.jpg"), Kind::wrongLength, 200, "", photo.size() - 1},
        {server.url("/photo.jpg"), Kind::wrongLength, 200, "", photo.size() + 1},
        {urlByAppending(server.url("?x=1"), "ärger 100%/a?b#c;d.jpg"), Kind::none, 0, photo, {}},
        {server.url("/ärger 100%25/a%3Fb%23c;d.jpg"), Kind::none, 0, photo, {}},
        {server.url("/empty"), Kind::none, 0, "", 0},
        {server.url("/empty"), Kind::wrongLength, 200, "", 1},
        {server.url("/moved"), Kind::none, 0, photo, {}},
        {server.url("/agent"), Kind::none, 0, "tessaly", {}},
        {server.url("/private", "me%40home:se%2Fcret@"), Kind::none, 0, photo, {}},
        {server.url("/private", "me%40home:other@"), Kind::refused, 401, "", {}},
        {server.url("/private"), Kind::refused, 401, "", {}},
        {server.url("/missing.jpg"), Kind::notFound, 404, "", {}},
        {server.url("/gone"), Kind::notFound, 410, "", {}},
        {server.url("/denied"), Kind::refused, 403, "", {}},
        {server.url("/broken"), Kind::refused, 500, "", {}},
        {server.url("/nothing"), Kind::refused, 204, "", {}},
        {server.url("/moved-nowhere"), Kind::refused, 302, "", {}},
        {server.url("/loop"), Kind::refused, 302, "", {}},
        {server.url("/away"), Kind::insecure, 302, "", {}},
        {"file:///etc/hostname", Kind::badAddress, 0, "", {}},
        {"ftp://127.0.0.1/photo.jpg", Kind::badAddress, 0, "", {}},
        {"photo.jpg", Kind::badAddress, 0, "", {}},
        {"http://", Kind::badAddress, 0, "", {}},
        {"", Kind::badAddress, 0, "", {}},
        {"http://127.0.0.1:1/photo.jpg", Kind::unreachable, 0, "", {}},
        {"http://photos.invalid/photo.jpg", Kind::unreachable, 0, "", {}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.url);
        DownloadRequest request = requestOf(each.url);
        request.expectedSize = each.size;
        const DownloadFault fault = downloadOver(request, each.content);
        EXPECT_EQ(describe(fault.kind), describe(each.kind));
        EXPECT_EQ(fault.status, each.status);
    }
}

TEST(DownloadOverABadConnection, NeverTakesAPartForTheWhole) {
    using Then = RudeServer::Then;
    const std::string announced = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n";
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n";
    const std::string open = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n";
    struct Case {
        std::string answer;
        Then then;
        std::optional<std::uint64_t> size;
        Kind kind;
        std::string content;
    };
    const std::vector<Case> cases{
        {announced + "0123456789", Then::cuts, {}, Kind::none, "0123456789"},
        {announced + "0123456789", Then::isSilent, {}, Kind::none, "0123456789"},
        {announced + "01234", Then::cuts, {}, Kind::interrupted, ""},
        {announced + "01234", Then::cuts, 5, Kind::wrongLength, ""},
        {announced + "01234", Then::isSilent, {}, Kind::stalled, ""},
        {announced, Then::isSilent, {}, Kind::stalled, ""},
        {"", Then::isSilent, {}, Kind::stalled, ""},
        {"", Then::cuts, {}, Kind::interrupted, ""},
        {chunked + "0\r\n\r\n", Then::cuts, {}, Kind::none, "hello"},
        {chunked, Then::cuts, {}, Kind::interrupted, ""},
        {chunked + "3\r\nhe", Then::cuts, {}, Kind::interrupted, ""},
        {open + "hello", Then::cuts, 5, Kind::none, "hello"},
        {open + "hell", Then::cuts, 5, Kind::wrongLength, ""},
        {open + "hello!", Then::cuts, 5, Kind::wrongLength, ""},
        {"220 mail.example ready\r\n", Then::cuts, {}, Kind::refused, ""},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.answer);
        const RudeServer server(each.answer, each.then);
        DownloadRequest request = requestOf(server.url());
        request.expectedSize = each.size;
        request.stallLimit = 1s;
        EXPECT_EQ(describe(downloadOver(request, each.content).kind), describe(each.kind));
    }
}

TEST_F(Download, TellsItsProgress) {
    const WebServer server(kLocations);
    const std::string photo = photoOf(300000);
    server.add("photo.jpg", photo);
    std::vector<double> told;
    DownloadRequest request = requestOf(server.url("/slow/photo.jpg"));
    request.progress = [&told](double done) {
        told.push_back(done);
        return true;
    };
    EXPECT_FALSE(downloadOver(request, photo));
    EXPECT_TRUE(std::ranges::is_sorted(told));
    EXPECT_EQ(told.back(), 1.0);
    EXPECT_GE(std::ranges::count_if(told, [](double done) { return done > 0 && done < 1; }), 3);
}

TEST(DownloadOverABadConnection, KnowsNothingOfItsProgressWithoutASize) {
    const RudeServer server("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n",
                            RudeServer::Then::cuts);
    std::set<double> told;
    DownloadRequest request = requestOf(server.url());
    request.progress = [&told](double done) { return told.insert(done), true; };
    EXPECT_FALSE(downloadOver(request, "hello"));
    EXPECT_THAT(told, testing::IsSubsetOf({0.0, 1.0}));
    EXPECT_TRUE(told.contains(1.0));
}

TEST_F(Download, CanBeCancelled) {
    const WebServer slow(kLocations);
    slow.add("photo.jpg", photoOf(30000000));
    const RudeServer silent("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n01234", RudeServer::Then::isSilent);
    const RudeServer mute("", RudeServer::Then::isSilent);
    // Were it not noticed while nothing comes, the fault would be another one.
    for (const std::string& url : {slow.url("/slow/photo.jpg"), silent.url(), mute.url()}) {
        for (const int patience : {0, 4}) {
            SCOPED_TRACE(url);
            DownloadRequest request = requestOf(url);
            int calls = 0;
            request.progress = [&calls, patience](double) { return calls++ < patience; };
            EXPECT_EQ(describe(downloadOver(request, "").kind), describe(Kind::cancelled));
            EXPECT_EQ(calls, patience + 1) << "nobody asks on after a no";
        }
    }
}

TEST_F(Download, TrustsNoServerThatCannotProveItsName) {
    const TemporaryFolder folder;
    const std::string key = folder.path() / "key";
    const std::string certificate = folder.path() / "certificate";
    const auto made = test::runProcess({"/usr/bin/openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                                        "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=127.0.0.1", "-addext",
                                        "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate});
    if (made.status != 0) GTEST_SKIP() << "openssl makes no certificate: " << made.errors;
    const WebServer server("ssl_certificate " + certificate + "; ssl_certificate_key " + key + ";", "https");
    server.add("photo.jpg", "photo");
    const RudeServer plain("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nphoto", RudeServer::Then::cuts);
    for (const std::string& url : {server.url("/photo.jpg"), plain.url("https")})
        EXPECT_EQ(describe(downloadOver(requestOf(url), "").kind), describe(Kind::insecure)) << url;
}

TEST_F(Download, LeavesNothingWhereItCannotWrite) {
    const WebServer server(kLocations);
    server.add("photo.jpg", photoOf(300000));
    const TemporaryFolder folder;
    const DownloadFault nowhere = download(requestOf(server.url("/photo.jpg")), folder.path() / "no/photo.jpg");
    EXPECT_EQ(describe(nowhere.kind), describe(Kind::cannotWrite));
    EXPECT_EQ(nowhere.error, ENOENT);

    const pid_t child = ::fork();
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit full{100000, 100000};
        ::setrlimit(RLIMIT_FSIZE, &full);
        const DownloadFault fault = download(requestOf(server.url("/photo.jpg")), folder.path() / "photo.jpg");
        ::_exit(fault.kind == Kind::cannotWrite && fault.error == EFBIG ? 0 : 1 + static_cast<int>(fault.kind));
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(namesIn(folder.path()), testing::IsEmpty());
}

TEST_F(Download, FetchesIntoMemoryUpToALimit) {
    const WebServer server(kLocations);
    const std::string photo = photoOf(300000);
    server.add("photo.jpg", photo);
    const RudeServer endless("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + photo.substr(0, 3000),
                             RudeServer::Then::isSilent);
    struct Case {
        std::string url;
        std::size_t limit;
        Kind kind;
    };
    const std::vector<Case> cases{
        {server.url("/photo.jpg"), photo.size(), Kind::none},
        {server.url("/photo.jpg"), photo.size() - 1, Kind::wrongLength},
        {server.url("/missing"), photo.size(), Kind::notFound},
        {endless.url(), 2000, Kind::wrongLength},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.url);
        std::vector<std::byte> content(7);
        EXPECT_EQ(describe(downloadToMemory(requestOf(each.url), each.limit, content).kind), describe(each.kind));
        const auto wanted = std::as_bytes(std::span(photo).first(each.kind == Kind::none ? photo.size() : 0));
        EXPECT_TRUE(std::ranges::equal(content, wanted)) << content.size();
    }
}

TEST_F(Download, RunsOnSeveralThreadsAndInsideAnother) {
    const WebServer server(kLocations);
    const std::string photo = photoOf(300000);
    server.add("photo.jpg", photo);
    const auto fetchTwice = [&] {
        DownloadRequest outer = requestOf(server.url("/photo.jpg"));
        bool isFirst = true;
        outer.progress = [&](double) {
            return !std::exchange(isFirst, false) || !downloadOver(requestOf(server.url("/photo.jpg")), photo);
        };
        EXPECT_FALSE(downloadOver(outer, photo));
        EXPECT_FALSE(downloadOver(outer, photo)) << "by the connection that is still open";
    };
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) thread = std::thread(fetchTwice);
    for (std::thread& thread : threads) thread.join();
}

TEST(DownloadAddresses, GrowByAPath) {
    const std::vector<std::array<std::string, 3>> cases{
        {"https://host", "a.jpg", "https://host/a.jpg"},
        {"https://host/dav/", "/a b/c.jpg", "https://host/dav/a%20b/c.jpg"},
        {"https://me:x@host/dav?token=1#top", "100%.jpg", "https://me:x@host/dav/100%25.jpg?token=1#top"},
        {"https://host/%41", "é?#\n", "https://host/%41/%C3%A9%3F%23%0A"},
    };
    for (const auto& [base, path, url] : cases) EXPECT_EQ(urlByAppending(base, path), url);
}

}  // namespace
}  // namespace tessaly
