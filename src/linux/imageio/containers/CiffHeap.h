#pragma once
#include <cstdint>
#include <optional>

#include "linux/imageio/ByteSource.h"

/// Canon's raws of before 2004 (CIFF 1.0, revision 4): a heap of values with a directory of them at its end, whose
/// values may be heaps themselves.
namespace tessaly::imageio {

/// A value, wherever it stands.
struct CiffEntry {
    std::uint16_t identifier = 0;  ///< Type and number, without where it is kept.
    std::uint64_t position = 0;
    std::uint64_t length = 0;
    ByteOrder order = ByteOrder::little;
};

/// Whether the source begins with such a heap's header.
[[nodiscard]] inline bool isCiff(ByteSource& source) {
    const auto head = source.bytes(0, 14);
    return head && (asText(*head).starts_with("II") || asText(*head).starts_with("MM")) &&
           asText(*head).substr(6) == "HEAPCCDR";
}

/// Calls `each` with every value of a CIFF file that is no heap itself.
template <class Each>
class CiffWalk {
public:
    CiffWalk(ByteSource& source, Each each) : source_(source), each_(each) {}

    void read() {
        const auto mark = source_.bytes(0, 2);
        if (!mark) return;
        order_ = asText(*mark) == "II" ? ByteOrder::little : ByteOrder::big;
        const auto start = source_.read<std::uint32_t>(2, order_);
        if (start && *start < source_.size()) readHeap(*start, source_.size() - *start, 0);
    }

private:
    static constexpr std::size_t kEntry = 10;
    static constexpr std::uint16_t kMaximumEntries = 512;
    static constexpr int kMaximumDepth = 8;
    static constexpr std::size_t kMaximumHeaps = 64;

    void readHeap(std::uint64_t start, std::uint64_t length, int depth) {
        if (length < 6 || depth > kMaximumDepth || ++heaps_ > kMaximumHeaps) return;
        const auto directory = source_.read<std::uint32_t>(start + length - 4, order_);
        if (!directory || *directory > length - 2) return;
        const auto count = source_.read<std::uint16_t>(start + *directory, order_);
        if (!count || *count > kMaximumEntries) return;
        for (std::uint64_t i = 0; i < *count; ++i) readEntry(start + *directory + 2 + i * kEntry, start, length, depth);
    }

    void readEntry(std::uint64_t at, std::uint64_t start, std::uint64_t length, int depth) {
        constexpr unsigned inEntry = 0x4000, elsewhere = 0x8000, kinds = 0x3800, heap = 0x2800, otherHeap = 0x3000;
        const auto tag = source_.read<std::uint16_t>(at, order_);
        const auto size = source_.read<std::uint32_t>(at + 2, order_);
        const auto offset = source_.read<std::uint32_t>(at + 6, order_);
        if (!tag || !size || !offset || (*tag & elsewhere) != 0) return;
        CiffEntry entry{static_cast<std::uint16_t>(*tag & 0x3FFFU), at + 2, 8, order_};
        if ((*tag & inEntry) == 0) {
            if (*offset > length || *size > length - *offset) return;
            entry.position = start + *offset;
            entry.length = *size;
        }
        const unsigned kind = *tag & kinds;
        if ((kind == heap || kind == otherHeap) && (*tag & inEntry) == 0)
            readHeap(entry.position, entry.length, depth + 1);
        else
            each_(entry);
    }

    ByteSource& source_;
    Each each_;
    ByteOrder order_ = ByteOrder::little;
    std::size_t heaps_ = 0;
};

template <class Each>
void forEachCiffEntry(ByteSource& source, Each each) {
    CiffWalk<Each>(source, each).read();
}

}  // namespace tessaly::imageio
