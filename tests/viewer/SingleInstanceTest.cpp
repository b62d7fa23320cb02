#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "support/TemporaryFolder.h"
#include "viewer/SingleInstance.h"

namespace tessaly::viewer {
namespace {

using namespace test;
using namespace std::chrono_literals;

/// What a listening program was told.
class Inbox {
public:
    [[nodiscard]] SingleInstance::Handler handler() {
        return [this](Handover handover) {
            const std::lock_guard lock(mutex_);
            all_.push_back(std::move(handover));
            arrived_.notify_all();
        };
    }
    std::vector<Handover> waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        arrived_.wait_for(lock, 5s, [&] { return all_.size() >= count; });
        return all_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Handover> all_;
};

int connectTo(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    const int connection = ::socket(AF_UNIX, SOCK_STREAM, 0);
    return ::connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? connection : -1;
}

TEST(SingleInstance, HandsOverToTheFirst) {
    const TemporaryFolder folder;
    Inbox inbox;
    SingleInstance first(folder.path().string());
    ASSERT_TRUE(first.listen(inbox.handler()));
    SingleInstance second(folder.path().string());
    EXPECT_FALSE(second.listen(inbox.handler()));
    const std::string url = "tessalyapp://allphotos?phAssetsLocalIDCommaSeparated=A&currentPosition=0";
    const std::string strange = "/x/new\nline \xFF.jpg";
    EXPECT_TRUE(second.handOver({{url, strange}, "token"}));
    EXPECT_TRUE(second.handOver({}));
    const auto all = inbox.waitFor(2);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].items, (std::vector{url, strange}));
    EXPECT_EQ(all[0].activationToken, "token");
    EXPECT_TRUE(all[1].items.empty()) << "only raises the window";
}

TEST(SingleInstance, SurvivesWhoSaysNothingOrTooMuch) {
    const TemporaryFolder folder;
    Inbox inbox;
    SingleInstance first(folder.path().string());
    ASSERT_TRUE(first.listen(inbox.handler()));
    const int silent = connectTo(folder.path() / "tessaly-viewer.socket");
    ASSERT_GE(silent, 0);
    const int endless = connectTo(folder.path() / "tessaly-viewer.socket");
    const std::string piece(1 << 16, 'x');
    std::size_t sent = 0;
    while (::send(endless, piece.data(), piece.size(), MSG_NOSIGNAL) > 0) sent += piece.size();
    EXPECT_LT(sent, 16U << 20);
    EXPECT_TRUE(SingleInstance(folder.path().string()).handOver({{"/a.jpg"}, ""}));
    EXPECT_EQ(inbox.waitFor(1).size(), 1U);
    ::close(silent);
    ::close(endless);
}

TEST(SingleInstance, IsNotInTheWayOfTheNext) {
    const TemporaryFolder folder;
    const std::string place = folder.path().string();
    Inbox inbox;
    { EXPECT_TRUE(SingleInstance(place).listen(inbox.handler())) << "and ends"; }
    const pid_t killed = ::fork();
    if (killed == 0) {
        SingleInstance other(place);
        const bool listens = other.listen([](Handover) {});
        ::kill(::getpid(), listens ? SIGKILL : SIGTERM);
    }
    int status = 0;
    ::waitpid(killed, &status, 0);
    ASSERT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "tessaly-viewer.socket")) << "it could not tidy up";
    SingleInstance next(place);
    EXPECT_TRUE(next.listen(inbox.handler()));
    EXPECT_TRUE(SingleInstance(place).handOver({}));
}

TEST(SingleInstance, IsAloneWithoutAPlace) {
    for (const std::string& place : {std::string(), std::string("/no/such/folder"), "/tmp/" + std::string(200, 'x')}) {
        SingleInstance alone(place);
        EXPECT_FALSE(alone.listen([](const Handover&) {})) << place;
        EXPECT_FALSE(alone.handOver({})) << place;
    }
}

TEST(Handover, ComesBackAsItWas) {
    const Handover all{{"a", "b c"}, "t"};
    EXPECT_EQ(decodedHandover(encoded(all)).items, all.items);
    for (const std::string& bytes :
         {std::string(), std::string("no end"), std::string("\0", 1), std::string("\0\0\0", 3)})
        EXPECT_TRUE(decodedHandover(bytes).items.empty());
}

}  // namespace
}  // namespace tessaly::viewer
