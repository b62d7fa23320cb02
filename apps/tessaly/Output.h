#pragma once
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace tessaly::cli {

/// Standard output, gathered and written in large pieces. A reader that has gone away (EPIPE) ends the program quietly;
/// any other failure, such as a full disk, is remembered and told at the end.
class Output {
public:
    static Output& standard();
    Output& operator<<(std::string_view text);
    /// Writes what is gathered. False when anything could not be written.
    bool flush();

private:
    std::string gathered_;
    bool failed_ = false;
};

/// "tessaly: PATH: what is wrong" on standard error.
void complain(std::string_view path, std::string_view what);
void complain(std::string_view what);

/// Whether standard output is a terminal, its width in columns, and whether colours are wanted there (NO_COLOR unset).
[[nodiscard]] bool isTerminal();
[[nodiscard]] std::size_t terminalWidth();
[[nodiscard]] bool wantsColour();

/// A line on a terminal's standard error that each text overwrites, a few times a second at most, and that is gone in
/// the end; nothing elsewhere.
class StatusLine {
public:
    StatusLine();
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;
    void show(const std::string& text);

private:
    bool isShown_;
    bool isDirty_ = false;
    std::chrono::steady_clock::time_point next_;
};

/// One line on a terminal's standard error that is overwritten while work goes on; nothing elsewhere.
class Progress {
public:
    explicit Progress(std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void advance();

private:
    std::size_t total_;
    std::size_t done_ = 0;
    bool shown_;
};

}  // namespace tessaly::cli
