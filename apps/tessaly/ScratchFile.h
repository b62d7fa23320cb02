#pragma once
#include <string>

namespace tessaly::cli {

/// A file without a name, in the folder for temporary files, that is gone with this object.
class ScratchFile {
public:
    ScratchFile();
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    /// "" or why there is none.
    [[nodiscard]] const std::string& fault() const noexcept { return fault_; }
    [[nodiscard]] int descriptor() const noexcept { return file_; }
    /// A name under which this process can open it.
    [[nodiscard]] std::string path() const;

    /// Fills it with what can be read from an open file, which may be a pipe. @return "" or what went wrong.
    [[nodiscard]] std::string readFrom(int source);
    /// Writes all of it to an open file. @return "" or what went wrong.
    [[nodiscard]] std::string writeTo(int target) const;

private:
    int file_ = -1;
    std::string fault_;
};

/// Whether an argument means bytes that can be read only once: "-", standard input under its other names, a pipe that
/// has a name, what a shell puts in the place of "<(command)".
[[nodiscard]] bool isPiped(const std::string& argument);

/// Reads all of such an argument. @return "" or what went wrong; a terminal and nothing at all are wrong.
[[nodiscard]] std::string readPiped(const std::string& argument, ScratchFile& into);

}  // namespace tessaly::cli
