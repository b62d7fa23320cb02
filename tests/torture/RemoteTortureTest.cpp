#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>

#include "KilledChild.h"
#include "LibraryWork.h"
#include "Photographs.h"
#include "linux/photos/PhotoLibrary.h"
#include "support/TemporaryFolder.h"
#include "support/WebServer.h"

// A library whose photos are on a server, where they are renamed, and that is
// killed while it fetches them.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using Kind = LibraryTask::Kind;

constexpr std::uint64_t kSeeds = 5;  // A scan over the network takes its time.
constexpr std::size_t kSteps = 12;
constexpr std::size_t kNames = 7;

class RemoteTorture : public testing::Test {
protected:
    RemoteTorture() {
        void* memory =
            ::mmap(nullptr, sizeof(LibraryReport), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        report_ = new (memory) LibraryReport();
    }
    ~RemoteTorture() override { ::munmap(report_, sizeof(LibraryReport)); }

    void SetUp() override {
        if (!WebServer::hasWebDav()) GTEST_SKIP() << "there is no web server with WebDAV";
        if (!canTraceChildren()) GTEST_SKIP() << "this system does not let a child be traced";
        server_ = std::make_unique<WebServer>("location /photos/ { dav_ext_methods PROPFIND OPTIONS; }");
    }

    [[nodiscard]] std::string local(const std::string& name) const { return (folder_.path() / name).string(); }
    [[nodiscard]] std::set<std::string> names() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(server_->file("photos")))
            names.insert(entry.path().filename().string());
        return names;
    }
    [[nodiscard]] std::string at(const std::string& name) const { return server_->file("photos/" + name).string(); }
    [[nodiscard]] int photoAt(const std::string& name) const { return photoIn(contentOf(at(name))).value_or(0); }

    void put(const std::string& name, const std::string& content) {
        server_->add("photos/" + name, content);
        const timespec times[2] = {{second_, 0}, {second_, 0}};
        ++second_;
        ::utimensat(AT_FDCWD, at(name).c_str(), times, 0);
    }

    void begin(std::uint64_t seed) {
        random_ = Decisions(seed);
        favorites_.clear();
        doubtful_.clear();
        steps_ = "seed " + std::to_string(seed) + "\n";
        for (const char* name : {"library", "cloud"}) fs::remove_all(local(name));
        fs::remove_all(server_->file("photos"));
        fs::create_directories(server_->file("photos"));
        for (int i = 1; i < 5; ++i) put(std::to_string(i) + ".jpg", photographs_.take());
        const auto end = runChild([this] {
            std::string error;
            const auto library = photos::PhotoLibrary::open(local("library"), error);
            if (!library || !library->addFolder(local("cloud"), server_->url("/photos")).empty()) ::_exit(1);
        });
        ASSERT_EQ(end.status, 0);
    }

    /// Somebody else's doing, on the server.
    void changeServer() {
        const std::set<std::string> all = names();
        const auto some = [&] {
            return all.empty() ? std::string() : *std::next(all.begin(), static_cast<long>(random_.below(all.size())));
        };
        const std::string one = some(), other = some(), free = std::to_string(1 + random_.below(kNames)) + ".jpg";
        const std::size_t kind = random_.below(6);
        if (kind == 0 && !all.contains(free)) {
            put(free, photographs_.take());
            steps_ += "  new " + free + "\n";
        } else if (kind <= 2 && !one.empty() && !all.contains(free)) {
            fs::rename(at(one), at(free));
            steps_ += "  rename " + one + " to " + free + "\n";
        } else if (kind == 3 && one != other) {
            ::renameat2(AT_FDCWD, at(one).c_str(), AT_FDCWD, at(other).c_str(), RENAME_EXCHANGE);
            steps_ += "  swap " + one + " and " + other + "\n";
        } else if (kind == 4 && !one.empty()) {
            doubtful_.insert(photoAt(one));
            put(one, photographs_.take());
            doubtful_.insert(photoAt(one));
            steps_ += "  other content of " + one + "\n";
        } else if (kind == 5 && all.size() > 2) {
            doubtful_.insert(photoAt(one));
            fs::remove(at(one));
            steps_ += "  delete " + one + "\n";
        }
    }

    bool doTask(Kind kind, bool mayBeKilled) {
        LibraryTask task;
        task.kind = kind;
        task.choice = random_.below(100);
        *report_ = LibraryReport();
        std::optional<std::size_t> killAt;
        if (mayBeKilled && random_.percent(50)) killAt = 1 + random_.below(random_.percent(50) ? 40 : 200);
        const ChildEnd end = runChild([&] { work(local("library"), task, *report_); }, killAt);
        steps_ += std::string("  library: ") + test::nameOf(kind) + (end.isKilled ? " KILLED" : "") + " " +
                  report_->error + "\n";
        EXPECT_TRUE(end.isKilled || end.status == 0) << end.status;
        EXPECT_STREQ(report_->opening, "");
        if (!end.isKilled) {
            EXPECT_TRUE(report_->isWhole);
        }
        return !end.isKilled;
    }

    /// Every photo on the server has an asset, with the mark that it was given;
    /// nothing is half done.
    void check() {
        std::map<std::string, int> assets;
        for (std::size_t i = 0; i < report_->assetCount; ++i) {
            const auto& asset = report_->assets[i];
            std::string name(asset.path);
            if (name.empty()) continue;
            name = name.starts_with("cloud:") ? name.substr(6) : fs::path(name).filename().string();
            ++assets[name];
            const int photo = photoAt(name);
            if (!doubtful_.contains(photo)) {
                EXPECT_EQ(asset.favorite, favorites_.contains(photo)) << name;
            }
        }
        for (const std::string& name : names()) EXPECT_EQ(assets[name], 1) << name;
        doTask(Kind::open, false);
        for (const char* folder : {"library/pending", "cloud"})
            for (const auto& entry : fs::directory_iterator(local(folder)))
                EXPECT_TRUE(std::string_view(folder) == "cloud" && entry.path().filename().string()[0] != '.')
                    << entry.path();
    }

    void favor() {
        if (!doTask(Kind::favorite, false) || !report_->isDone) return;
        const std::string before(report_->targets[0].before);
        const std::string name = before.starts_with("cloud:") ? before.substr(6) : fs::path(before).filename().string();
        // The mark is that of the photo that the last scan saw there.
        const auto shown = shown_.find(report_->targets[0].id);
        if (shown == shown_.end()) return;
        favorites_.insert(shown->second);
        if (!fs::exists(at(name)) || photoAt(name) != shown->second) doubtful_.insert({photoAt(name), shown->second});
    }

    bool scan(bool mayBeKilled) {
        if (!doTask(Kind::scan, mayBeKilled)) return false;
        shown_.clear();
        for (std::size_t i = 0; i < report_->assetCount; ++i) {
            const std::string path(report_->assets[i].path);
            if (path.empty()) continue;
            shown_[report_->assets[i].id] =
                photoAt(path.starts_with("cloud:") ? path.substr(6) : fs::path(path).filename().string());
        }
        check();
        return true;
    }

    TemporaryFolder folder_;
    std::unique_ptr<WebServer> server_;
    Decisions random_{0};
    Photographs photographs_{false};
    LibraryReport* report_;  ///< Shared with the children.
    std::set<int> favorites_, doubtful_;
    std::map<std::string, int> shown_;  ///< Photos by the assets of the last whole scan.
    std::string steps_;
    std::int64_t second_ = 1'600'000'000;
};

TEST_F(RemoteTorture, RenamesAreFollowedAndNoDownloadIsLeftBehind) {
    for (std::uint64_t seed = 1; seed <= kSeeds && !HasFailure(); ++seed) {
        begin(seed);
        scan(false);
        for (std::size_t step = 0; step < kSteps && !HasFailure(); ++step) {
            const std::size_t kind = random_.below(10);
            if (kind < 5) changeServer();
            if (kind == 5) favor();
            if (kind == 6) doTask(Kind::fetch, true);
            if (kind > 6) scan(true);
        }
        if (!HasFailure()) scan(false);
        if (HasFailure()) ADD_FAILURE() << steps_;
    }
}

}  // namespace
}  // namespace tessaly::test
