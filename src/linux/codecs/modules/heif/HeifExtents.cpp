#include "linux/codecs/modules/heif/HeifExtents.h"

#include <algorithm>
#include <optional>
#include <set>
#include <vector>

#include "linux/imageio/ByteReader.h"

namespace tessaly::codecs {
namespace {

using imageio::ByteReader;
using imageio::Bytes;

/// The largest meta box that is looked into, and boxes that may stand before it.
constexpr std::uint64_t kMetaLimit = std::uint64_t{16} << 20;
constexpr int kTopBoxes = 64;
/// Derivations of derivations: pictures of cameras have one.
constexpr int kDepth = 8;
constexpr std::uint64_t kBoxHead = 8, kLargeBoxHead = 16, kFullBoxHead = 4;

struct Box {
    Bytes type;
    Bytes content;
    [[nodiscard]] bool is(std::string_view name) const { return imageio::asText(type) == name; }
};

std::optional<Box> nextBox(ByteReader& reader) {
    const auto size = reader.read<std::uint32_t>();
    const auto type = reader.take(4);
    if (!size || !type) return std::nullopt;
    std::uint64_t length = *size;
    std::uint64_t head = kBoxHead;
    if (length == 1) {
        length = reader.read<std::uint64_t>().value_or(0);
        head = kLargeBoxHead;
    } else if (length == 0) {
        length = head + reader.remaining();
    }
    if (length < head) return std::nullopt;
    const auto content = reader.take(length - head);
    if (!content) return std::nullopt;
    return Box{*type, *content};
}

/// The content of the meta box; empty when there is none that fits.
std::vector<std::byte> readMeta(PixelInput& input) {
    std::uint64_t position = 0;
    for (int i = 0; i < kTopBoxes; ++i) {
        std::vector<std::byte> head(kLargeBoxHead);
        head.resize(input.read(position, head));
        ByteReader reader{Bytes(head)};
        std::uint64_t size = reader.read<std::uint32_t>().value_or(0);
        const auto type = reader.take(4);
        if (!type) break;
        std::uint64_t length = kBoxHead;
        if (size == 1) {
            size = reader.read<std::uint64_t>().value_or(0);
            length = kLargeBoxHead;
        }
        if (size < length || size > input.size()) break;
        if (imageio::asText(*type) == "meta" && size <= kMetaLimit && size - length >= kFullBoxHead) {
            std::vector<std::byte> meta(static_cast<std::size_t>(size - length - kFullBoxHead));
            meta.resize(input.read(position + length + kFullBoxHead, meta));
            return meta;
        }
        position += size;
    }
    return {};
}

/// A number of 0, 2, 4 or 8 bytes.
std::optional<std::uint64_t> number(ByteReader& reader, unsigned size) {
    switch (size) {
        case 0:
            return 0;
        case 2:
            return reader.read<std::uint16_t>();
        case 4:
            return reader.read<std::uint32_t>();
        case 8:
            return reader.read<std::uint64_t>();
        default:
            return std::nullopt;
    }
}

/// The items whose bytes pass the end of the file.
std::set<std::uint32_t> missingItems(Bytes content, std::uint64_t fileSize) {
    std::set<std::uint32_t> missing;
    ByteReader reader(content);
    const unsigned version = reader.read<std::uint32_t>().value_or(0) >> 24;
    const unsigned sizes = reader.read<std::uint16_t>().value_or(0);
    const unsigned offsetSize = sizes >> 12, lengthSize = sizes >> 8 & 15U, baseSize = sizes >> 4 & 15U;
    const unsigned indexSize = version > 0 ? sizes & 15U : 0;
    const unsigned idSize = version < 2 ? 2 : 4;
    const std::uint64_t items = number(reader, idSize).value_or(0);
    for (std::uint64_t i = 0; i < items; ++i) {
        const auto id = number(reader, idSize);
        const unsigned method = version > 0 ? reader.read<std::uint16_t>().value_or(0) & 15U : 0;
        reader.skip(2);  // of the file where the data stands, which is this one
        const auto base = number(reader, baseSize);
        const auto extents = reader.read<std::uint16_t>();
        if (!id || !base || !extents) break;
        for (unsigned e = 0; e < *extents; ++e) {
            const auto index = number(reader, indexSize);
            const auto offset = number(reader, offsetSize);
            const auto length = number(reader, lengthSize);
            if (!index || !offset || !length) return missing;
            const std::uint64_t start = *base + *offset;
            const bool isInside = start >= *base && start <= fileSize && *length <= fileSize - start;
            if (method == 0 && !isInside) missing.insert(static_cast<std::uint32_t>(*id));
        }
    }
    return missing;
}

/// The items that `item` is made of.
std::vector<std::uint32_t> sourcesOf(Bytes content, std::uint32_t item) {
    std::vector<std::uint32_t> sources;
    ByteReader reader(content);
    const unsigned idSize = reader.read<std::uint32_t>().value_or(0) >> 24 == 0 ? 2 : 4;
    while (const auto box = nextBox(reader)) {
        ByteReader reference(box->content);
        const auto from = number(reference, idSize);
        const auto count = reference.read<std::uint16_t>();
        if (!box->is("dimg") || !from || *from != item) continue;
        for (unsigned i = 0; i < count.value_or(0); ++i) {
            const auto to = number(reference, idSize);
            if (!to) break;
            sources.push_back(static_cast<std::uint32_t>(*to));
        }
    }
    return sources;
}

bool isComplete(std::uint32_t item, const std::set<std::uint32_t>& missing, Bytes references, int depth) {
    if (missing.contains(item)) return false;
    if (depth == 0) return true;
    const auto sources = sourcesOf(references, item);
    return std::ranges::all_of(
        sources, [&](std::uint32_t source) { return isComplete(source, missing, references, depth - 1); });
}

}  // namespace

bool liesInFile(PixelInput& input, std::uint32_t item) {
    const auto meta = readMeta(input);
    ByteReader reader{Bytes(meta)};
    std::set<std::uint32_t> missing;
    Bytes references;
    while (const auto box = nextBox(reader)) {
        if (box->is("iloc")) missing = missingItems(box->content, input.size());
        if (box->is("iref")) references = box->content;
    }
    return missing.empty() || isComplete(item, missing, references, kDepth);
}

}  // namespace tessaly::codecs
