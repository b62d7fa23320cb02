#include <algorithm>
#include <atomic>
#include <set>

#include "linux/photos/WebDav.h"
#include "photos/RemoteFixture.h"

namespace tessaly::photos {
namespace {

using test::RudeServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// "/a/b" of "GET /a/b HTTP/1.1".
std::string pathIn(const std::string& request) {
    const auto begin = request.find(' ') + 1;
    return request.substr(begin, request.find(' ', begin) - begin);
}

/// An answer's element with the prefix of whichever server it is.
std::string element(std::string text, const std::string& prefix) {
    for (auto at = text.find("P:"); at != std::string::npos; at = text.find("P:", at + prefix.size()))
        text.replace(at, 2, prefix);
    return text;
}

std::string fileEntry(const std::string& href, const std::string& prefix = "D:") {
    return element("<P:response><P:href>", prefix) + href +
           element(
               "</P:href><P:propstat><P:prop><P:resourcetype/><P:getcontentlength>5</P:getcontentlength></P:prop>"
               "<P:status>HTTP/1.1 200 OK</P:status></P:propstat></P:response>\n",
               prefix);
}

/// As servers do, it also tells which property it does not have.
std::string folderEntry(const std::string& href, const std::string& prefix = "D:") {
    return element("<P:response><P:href>", prefix) + href +
           element(
               "</P:href><P:propstat><P:prop><P:getcontentlength>9</P:getcontentlength></P:prop><P:status>HTTP/1.1 "
               "404 Not Found</P:status></P:propstat><P:propstat><P:status>HTTP/1.1 200 OK</P:status><P:prop>"
               "<P:resourcetype><P:collection/></P:resourcetype></P:prop></P:propstat></P:response>\n",
               prefix);
}

std::string multistatus(const std::string& entries, const std::string& prefix = "D:") {
    return "<?xml version=\"1.0\"?>\n" +
           (prefix.empty() ? "<multistatus xmlns=\"DAV:\">\n" + entries + "</multistatus>\n"
                           : "<" + prefix + "multistatus xmlns:" + prefix.substr(0, prefix.size() - 1) + "=\"DAV:\">" +
                                 entries + "</" + prefix + "multistatus >\n");
}

/// A server of the folders in a table; what is in none is not found.
class CannedServer {
public:
    explicit CannedServer(std::map<std::string, std::string> answers)
        : answers_(std::move(answers)),
          server_([this](const std::string& request) { return answer(request); }, RudeServer::Then::cuts) {}
    [[nodiscard]] std::string url() const { return server_.url(); }
    [[nodiscard]] int asked() const { return asked_; }

private:
    std::string answer(const std::string& request) {
        ++asked_;
        const auto known = answers_.find(request.substr(0, request.find(" HTTP/")));
        return known == answers_.end() ? answerOf(404, "") : known->second;
    }
    std::map<std::string, std::string> answers_;
    std::atomic<int> asked_{0};
    RudeServer server_;
};

TEST(RemoteListing, TakesFromAnAnswerWhatIsInTheFolder) {
    const std::string odd =
        fileEntry("/dav/photos/../a.jpg") + fileEntry("/dav/photos/%2e%2e/b.jpg") + fileEntry("/dav/photos/..") +
        fileEntry("/dav/photos/c%2Fd.jpg") + fileEntry("/dav/photos/%2Fetc%2Fpasswd") +
        fileEntry("/dav/photos/e%00.jpg") + fileEntry("/dav/photos/.hidden.jpg") + fileEntry("/dav/photos/sub/f.jpg") +
        fileEntry("/dav/photosg.jpg") + fileEntry("/h.jpg") + fileEntry("i.jpg") + fileEntry("") +
        fileEntry("http://elsewhere.example/dav/photos/j.jpg") + fileEntry("//elsewhere.example/dav/photos/k.jpg") +
        folderEntry("/dav/") + folderEntry("/") + folderEntry("/dav/photos/..") + folderEntry("/dav/photos") +
        "<D:response><D:href>/dav/photos/gone.jpg</D:href><D:status>HTTP/1.1 404 Not "
        "Found</D:status></D:response>";
    const std::string self = folderEntry("/dav/photos/");
    struct Case {
        const char* what;
        std::string body;
        Files files;
    };
    const std::vector<Case> cases{
        {"empty", multistatus(self), {}},
        {"odd names", multistatus(self + odd + fileEntry("/dav/photos/z.jpg")), {{"z.jpg", 5}}},
        {"itself and those above", multistatus(self + self + folderEntry("/dav/") + folderEntry("/dav/photos//")), {}},
        {"no prefix", multistatus(fileEntry("/dav/photos/a.jpg", ""), ""), {{"a.jpg", 5}}},
        {"another prefix", multistatus(fileEntry("/dav/photos/a.jpg", "lp1:"), "lp1:"), {{"a.jpg", 5}}},
        {"whole addresses",
         multistatus(fileEntry("http://127.0.0.1:81/dav/photos/a.jpg") +
                     fileEntry("https://127.0.0.1/dav/photos/b%20c")),
         {{"a.jpg", 5}, {"b c", 5}}},
        {"names",
         multistatus(fileEntry("/dav/photos/%C3%A4%20100%25+a&amp;b;%3F%23.jpg") + fileEntry("/dav/photos/1%.jpg") +
                     fileEntry("\n  <![CDATA[/%64av//photos/x&y.jpg]]>\n")),
         {{"ä 100%+a&b;?#.jpg", 5}, {"1%.jpg", 5}, {"x&y.jpg", 5}}},
        {"lines behind", multistatus(fileEntry("/dav/photos/a.jpg")) + "\n\n", {{"a.jpg", 5}}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        const CannedServer server({{"PROPFIND /dav/photos/", answerOf(207, each.body)}});
        std::string fault;
        EXPECT_EQ(filesAt(server.url() + "dav/photos", fault), each.files);
        EXPECT_EQ(fault, "");
        EXPECT_EQ(server.asked(), 1);
    }
}

TEST(RemoteListing, TrustsNoAnswerThatMayMissFiles) {
    const std::string whole = multistatus(folderEntry("/dav/") + fileEntry("/dav/a.jpg") + fileEntry("/dav/b.jpg"));
    for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
        std::vector<RemoteEntry> entries;
        EXPECT_NE(readMultistatus(whole.substr(0, length), "http://host/dav/", entries), "") << length;
    }
    std::vector<std::pair<std::string, std::string>> cases{
        {multistatus(""), "another folder"},
        {multistatus(fileEntry("/other/a.jpg") + folderEntry("http://elsewhere.example/dav/")), "another folder"},
        {multistatus(fileEntry("/dav/a.jpg") + "<D:response><D:href>/dav/sub/</D:href><D:status>HTTP/1.1 403 Forbidden"
                                               "</D:status></D:response>"),
         "keeps a part"},
        {multistatus(folderEntry("/dav/") + folderEntry("/dav/sub/")), "does not list the folder"},
    };
    cases.emplace_back(whole.substr(0, whole.size() / 2), "cut off");
    for (const auto& [body, why] : cases) {
        SCOPED_TRACE(body);
        const CannedServer server({{"PROPFIND /dav/", answerOf(207, body)}, {"GET /dav/", answerOf(200, "[]")}});
        std::string fault;
        static_cast<void>(filesAt(server.url() + "dav", fault));
        EXPECT_THAT(fault, HasSubstr(why));
    }
}

TEST(RemoteListing, ReadsAnIndexWhereThereIsNoWebDav) {
    const std::string index = answerOf(
        200,
        R"([{"name":"a.jpg","type":"file","size":5},{"name":"..","type":"directory"},{"name":"x/y","type":"file",)"
        R"("size":5},{"name":"empty","type":"file","size":0},{"name":"less","type":"file","size":-1},{"name":"pipe",)"
        R"("type":"other","size":5},{"type":"file","size":5},7,{"name":".git","type":"directory"}])");
    struct Case {
        std::string answer;
        bool readsIndex;
    };
    const std::vector<Case> cases{
        {answerOf(405, ""), true},        {answerOf(501, ""), true},  {answerOf(403, ""), true},
        {answerOf(404, ""), true},        {answerOf(400, ""), true},  {answerOf(200, "[]"), true},
        {answerOf(207, "<html/>"), true}, {answerOf(207, ""), true},  {answerOf(401, ""), false},
        {answerOf(500, ""), false},       {answerOf(503, ""), false}, {"", false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.answer);
        const CannedServer server({{"PROPFIND /", each.answer}, {"GET /", index}});
        std::string fault;
        const Files files = filesAt(server.url(), fault);
        EXPECT_EQ(fault.empty(), each.readsIndex) << fault;
        EXPECT_EQ(files, each.readsIndex ? (Files{{"a.jpg", 5}}) : Files());
    }
    for (const std::string& odd : {answerOf(200, "<html/>"), answerOf(200, "{}"), answerOf(403, "")}) {
        const CannedServer server({{"GET /", odd}});
        std::string fault;
        EXPECT_THAT(filesAt(server.url(), fault), IsEmpty());
        EXPECT_NE(fault, "");
    }
}

TEST(RemoteListing, EndsWhereAServerDoesNot) {
    const auto byWebDav = [](const std::string& path, const std::vector<std::string>& folders) {
        std::string entries = folderEntry(path) + fileEntry(path + "a.jpg");
        for (const std::string& folder : folders) entries += folderEntry(path + folder + "/");
        return answerOf(207, multistatus(entries));
    };
    const auto byIndex = [](const std::vector<std::string>& folders) {
        std::string entries = R"({"name":"a.jpg","type":"file","size":5})";
        for (const std::string& folder : folders) entries += R"(,{"name":")" + folder + R"(","type":"directory"})";
        return answerOf(200, "[" + entries + "]");
    };
    struct Case {
        const char* what;
        RudeServer::Answer answer;
        std::size_t most;
    };
    const std::vector<Case> cases{
        {"linked into itself",
         [&](const std::string& request) {
             return byWebDav(pathIn(request), {"x", "y"});
         },
         1},
        {"in turns",
         [&](const std::string& request) {
             const bool isEven = std::ranges::count(pathIn(request), '/') % 2 == 0;
             return byWebDav(pathIn(request), {isEven ? "x" : "y"});
         },
         2},
        {"linked into itself, by the index",
         [&](const std::string& request) {
             return request.starts_with("GET") ? byIndex({"x", "y"}) : answerOf(405, "");
         },
         1},
        {"deeper and deeper",
         [&](const std::string& request) {
             const std::string path = pathIn(request);
             return byWebDav(path, {std::to_string(path.size())});
         },
         40},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        const RudeServer server(each.answer, RudeServer::Then::cuts);
        std::string fault;
        const Files files = filesAt(server.url(), fault);
        EXPECT_GE(files.size(), 1U);
        EXPECT_LE(files.size(), each.most);
        EXPECT_EQ(fault, "");
    }
}

TEST(RemoteListing, FollowsAFolderThatHasMoved) {
    const CannedServer server({{"PROPFIND /old/", answerOf(301, "", "Location: /new%20place/\r\n")},
                               {"PROPFIND /new%20place/", answerOf(207, multistatus(fileEntry("/new place/a.jpg")))}});
    std::string fault;
    EXPECT_EQ(filesAt(server.url() + "old", fault), (Files{{"a.jpg", 5}}));
    EXPECT_EQ(fault, "");
}

TEST(RemoteListing, HasRoomForALargeFolder) {
    std::string entries = folderEntry("/");
    constexpr std::size_t kMany = 30'000;
    for (std::size_t i = 0; i < kMany; ++i) entries += fileEntry("/" + std::to_string(i) + ".jpg");
    const CannedServer server({{"PROPFIND /", answerOf(207, multistatus(entries))}});
    std::string fault;
    EXPECT_EQ(filesAt(server.url(), fault).size(), kMany);
    EXPECT_EQ(fault, "");
}

}  // namespace
}  // namespace tessaly::photos
