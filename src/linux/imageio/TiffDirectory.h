#pragma once
#include <cstdint>
#include <optional>

#include "linux/imageio/ByteSource.h"

namespace tessaly::imageio {

/// TIFF 6.0, section 2, field types; 13 from the TIFF technical notes, 16 to 18 from BigTIFF.
enum class TiffType : std::uint16_t {
    byte = 1,
    ascii,
    shortInteger,
    longInteger,
    rational,
    signedByte,
    undefined,
    signedShort,
    signedLong,
    signedRational,
    singleReal,
    doubleReal,
    directory,
    long8 = 16,
    signedLong8,
    directory8,
};

/// Bytes of one element, 0 for a type that is not known.
[[nodiscard]] std::uint32_t sizeOf(TiffType type) noexcept;

/// How to read one TIFF structure: its bytes, its byte order, and where its offset 0 stands in the source.
struct TiffContext {
    ByteSource& source;
    ByteOrder order = ByteOrder::little;
    bool big = false;        ///< BigTIFF: 64-bit counts and offsets.
    std::uint64_t base = 0;  ///< Position in the source that offsets count from.
};

/// One field, its value not yet read.
struct TiffEntry {
    std::uint16_t tag = 0;
    TiffType type = TiffType::byte;
    std::uint64_t count = 0;
    std::uint64_t position = 0;       ///< Where the value's bytes start, in the source.
    std::uint64_t entryPosition = 0;  ///< Where the 12 (BigTIFF: 20) bytes of the entry itself start.

    [[nodiscard]] std::uint64_t byteLength() const noexcept;
    /// The value's bytes, or nullopt when they are not all there.
    [[nodiscard]] std::optional<Bytes> bytes(TiffContext& tiff) const;
    /// Element `index` as a whole number (rationals are truncated), or nullopt.
    [[nodiscard]] std::optional<std::uint64_t> integer(TiffContext& tiff, std::uint64_t index = 0) const;
};

/// The entries of a directory, decoded when they are looked at: most of them nobody asks for.
class TiffEntries {
public:
    TiffEntries() = default;
    /// `bytes` are whole entries that start at `position` in the source.
    TiffEntries(const TiffContext& tiff, Bytes bytes, std::uint64_t position) noexcept;

    [[nodiscard]] std::size_t size() const noexcept { return bytes_.size() / entrySize_; }
    [[nodiscard]] bool empty() const noexcept { return bytes_.empty(); }
    [[nodiscard]] std::uint16_t tagAt(std::size_t index) const noexcept {
        return loadInteger<std::uint16_t>(bytes_.data() + index * entrySize_, order_);
    }
    [[nodiscard]] TiffEntry operator[](std::size_t index) const noexcept;

private:
    Bytes bytes_;
    std::uint64_t position_ = 0;
    std::uint64_t base_ = 0;
    std::size_t entrySize_ = 12;
    ByteOrder order_ = ByteOrder::little;
};

/// One directory. Its entries are views: they last as long as the source.
struct TiffDirectory {
    TiffEntries entries;
    std::uint64_t next = 0;  ///< Offset of the next directory, 0 for none. Untrusted.
    bool complete = false;   ///< All entries that the count promises were there.

    [[nodiscard]] std::optional<TiffEntry> find(std::uint16_t tag) const noexcept;
};

/// Entries read from one directory at most; real files hold fewer than 500.
inline constexpr std::uint64_t kMaximumEntries = 4096;

/// Reads the header "II*\0", "MM\0*" or BigTIFF's, and the like of raw formats ("IIRO", "IIRS", "IIU\0"), at `base`.
/// @return the context and the first directory's offset, or nullopt when there is no such header.
struct TiffHeader {
    TiffContext context;
    std::uint64_t firstDirectory;
};
[[nodiscard]] std::optional<TiffHeader> readTiffHeader(ByteSource& source, std::uint64_t base = 0);

/// The directory at `offset` (from the context's base). Ends in what could be read.
[[nodiscard]] TiffDirectory readTiffDirectory(TiffContext& tiff, std::uint64_t offset);

}  // namespace tessaly::imageio
