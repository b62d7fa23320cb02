#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "DesktopFixture.h"
#include "linux/desktop/MimeTypes.h"
#include "linux/desktop/SharedFiles.h"

// Names of shared files, where they are saved, and how long those for other programs stay.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using desktop::SharedFile;
using desktop::SharedFiles;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

Data dataOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

TEST(SharedNames, AreOneVisibleComponentThatFits) {
    const std::string longName(300, 'x');
    const struct {
        const char* why;
        std::string name, safe;
    } kCases[] = {
        {"as it is", "IMG 1.JPG", "IMG 1.JPG"},
        {"any language", "Фото ✓.jpg", "Фото ✓.jpg"},
        {"no way out", "../../etc/passwd", "_.._etc_passwd"},
        {"not hidden", ".bashrc", "bashrc"},
        {"nothing but dots", "..", "Image.jpg"},
        {"empty", "", "Image.jpg"},
        {"control characters", "a\nb\x7F.jpg", "a_b_.jpg"},
        {"no UTF-8", "a\xFF\xC3.jpg", "a__.jpg"},
        {"trailing dots and spaces", "a.jpg. .", "a.jpg"},
        {"too long, the ending stays", longName + ".jpeg", std::string(226, 'x') + ".jpeg"},
        {"never half a character", std::string(226, 'x') + "é.jpg", std::string(226, 'x') + ".jpg"},
    };
    for (const auto& [why, name, safe] : kCases) EXPECT_EQ(desktop::safeFileName(name, "image/jpeg"), safe) << why;
    EXPECT_EQ(desktop::numberedName("a.b.jpg", 2), "a.b 2.jpg");
    EXPECT_EQ(desktop::numberedName("README", 12), "README 12");
    EXPECT_EQ(desktop::numberedName("a.jpg", 1), "a.jpg");
}

TEST(SharedTypes, ComeFromTheContent) {
    const std::pair<std::string_view, std::string_view> kCases[] = {
        {std::string_view("\0\0\0\x14"
                          "ftypqt  \0\0\0\0qt  ",
                          20),
         "video/quicktime"},
        {std::string_view("\0\0\0\x14"
                          "ftypisom\0\0\0\0mp42",
                          20),
         "video/mp4"},
        {"\x1A\x45\xDF\xA3", "video/x-matroska"},
        {"photo.jpg", "application/octet-stream"},
        {"", "application/octet-stream"},
    };
    for (const auto& [content, type] : kCases) EXPECT_EQ(desktop::mimeTypeOf(dataOf(content)), type);
    const std::string sample = contentOf(TESSALY_SAMPLE);
    EXPECT_EQ(desktop::mimeTypeOf(dataOf(sample)), "image/jpeg");
    EXPECT_EQ(desktop::mimeTypeOf(nullptr), "application/octet-stream");
}

TEST(SharedItems, AreFilesOrElseTheirText) {
    const std::vector<UIActivityItem> mixed{
        {dataOf("1"), "a.jpg"}, {"text", ""}, {Data(), "lost.jpg"}, {dataOf("2"), "b"}};
    EXPECT_THAT(desktop::filesOf(mixed), SizeIs(2));
    const std::vector<UIActivityItem> texts{{"one", ""}, {"", ""}, {"two", ""}};
    ASSERT_THAT(desktop::filesOf(texts), SizeIs(1));
    EXPECT_EQ(desktop::filesOf(texts).front().data->size(), std::string("one\n\ntwo").size());
    EXPECT_THAT(desktop::filesOf(std::vector<UIActivityItem>{{Data(), "lost.jpg"}}), IsEmpty());
}

TEST_F(DesktopTest, SavingReplacesNothing) {
    write("to/a.jpg", "mine");
    write("to/a 2.jpg", "mine, too");
    fs::create_symlink("nowhere", path("to/a 3.jpg"));
    const std::vector<SharedFile> files{{dataOf("1"), "a.jpg"}, {dataOf("2"), "a.jpg"}, {dataOf("3"), "b.jpg"}};
    const auto written = desktop::saveInFolder(files, path("to"));
    EXPECT_EQ(written.error, 0);
    EXPECT_THAT(written.paths, ElementsAre(path("to/a 4.jpg"), path("to/a 5.jpg"), path("to/b.jpg")));
    EXPECT_EQ(contentOf(path("to/a.jpg")), "mine");
    EXPECT_EQ(contentOf(path("to/a 5.jpg")), "2");
    EXPECT_FALSE(fs::exists(path("to/nowhere"))) << "a link leads nowhere";
}

TEST_F(DesktopTest, WhatTheUserAgreedToIsReplaced) {
    write("to/a.jpg", "old");
    const std::vector<SharedFile> files{{dataOf("new"), "other.jpg"}};
    const std::string chosen[] = {path("to/a.jpg")};
    EXPECT_THAT(desktop::saveToPaths(files, chosen).paths, ElementsAre(chosen[0]));
    EXPECT_EQ(contentOf(chosen[0]), "new");
    EXPECT_EQ(desktop::saveToPaths(files, {}).error, EINVAL);
}

