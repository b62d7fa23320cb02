#pragma once
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "linux/imageio/ByteSource.h"

/// Chunks of RIFF files (Microsoft, "Multimedia Programming Interface and Data Specifications 1.0", 2): four letters, a
/// length, that many bytes and one more where they are odd. Little-endian.
namespace tessaly::media {

struct RiffChunk {
    std::string name;
    std::string listType;        ///< Of a "RIFF" or "LIST": what it is a list of; else "".
    std::uint64_t start = 0;     ///< Of its name.
    std::uint64_t position = 0;  ///< Of its content, behind the type of a list.
    std::uint64_t length = 0;    ///< Of the content.
    [[nodiscard]] std::uint64_t end() const noexcept { return position + length; }
    [[nodiscard]] bool isList(std::string_view type) const noexcept { return listType == type; }
};

/// The chunks that stand one behind the other in a part of the file. `Source` has size(), bytes() and read<T>().
template <typename Source>
class RiffChunks {
public:
    RiffChunks(Source& source, std::uint64_t position, std::uint64_t end)
        : source_(source), position_(position), end_(std::min(end, source.size())) {}
    RiffChunks(Source& source, const RiffChunk& list) : RiffChunks(source, list.position, list.end()) {}

    std::optional<RiffChunk> next() {
        if (count_++ >= kMaximumChunks || position_ + 8 > end_) return std::nullopt;
        const auto head = source_.bytes(position_, 8);
        if (!head) return std::nullopt;
        RiffChunk chunk;
        chunk.name = imageio::asText(head->first(4));
        chunk.start = position_;
        chunk.position = position_ + 8;
        const auto length = imageio::loadInteger<std::uint32_t>(head->data() + 4, imageio::ByteOrder::little);
        chunk.length = std::min<std::uint64_t>(length, end_ - chunk.position);
        position_ = chunk.position + length + (length & 1U);
        if ((chunk.name == "RIFF" || chunk.name == "LIST") && chunk.length >= 4) {
            const auto type = source_.bytes(chunk.position, 4);
            if (!type) return std::nullopt;
            chunk.listType = imageio::asText(*type);
            chunk.position += 4;
            chunk.length -= 4;
        }
        return chunk;
    }

private:
    static constexpr std::size_t kMaximumChunks = 10'000;
    Source& source_;
    std::uint64_t position_;
    std::uint64_t end_;
    std::size_t count_ = 0;
};

}  // namespace tessaly::media
