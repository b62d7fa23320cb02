#include <gtest/gtest.h>

#include <filesystem>

#include "viewer/AppURL.h"

namespace tessaly::viewer {
namespace {

constexpr const char* kPrefix = "tessalyapp://allphotos?phAssetsLocalIDCommaSeparated=";

TEST(AppURL, AsksForPhotosAndAPosition) {
    const struct {
        const char* why;
        std::string rest;
        std::vector<std::string> identifiers;
        std::size_t position;
    } cases[] = {
        {"as it is made", "A-1/L0/001,B-2/L0/001&currentPosition=1", {"A-1/L0/001", "B-2/L0/001"}, 1},
        {"encoded on the way", "A-1%2FL0%2f001%2CB&currentPosition=1", {"A-1/L0/001", "B"}, 1},
        {"no position", "A,B", {"A", "B"}, 0},
        {"past the end", "A,B&currentPosition=2", {"A", "B"}, 1},
        {"far past the end", "A,B&currentPosition=99999999999999999999999", {"A", "B"}, 1},
        {"below the first", "A,B&currentPosition=-1", {"A", "B"}, 0},
        {"no number", "A,B&currentPosition=1x", {"A", "B"}, 0},
        {"a photo without an asset", ",A,,B&currentPosition=3", {"A", "B"}, 1},
        {"positions count what is left out", "A,;x,B&currentPosition=2", {"A", "B"}, 1},
        {"the one it points at is left out", "A,;x,B&currentPosition=1", {"A", "B"}, 1},
        {"and is the last", "A,;x&currentPosition=1", {"A"}, 0},
        {"unknown and repeated keys", "A&x=1&phAssetsLocalIDCommaSeparated=B&=&currentPosition", {"A"}, 0},
        {"a fragment", "A,B#&currentPosition=1", {"A", "B"}, 0},
    };
    for (const auto& [why, rest, identifiers, position] : cases) {
        const auto request = parseAppURL(kPrefix + rest);
        ASSERT_TRUE(request) << why;
        EXPECT_EQ(request->identifiers, identifiers) << why;
        EXPECT_EQ(request->position, position) << why;
    }
    EXPECT_TRUE(parseAppURL("TessalyApp://AllPhotos/?phAssetsLocalIDCommaSeparated=A")) << "as some desktops spell it";
}

TEST(AppURL, TrustsNothing) {
    const struct {
        const char* why;
        std::string url;
    } cases[] = {
        {"empty", ""},
        {"another scheme", "https://allphotos?phAssetsLocalIDCommaSeparated=A"},
        {"another place", "tessalyapp://settings?phAssetsLocalIDCommaSeparated=A"},
        {"no query", "tessalyapp://allphotos"},
        {"no identifiers", std::string(kPrefix) + "&currentPosition=0"},
        {"only commas", std::string(kPrefix) + ",,,"},
        {"a query of SQL", std::string(kPrefix) + "%27%3B DROP TABLE assets--"},
        {"a NUL", std::string(kPrefix) + "A%00B"},
        {"a way out of a folder", std::string(kPrefix) + "../../etc/passwd"},
        {"an identifier without an end", std::string(kPrefix) + std::string(101, 'A')},
        {"a URL without an end", kPrefix + std::string(2 << 20, 'A')},
        {"a case that differs in a key", "tessalyapp://allphotos?PHASSETSLOCALIDCOMMASEPARATED=A"},
    };
    for (const auto& [why, url] : cases) EXPECT_FALSE(parseAppURL(url)) << why;
}

TEST(FileArgument, IsAPathOrAFileURL) {
    const std::string here = std::filesystem::current_path().string() + "/";
    const struct {
        const char* why;
        std::string argument;
        std::string path;  ///< "" for a fault.
    } cases[] = {
        {"absolute", "/x/a b%20.jpg", "/x/a b%20.jpg"},
        {"relative", "a.jpg", here + "a.jpg"},
        {"a name with a colon", "12:30.jpg", here + "12:30.jpg"},
        {"like a scheme", "file:a.jpg", here + "file:a.jpg"},
        {"spaces and umlauts", "file:///x/a%20b%C3%BC.jpg", "/x/a b\xC3\xBC.jpg"},
        {"bytes that are no UTF-8", "file:///x/%FF.jpg", "/x/\xFF.jpg"},
        {"what only looks encoded", "file:///x/100%.jpg", "/x/100%.jpg"},
        {"this machine", "file://localhost/x.jpg", "/x.jpg"},
        {"the short form", "FILE:/x.jpg", "/x.jpg"},
        {"another machine", "file://nas.example/x.jpg", ""},
        {"a NUL", "file:///x%00.jpg", ""},
        {"no path", "file://", ""},
        {"another kind", "https://example.org/x.jpg", ""},
        {"nothing", "", ""},
    };
    for (const auto& [why, argument, path] : cases) {
        const FileArgument file = fileOfArgument(argument);
        EXPECT_EQ(file.path, path) << why;
        EXPECT_EQ(file.fault.empty(), !path.empty()) << why;
    }
}

}  // namespace
}  // namespace tessaly::viewer