/// Someone whom permissions hold, as the tests' own user may be root.
class Nobody {
public:
    Nobody() : changed_(::geteuid() == 0 && ::seteuid(65534) == 0) {}
    ~Nobody() {
        if (changed_) static_cast<void>(!::seteuid(0));
    }
    Nobody(const Nobody&) = delete;
    Nobody& operator=(const Nobody&) = delete;

private:
    bool changed_;
};

TEST_F(DesktopTest, AFolderThatDoesNotAllowItSaysSo) {
    fs::create_directory(path("to"));
    ::chmod(path("").c_str(), 0755);
    ::chmod(path("to").c_str(), 0555);
    const std::vector<SharedFile> files{{dataOf("1"), "a.jpg"}};
    {
        const Nobody user;
        EXPECT_EQ(desktop::saveInFolder(files, path("to")).error, EACCES);
    }
    EXPECT_EQ(desktop::saveInFolder(files, path("gone")).error, ENOENT);
    EXPECT_THAT(namesIn(path("to")), IsEmpty());
}

TEST_F(DesktopTest, WhenOneFileDoesNotFitNoneIsLeft) {
    fs::create_directory(path("to"));
    const std::vector<SharedFile> files{{dataOf("1"), "a.jpg"}, {dataOf(std::string(8192, 'x')), "b.jpg"}};
    struct rlimit before {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit small { 4096, before.rlim_max };
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto saved = desktop::saveInFolder(files, path("to"));
    SharedFiles shared;
    const auto written = shared.write(files);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(saved.error, EFBIG);
    EXPECT_THAT(saved.paths, IsEmpty());
    EXPECT_THAT(namesIn(path("to")), IsEmpty());
    EXPECT_EQ(written.error, EFBIG);
    EXPECT_EQ(shared.write(files).error, 0) << "later there is room";
}

mode_t modeOf(const fs::path& file) {
    struct stat facts {};
    return ::stat(file.c_str(), &facts) == 0 ? facts.st_mode & 07777U : 0;
}

TEST_F(DesktopTest, FilesForOthersArePrivateAndKeepTheirNames) {
    SharedFiles shared;
    const std::vector<SharedFile> files{{dataOf("1"), "a.jpg"}, {dataOf("2"), "a.jpg"}, {dataOf("3"), "Ä&$(b).jpg"}};
    const auto first = shared.write(files), second = shared.write(std::span(files).first(1));
    ASSERT_THAT(first.paths, SizeIs(3));
    EXPECT_EQ(fs::path(first.paths[0]).filename(), "a.jpg");
    EXPECT_EQ(fs::path(first.paths[1]).filename(), "a 2.jpg");
    EXPECT_EQ(fs::path(first.paths[2]).filename(), "Ä__(b).jpg") << "mail scripts read such signs";
    EXPECT_EQ(fs::path(second.paths.at(0)).filename(), "a.jpg");
    const fs::path call = fs::path(first.paths[0]).parent_path();
    EXPECT_THAT(call.string(), StartsWith(path("runtime/tessaly-shared-")));
    EXPECT_EQ(modeOf(call), 0700U);
    EXPECT_EQ(modeOf(call.parent_path()), 0700U);
    EXPECT_EQ(modeOf(first.paths[0]), 0400U) << "an editor has to ask where to save";
}

TEST_F(DesktopTest, WithoutASessionsFolderTheTemporaryOneServes) {
    set("XDG_RUNTIME_DIR", path("gone"));
    SharedFiles shared;
    const std::vector<SharedFile> files{{dataOf("1"), "a.jpg"}};
    EXPECT_THAT(shared.write(files).paths.at(0), StartsWith(path("tmp/tessaly-shared-")));
}

void makeOld(const fs::path& folder) {
    fs::last_write_time(folder, fs::file_time_type::clock::now() - std::chrono::hours(1));
}

TEST_F(DesktopTest, FilesForOthersGoOnceTheyHadTheirTime) {
    const std::vector<SharedFile> files{{dataOf("1"), "a.jpg"}};
    {
        SharedFiles shared;
        makeOld(fs::path(shared.write(files).paths.at(0)).parent_path().parent_path());
        SharedFiles::removeAbandoned();
        EXPECT_THAT(namesIn(path("runtime")), SizeIs(1)) << "a running program's stay, however old";
    }
    EXPECT_THAT(namesIn(path("runtime")), IsEmpty());
    {
        SharedFiles shared;
        ASSERT_EQ(shared.write(files).error, 0);
    }
    ASSERT_THAT(namesIn(path("runtime")), SizeIs(1)) << "whoever was started a moment ago still reads";
    SharedFiles::removeAbandoned();
    EXPECT_THAT(namesIn(path("runtime")), SizeIs(1));
    const std::string mine = path("runtime/") + namesIn(path("runtime")).at(0);
    makeOld(mine);
    // Nothing that only looks like it is touched.
    write("elsewhere/precious", "1");
    fs::create_directory_symlink(path("elsewhere"), mine + "link");
    fs::create_directory(path("runtime/other"));
    SharedFiles::removeAbandoned(0);
    EXPECT_THAT(namesIn(path("runtime")), ElementsAre("other", fs::path(mine + "link").filename().string()));
    EXPECT_TRUE(fs::exists(path("elsewhere/precious")));
}

}  // namespace
}  // namespace tessaly::test
