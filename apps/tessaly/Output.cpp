#include "Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Utf8.h"

namespace tessaly::cli {
namespace {

constexpr std::size_t kPiece = 64 * 1024;
constexpr std::size_t kManyFiles = 20;  // Fewer are done before anybody could read a progress line.

bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno == EPIPE) std::_Exit(0);
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

Output& Output::standard() {
    static Output output;
    return output;
}

Output& Output::operator<<(std::string_view text) {
    gathered_ += text;
    if (gathered_.size() >= kPiece) flush();
    return *this;
}

bool Output::flush() {
    if (!failed_ && !writeAll(STDOUT_FILENO, gathered_)) {
        complain(std::string("standard output: ") + std::strerror(errno));
        failed_ = true;
    }
    gathered_.clear();
    return !failed_;
}

void complain(std::string_view path, std::string_view what) {
    std::string line = "tessaly: ";
    if (!path.empty()) line.append(escaped(path)).append(": ");
    line.append(escaped(what)).append("\n");
    writeAll(STDERR_FILENO, line);
}

void complain(std::string_view what) { complain({}, what); }

bool isTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

std::size_t terminalWidth() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}

bool wantsColour() {
    const char* term = std::getenv("TERM");
    return isTerminal() && !std::getenv("NO_COLOR") && term && std::string_view(term) != "dumb";
}

StatusLine::StatusLine() : isShown_(::isatty(STDERR_FILENO) == 1) {}

void StatusLine::show(const std::string& text) {
    constexpr std::chrono::milliseconds kPause{100};
    const auto now = std::chrono::steady_clock::now();
    if (!isShown_ || now < next_) return;
    next_ = now + kPause;
    isDirty_ = true;
    writeAll(STDERR_FILENO, "\r\x1b[K" + escaped(text));
}

StatusLine::~StatusLine() {
    if (isDirty_) writeAll(STDERR_FILENO, "\r\x1b[K");
}

Progress::Progress(std::size_t total)
    : total_(total), shown_(total >= kManyFiles && ::isatty(STDERR_FILENO) == 1 && !isTerminal()) {}

void Progress::advance() {
    ++done_;
    if (shown_ && (done_ % 16 == 0 || done_ == total_))
        writeAll(STDERR_FILENO, "\r" + std::to_string(done_) + " of " + std::to_string(total_));
}

Progress::~Progress() {
    if (shown_) writeAll(STDERR_FILENO, "\r\x1b[K");
}

}  // namespace tessaly::cli
