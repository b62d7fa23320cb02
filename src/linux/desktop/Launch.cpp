#include "linux/desktop/Launch.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "linux/desktop/SearchPath.h"

namespace tessaly::desktop {
namespace {

constexpr const char* kMailProgram = "xdg-email";

void retryRead(int file, int& error) {
    ssize_t count = 0;
    do count = ::read(file, &error, sizeof error);
    while (count < 0 && errno == EINTR);
    // The pipe closes with nothing in it when the program has taken over.
    if (count != static_cast<ssize_t>(sizeof error)) error = 0;
}

void waitFor(pid_t child) {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

/// What the two children do; everything they need was made before, for between fork and exec of a program with threads
/// hardly anything is allowed.
struct Start {
    const char* program;
    const char* folder;
    char* const* arguments;
    int report;

    [[noreturn]] void fail() const {
        const int error = errno;
        static_cast<void>(!::write(report, &error, sizeof error));
        ::_exit(127);
    }

    [[noreturn]] void run() const {
        ::setsid();
        // The child of a child that ends at once belongs to the system: nobody here has to wait for it.
        const pid_t grandchild = ::fork();
        if (grandchild < 0) fail();
        if (grandchild > 0) ::_exit(0);
        for (int signal = 1; signal < NSIG; ++signal) ::signal(signal, SIG_DFL);
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        for (int standard = 0; nothing >= 0 && standard <= 2; ++standard) ::dup2(nothing, standard);
        ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        if (::chdir(folder) != 0) static_cast<void>(!::chdir("/"));
        ::execv(program, arguments);
        fail();
    }
};

}  // namespace

int launchDetached(const std::vector<std::string>& arguments, const std::string& workingFolder) {
    if (arguments.empty()) return ENOENT;
    const std::string program = SearchPath::fromEnvironment().programNamed(arguments.front());
    if (program.empty()) return ENOENT;
    const std::string folder = workingFolder.empty() ? homeFolder() : workingFolder;
    std::vector<char*> words;
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) return errno;
    const Start start{program.c_str(), folder.c_str(), words.data(), report[1]};
    const pid_t child = ::fork();
    if (child == 0) start.run();
    int error = child < 0 ? errno : 0;
    ::close(report[1]);
    if (child > 0) {
        waitFor(child);
        retryRead(report[0], error);
    }
    ::close(report[0]);
    return error;
}

std::vector<std::string> mailCommand(const std::vector<std::string>& attachments, const std::string& body) {
    std::vector<std::string> command{kMailProgram, "--utf8"};
    if (!body.empty()) command.insert(command.end(), {"--body", body});
    for (const std::string& path : attachments) command.insert(command.end(), {"--attach", path});
    return command;
}

bool canMail() { return !SearchPath::fromEnvironment().programNamed(kMailProgram).empty(); }

}  // namespace tessaly::desktop
