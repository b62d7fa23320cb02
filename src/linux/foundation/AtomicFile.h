#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "linux/foundation/FileExchange.h"

namespace tessaly {

/// A file that is either there whole or not at all. It is written without a name, or under a temporary one in the same
/// folder, and takes its place by one step of the file system after its bytes are on the disk: whoever is killed, or
/// loses power, on the way leaves what was there before.
class AtomicFile {
public:
    enum class Existing : std::uint8_t { kept, replaced };

    /// Begins a file that will be `path` (a symbolic link is followed). nullopt, with errno, when the folder does not
    /// allow it.
    static std::optional<AtomicFile> create(const std::string& path);

    AtomicFile(AtomicFile&& other) noexcept;
    AtomicFile& operator=(AtomicFile&&) = delete;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();

    /// Each returns false, with errno, when it fails: a full disk, a quota.
    bool write(std::span<const std::byte> bytes);
    /// `length` bytes of the file `source` from `offset` on, without passing them through this program where the file
    /// system can.
    bool copyFrom(int source, std::uint64_t offset, std::uint64_t length);
    /// Mode, extended attributes and, where allowed, owner of the open file `source`; with `times` its times as well.
    bool adopt(int source, bool times);
    /// Puts the file in its place. EEXIST when there is one that is to be kept.
    bool commit(Existing existing);
    /// Puts it in the place of a file that is still the one that is expected. Errors as of `replaceExpected`.
    bool commitInPlaceOf(const IsExpected& isExpected);

private:
    AtomicFile(int file, int folder, std::string path, std::string name) noexcept;
    bool takeTemporaryName();

    int file_;
    int folder_;
    std::string path_;       ///< Of the folder, with a slash at its end; "./" for the current one.
    std::string name_;       ///< In the folder.
    std::string temporary_;  ///< "" while it has no name.
    bool isCommitted_ = false;
};

/// A name for this moment and this process in the folder, which no file of it has.
[[nodiscard]] std::string temporaryNameIn(const std::string& folder, std::string_view suffix);

/// Removes from a folder what programs left there that were killed between giving a file its temporary name and putting
/// it in its place. Other programs' files that are being written stay, and those that changed less than `age` ago: on a
/// disk that other machines share, or out of a sandbox, a program may be alive that cannot be seen.
void removeAbandonedFiles(const std::string& folder, std::chrono::seconds age = {});
/// Whether it is the name of such a file.
[[nodiscard]] bool isTemporaryName(std::string_view name);

/// The files there of programs that were killed while two were changing places.
[[nodiscard]] std::vector<std::string> abandonedSwaps(const std::string& folder);

}  // namespace tessaly
