#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "linux/foundation/Trash.h"
#include "support/TemporaryFolder.h"

namespace tessaly {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::TemporaryFolder;

/// A folder with photos and, beside it, the user's data.
class Trashing : public testing::Test {
protected:
    Trashing() { ::setenv("XDG_DATA_HOME", (folder_.path() / "data").c_str(), 1); }
    ~Trashing() override { ::unsetenv("XDG_DATA_HOME"); }

    [[nodiscard]] fs::path trash() const { return folder_.path() / "data/Trash"; }

    TemporaryFolder folder_;
    int error_ = 0;
};

/// The value of a line of an info file.
std::string valueOf(const std::string& info, const std::string& key) {
    const std::string content = contentOf(info);
    EXPECT_TRUE(content.starts_with("[Trash Info]\n")) << content;
    const auto at = content.find("\n" + key + "=");
    if (at == std::string::npos) return {};
    const auto start = at + key.size() + 2;
    return content.substr(start, content.find('\n', start) - start);
}

std::size_t countIn(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST_F(Trashing, TakesFilesOfAnyNameThereAndBack) {
    std::string accents;
    std::string encodedAccents;
    for (int i = 0; i < 120; ++i) {
        accents += "é";
        encodedAccents += "%C3%A9";
    }
    struct Case {
        std::string name;
        std::string encoded;
        std::string inTrash;
    };
    const std::vector<Case> cases{
        {"lake.jpg", "lake.jpg", "lake.jpg"},
        {"a b%=\n[x].jpg", "a%20b%25=%0A%5Bx%5D.jpg", "a b%=\n[x].jpg"},
        {"Zürich \xFF.jpg", "Z%C3%BCrich%20%FF.jpg", "Zürich \xFF.jpg"},
        {".hidden", ".hidden", ".hidden"},
        {"x" + accents + ".jpeg", "x" + encodedAccents + ".jpeg", "x" + accents.substr(0, 238) + ".jpeg"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const std::string path = folder_.write("photos/" + each.name, "photo");
        const auto trashed = moveToTrash(path, error_);
        ASSERT_TRUE(trashed) << error_;
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(trashed->path, trash() / "files" / each.inTrash);
        EXPECT_EQ(trashed->info, trash() / "info" / (each.inTrash + ".trashinfo"));
        EXPECT_EQ(valueOf(trashed->info, "Path"), (folder_.path() / "photos" / each.encoded).string());
        EXPECT_TRUE(restoreFromTrash(*trashed, path, error_)) << error_;
        EXPECT_EQ(contentOf(path), "photo");
        EXPECT_EQ(countIn(trash() / "files") + countIn(trash() / "info"), 0U);
    }
    EXPECT_EQ(fs::status(trash()).permissions(), fs::perms::owner_all);
}

TEST_F(Trashing, TakesLinksAndFoldersThemselves) {
    folder_.write("photos/lake.jpg", "photo");
    folder_.write("trip/day 1/lake.jpg", "photo");
    fs::create_symlink("lake.jpg", folder_.path() / "photos/link");
    fs::create_symlink("nowhere", folder_.path() / "photos/dangling");
    fs::create_symlink("photos", folder_.path() / "elsewhere");
    const std::string here = folder_.path().string();
    const std::vector<std::array<std::string, 2>> cases{
        {here + "/photos/link", here + "/photos/link"},
        {here + "/elsewhere/dangling", here + "/photos/dangling"},
        {here + "/trip/", here + "/trip"},
        {here + "/elsewhere/", here + "/elsewhere"},
    };
    for (const auto& [path, original] : cases) {
        const auto trashed = moveToTrash(path, error_);
        ASSERT_TRUE(trashed) << path << error_;
        EXPECT_EQ(valueOf(trashed->info, "Path"), original);
        EXPECT_FALSE(fs::exists(fs::symlink_status(original))) << path;
    }
    EXPECT_EQ(fs::read_symlink(trash() / "files/dangling"), "nowhere");
    EXPECT_EQ(contentOf(trash() / "files/trip/day 1/lake.jpg"), "photo");
    EXPECT_EQ(contentOf(folder_.path() / "photos/lake.jpg"), "photo") << "what a link leads to stays";
}

TEST_F(Trashing, GivesEveryFileANameOfItsOwn) {
    const std::vector<std::string> names{"lake.jpg", "lake 2.jpg", "lake 3.jpg", "lake 5.jpg", "lake 6.jpg"};
    folder_.write("data/Trash/files/lake 4.jpg", "a file that has lost its info");
    folder_.write("data/Trash/info/lake 7.jpg.trashinfo", "an info that has lost its file");
    for (const std::string& name : names) {
        const auto trashed = moveToTrash(folder_.write("photos/lake.jpg", name), error_);
        ASSERT_TRUE(trashed) << error_;
        EXPECT_EQ(trashed->path, trash() / "files" / name);
    }
    for (const std::string& name : names) EXPECT_EQ(contentOf(trash() / "files" / name), name);
    EXPECT_EQ(contentOf(trash() / "files/lake 4.jpg"), "a file that has lost its info");
    EXPECT_FALSE(fs::exists(trash() / "info/lake 4.jpg.trashinfo"));
    const auto last = moveToTrash(folder_.write("photos/lake.jpg", ""), error_);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->path, trash() / "files/lake 8.jpg");
}

TEST_F(Trashing, SaysWhenInLocalTime) {
    ::setenv("TZ", "NPT-05:45", 1);
    ::tzset();
    const std::time_t before = std::time(nullptr);
    const auto trashed = moveToTrash(folder_.write("lake.jpg", "photo"), error_);
    const std::time_t after = std::time(nullptr);
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    ASSERT_TRUE(trashed);
    std::tm time{};
    const std::string date = valueOf(trashed->info, "DeletionDate");
    const char* end = ::strptime(date.c_str(), "%Y-%m-%dT%H:%M:%S", &time);
    ASSERT_TRUE(end && *end == '\0' && date.size() == 19) << date;
    const std::time_t told = ::timegm(&time) - (5 * 60 + 45) * 60;
    EXPECT_TRUE(before <= told && told <= after) << date;
}

TEST_F(Trashing, LeavesEverythingAfterAFailure) {
    folder_.write("photos/lake.jpg", "photo");
    const std::string here = folder_.path().string();
    struct Case {
        std::string path;
        int error;
    };
    const std::vector<Case> cases{
        {here + "/photos/missing.jpg", ENOENT},
        {here + "/missing/lake.jpg", ENOENT},
        {here + "/photos/..", EINVAL},
        {"", EINVAL},
        {"/", EINVAL},
    };
    for (const Case& each : cases) {
        EXPECT_FALSE(moveToTrash(each.path, error_)) << each.path;
        EXPECT_EQ(error_, each.error) << each.path;
    }
    // The trash cannot go into itself; by then its info file has been written.
    fs::create_directory(here + "/data");
    EXPECT_FALSE(moveToTrash(here + "/data", error_));
    EXPECT_NE(error_, 0);
    EXPECT_EQ(countIn(trash() / "info") + countIn(trash() / "files"), 0U);
    EXPECT_TRUE(fs::exists(here + "/photos/lake.jpg"));
}

TEST_F(Trashing, RestoresOverNothing) {
    const std::string path = folder_.write("photos/lake.jpg", "older");
    const auto trashed = moveToTrash(path, error_);
    ASSERT_TRUE(trashed);
    folder_.write("photos/lake.jpg", "newer");
    EXPECT_FALSE(restoreFromTrash(*trashed, path, error_));
    EXPECT_EQ(error_, EEXIST);
    EXPECT_EQ(contentOf(path), "newer");
    EXPECT_TRUE(fs::exists(trashed->info));
    EXPECT_FALSE(restoreFromTrash(*trashed, (folder_.path() / "gone/lake.jpg").string(), error_));
    EXPECT_EQ(error_, ENOENT);
    EXPECT_EQ(contentOf(trashed->path), "older");
}

bool writeTo(const char* path, const std::string& text) {
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    const bool isWritten = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(file);
    return isWritten;
}

std::string mapOf(unsigned id) { return std::to_string(id) + " " + std::to_string(id) + " 1"; }

/// A memory file system at `folder`, for this process only, and without any right that the user does not have.
bool mountAt(const fs::path& folder) {
    const std::string user = mapOf(::getuid());
    const std::string group = mapOf(::getgid());
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && writeTo("/proc/self/setgroups", "deny") &&
           writeTo("/proc/self/uid_map", user) && writeTo("/proc/self/gid_map", group) &&
           ::mount("none", folder.c_str(), "tmpfs", 0, nullptr) == 0;
}

/// As a file system would that cannot rename without replacing.
bool renameSimply() {
    std::array<sock_filter, 4> program{{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_renameat2, 0, 1),
                                        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
                                        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)}};
    const sock_fprog filter{program.size(), program.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

constexpr int kCannotPrepare = 77;

/// Checks in a process of its own, so that what is prepared is gone with it. @return its exit status.
int inAnotherProcess(const std::function<bool()>& prepare, const std::function<void()>& check) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (!prepare()) ::_exit(kCannotPrepare);
        try {
            check();
        } catch (const std::exception& fault) {
            ADD_FAILURE() << fault.what();
        }
        std::cout.flush();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST_F(Trashing, ReplacesNothingWhereRenamingWould) {
    const int status = inAnotherProcess(renameSimply, [this] {
        folder_.write("data/Trash/files/lake.jpg", "a file that has lost its info");
        const std::string path = folder_.write("photos/lake.jpg", "photo");
        const auto trashed = moveToTrash(path, error_);
        ASSERT_TRUE(trashed) << error_;
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(contentOf(trash() / "files/lake.jpg"), "a file that has lost its info");
        folder_.write("photos/lake.jpg", "newer");
        EXPECT_FALSE(restoreFromTrash(*trashed, path, error_));
        EXPECT_EQ(error_, EEXIST);
        EXPECT_EQ(contentOf(path), "newer");
        fs::remove(path);
        EXPECT_TRUE(restoreFromTrash(*trashed, path, error_)) << error_;
        EXPECT_EQ(contentOf(path), "photo");
        EXPECT_FALSE(fs::exists(trashed->path));
    });
    if (status == kCannotPrepare) GTEST_SKIP() << "no system call can be refused here";
    EXPECT_EQ(status, 0);
}

TEST_F(Trashing, StaysOnTheFileSystem) {
    const fs::path card = folder_.path() / "card";
    const std::string user = std::to_string(::getuid());
    struct Case {
        std::string what;
        std::string trash;  // "": there is none to be trusted.
        std::function<void()> prepare;
    };
    const std::vector<Case> cases{
        {"an empty card", ".Trash-" + user, [] {}},
        {"one for all", ".Trash/" + user,
         [&] {
             fs::create_directory(card / ".Trash");
             ::chmod((card / ".Trash").c_str(), 01777);
         }},
        {"one that anybody can empty", ".Trash-" + user,
         [&] {
             fs::create_directory(card / ".Trash");
             ::chmod((card / ".Trash").c_str(), 0777);
         }},
        {"one that leads away", ".Trash-" + user,
         [&] {
             fs::create_directory(card / "away");
             ::chmod((card / "away").c_str(), 01777);
             fs::create_symlink("away", card / ".Trash");
         }},
        {"our own that leads away", "",
         [&] {
             fs::create_directory(card / "away");
             fs::create_symlink("away", card / (".Trash-" + user));
         }},
        {"a file in its place", "", [&] { folder_.write("card/.Trash-" + user, "file"); }},
    };
    fs::create_directory(card);
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        const int status =
            inAnotherProcess([&] { return mountAt(card); },
                             [&] {
                                 each.prepare();
                                 const std::string path = folder_.write("card/DCIM/a b/lake.jpg", "photo");
                                 const auto trashed = moveToTrash(path, error_);
                                 ASSERT_EQ(trashed.has_value(), !each.trash.empty()) << error_;
                                 EXPECT_EQ(contentOf(trashed ? trashed->path : path), "photo");
                                 if (!trashed) return;
                                 EXPECT_EQ(trashed->path, card / each.trash / "files/lake.jpg");
                                 EXPECT_EQ(valueOf(trashed->info, "Path"), "DCIM/a%20b/lake.jpg");
                                 EXPECT_EQ(fs::status(card / each.trash).permissions(), fs::perms::owner_all);
                                 EXPECT_TRUE(restoreFromTrash(*trashed, path, error_));
                             });
        if (status == kCannotPrepare) GTEST_SKIP() << "no file system can be mounted here";
        EXPECT_EQ(status, 0);
    }
    EXPECT_FALSE(fs::exists(trash())) << "nobody needs the one at home";
}

}  // namespace
}  // namespace tessaly
