#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/imageio/ByteReader.h"
#include "platform/Foundation/FileFault.h"

namespace tessaly::imageio {

/// Random access to the bytes of a file or of a block of memory, checked against their true end.
///
/// A file is read by position and only where asked, in blocks that are kept, so that metadata at the head of a 100 MB
/// raw costs one small read. (Not mapped: a file that another program shortens meanwhile would then end this one.)
/// Every view stays valid as long as the source. What a source may keep in memory is limited (kMemoryLimit); a request
/// beyond that fails like one beyond the end.
class ByteSource {
public:
    /// The first block of a file: enough for the whole head of most photos.
    static constexpr std::size_t kHeadSize = 32 * 1024;
    /// Later blocks, and what they grow to while a file is read onwards.
    static constexpr std::size_t kBlockSize = 4 * 1024;
    static constexpr std::size_t kLargestBlock = 64 * 1024;
    /// All that one source ever keeps in memory.
    static constexpr std::size_t kMemoryLimit = 24 * 1024 * 1024;

    /// A view of `bytes`, which the caller keeps.
    explicit ByteSource(Bytes bytes) noexcept;
    /// Opens a regular file. On failure returns nullopt and says why in `fault`.
    static std::optional<ByteSource> openFile(const std::string& path, FileFault& fault);

    ByteSource(ByteSource&&) noexcept;
    ByteSource& operator=(ByteSource&&) noexcept;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;
    ~ByteSource();

    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

    /// The bytes from `offset`, at most `length` of them, as a source of their own: whoever reads it cannot see its
    /// neighbours. Nothing is read or copied for it. This source must outlive the part and stay where it is.
    [[nodiscard]] ByteSource part(std::uint64_t offset, std::uint64_t length);

    /// Exactly `length` bytes from `offset`, or nullopt where they do not all exist.
    [[nodiscard]] std::optional<Bytes> bytes(std::uint64_t offset, std::uint64_t length) {
        if (offset >= windowStart_ && offset - windowStart_ <= window_.size() &&
            length <= window_.size() - (offset - windowStart_))
            return window_.subspan(static_cast<std::size_t>(offset - windowStart_), static_cast<std::size_t>(length));
        return bytesElsewhere(offset, length);
    }

    /// At most `length` bytes from `offset`: fewer at the end, none beyond it.
    [[nodiscard]] Bytes bytesUpTo(std::uint64_t offset, std::uint64_t length);

    /// Copies bytes from `offset` on into `target` and keeps none of them, for what is passed on or scanned once.
    /// @return how many there were.
    std::size_t copyTo(std::uint64_t offset, std::span<std::byte> target);

    /// The descriptor of a file, -1 of memory. It stays the source's own.
    [[nodiscard]] int descriptor() const noexcept { return file_; }

    template <std::unsigned_integral T>
    [[nodiscard]] std::optional<T> read(std::uint64_t offset, ByteOrder order = ByteOrder::big) {
        const auto part = bytes(offset, sizeof(T));
        if (!part) return std::nullopt;
        return loadInteger<T>(part->data(), order);
    }

private:
    struct Block {
        std::uint64_t start;
        Bytes bytes;
    };

    static constexpr std::size_t kSearched = 32;

    ByteSource() = default;
    [[nodiscard]] const Block* keptBlock(std::uint64_t offset, std::uint64_t length) const;
    [[nodiscard]] std::optional<Bytes> bytesElsewhere(std::uint64_t offset, std::uint64_t length);
    Bytes load(std::uint64_t offset, std::size_t length);
    void adoptParentWindow();

    int file_ = -1;
    ByteSource* parent_ = nullptr;  // Of a part, which starts there at parentStart_.
    std::uint64_t parentStart_ = 0;
    std::uint64_t size_ = 0;
    std::uint64_t windowStart_ = 0;  // The block that answered last: most requests are neighbours.
    Bytes window_;
    std::vector<Block> blocks_;
    std::vector<std::unique_ptr<std::byte[]>> memory_;
    std::size_t kept_ = 0;
    std::size_t blockSize_ = kBlockSize;
};

}  // namespace tessaly::imageio
