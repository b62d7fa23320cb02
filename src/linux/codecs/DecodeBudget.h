#pragma once
#include <cstdint>
#include <optional>

namespace tessaly::codecs {

/// Bytes of memory that there are; nullopt where nobody tells.
struct MachineMemory {
    std::optional<std::uint64_t> installed;
    std::optional<std::uint64_t> allowed;  ///< To this process's control group.

    [[nodiscard]] static MachineMemory current();
};

/// What one decode may hold in memory: a quarter of what there is, and no more than two gigabytes.
[[nodiscard]] std::uint64_t memoryLimit(const MachineMemory& memory) noexcept;

/// What the pixels of one decode may take of a disk with that much free: half of it, and no more than four gigabytes.
[[nodiscard]] std::uint64_t diskLimit(std::uint64_t free) noexcept;

/// The limits of this machine, found out once. Tests set their own.
struct DecodeBudget {
    std::uint64_t memory = 0;
    /// For pixels in a file; nullopt to ask the disk.
    std::optional<std::uint64_t> disk;

    [[nodiscard]] static DecodeBudget current();
    static void set(const std::optional<DecodeBudget>& budget);
};

/// An empty file without a name for the pixels of one picture, in the person's cache folder, where there is more room
/// than in memory. It is gone with the last descriptor and mapping of it, however the program ends.
class PixelFile {
public:
    /// Nullopt where the folder cannot be written or has no room.
    [[nodiscard]] static std::optional<PixelFile> open();

    PixelFile(PixelFile&& other) noexcept;
    PixelFile& operator=(PixelFile&&) = delete;
    PixelFile(const PixelFile&) = delete;
    PixelFile& operator=(const PixelFile&) = delete;
    ~PixelFile();

    [[nodiscard]] int descriptor() const noexcept { return file_; }
    /// Bytes that may be put into it.
    [[nodiscard]] std::uint64_t limit() const noexcept { return limit_; }

private:
    PixelFile(int file, std::uint64_t limit) noexcept : file_(file), limit_(limit) {}

    int file_;
    std::uint64_t limit_;
};

}  // namespace tessaly::codecs
