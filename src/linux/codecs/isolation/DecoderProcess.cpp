#include "linux/codecs/isolation/DecoderProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <future>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "linux/foundation/Module.h"
#include "platform/Foundation/Log.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace tessaly::codecs {
namespace {

constexpr const char* kProgram = "tessaly-decoder";
/// Where the decoder finds its end of the channel.
constexpr int kOrdersPlace = 3;

struct Registry {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<DecoderProcess>, std::less<>> processes;
};

Registry& registry() {
    static auto* const all = new Registry;  // Threads that outlive main() may still ask.
    return *all;
}

/// Whatever secrets the environment holds are none of the decoder's business.
std::vector<char*> environment() {
    constexpr std::array<std::string_view, 7> kPassed{
        "LD_LIBRARY_PATH=", "LIBHEIF_PLUGIN_PATH=", "TESSALY_LOG=", "ASAN_OPTIONS=",
        "LSAN_OPTIONS=",    "UBSAN_OPTIONS=",       "TSAN_OPTIONS="};
    std::vector<char*> passed;
    for (char** variable = environ; *variable; ++variable)
        for (const std::string_view name : kPassed)
            if (std::string_view(*variable).starts_with(name)) passed.push_back(*variable);
    passed.push_back(nullptr);
    return passed;
}

struct SpawnActions {
    SpawnActions() { ::posix_spawn_file_actions_init(&actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions); }
    posix_spawn_file_actions_t actions{};
};

/// @return an error number.
int spawn(const std::string& path, const std::string& family, int orders, pid_t& process) {
    SpawnActions files;
    ::posix_spawn_file_actions_addopen(&files.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&files.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    // A decoder that a file took over is not to write on a terminal. Sanitizers and people who look for faults are.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    if (!isLogging()) ::posix_spawn_file_actions_addopen(&files.actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
#endif
    ::posix_spawn_file_actions_adddup2(&files.actions, orders, kOrdersPlace);
    std::array<char*, 3> arguments{const_cast<char*>(kProgram), const_cast<char*>(family.c_str()), nullptr};
    return ::posix_spawn(&process, path.c_str(), &files.actions, nullptr, arguments.data(), environment().data());
}

void spawnAndWait(const std::string& path, const std::string& family, int orders, std::promise<pid_t> started) {
    pid_t process = -1;
    if (const int error = spawn(path, family, orders, process); error != 0) {
        log("%@ %@: %@", path, family, std::strerror(error));
        return started.set_value(-1);
    }
    started.set_value(process);
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    log("%@ %@ (%ld) ended, %@ %ld", kProgram, family, static_cast<long>(process),
        WIFSIGNALED(status) ? "signal" : "status",
        static_cast<long>(WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status)));
}

}  // namespace

std::shared_ptr<DecoderProcess> DecoderProcess::start(const std::string& family) {
    const std::string path = moduleFile(kProgram);
    if (path.empty()) {
        log("%@: not installed", kProgram);
        return nullptr;
    }
    Channel channel = Channel::open();
    if (!channel.one) return nullptr;
    // A process ends with the thread that started it, as it asked to: this one stays to take its end.
    std::promise<pid_t> started;
    std::future<pid_t> process = started.get_future();
    std::thread(&spawnAndWait, path, family, channel.other.get(), std::move(started)).detach();
    const pid_t number = process.get();
    if (number < 0) return nullptr;
    log("%@ %@ (%ld) started", kProgram, family, static_cast<long>(number));
    return std::make_shared<DecoderProcess>(family, number, std::move(channel.one));
}

std::shared_ptr<DecoderProcess> DecoderProcess::running(std::string_view family) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const auto known = all.processes.find(family);
    if (known != all.processes.end() && !known->second->isGone()) return known->second;
    auto process = start(std::string(family));
    all.processes.insert_or_assign(std::string(family), process);
    if (!process) all.processes.erase(std::string(family));
    return process;
}

void DecoderProcess::forget() {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const auto known = all.processes.find(family_);
    if (known != all.processes.end() && known->second.get() == this) all.processes.erase(known);
}

bool DecoderProcess::isGone() const {
    pollfd watched{orders_.get(), 0, 0};
    return ::poll(&watched, 1, 0) > 0 && (watched.revents & (POLLHUP | POLLERR)) != 0;
}

bool DecoderProcess::waitForIsolation(Isolation& isolation, std::chrono::milliseconds time) const {
    return waitFor(orders_.get(), time) && receive(orders_.get(), isolation) == Received::message &&
           isolation.version == kOrderVersion;
}

}  // namespace tessaly::codecs
