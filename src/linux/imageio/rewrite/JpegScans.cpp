#include "linux/imageio/rewrite/JpegScans.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "linux/foundation/WriteBehind.h"
#include "linux/imageio/containers/JpegSegments.h"
#include "linux/imageio/rewrite/PassingReader.h"

namespace tessaly::imageio {
namespace {

using namespace jpeg;

constexpr std::size_t kMaximumSegmentsInScans = 1'000'000;
constexpr std::size_t kBlock = 128 * 1024;

/// Of the first marker in `bytes` that ends compressed data; their number without one. A last 0xFF may be half of one.
std::size_t findMarker(Bytes bytes) {
    const std::byte* at = bytes.data();
    const std::byte* const end = bytes.data() + bytes.size() - 1;
    while (at < end) {
        at = static_cast<const std::byte*>(std::memchr(at, 0xFF, static_cast<std::size_t>(end - at)));
        if (!at) break;
        const auto code = std::to_integer<std::uint8_t>(at[1]);
        if (code != 0 && code != 0xFF && (code < 0xD0 || code > 0xD7))
            return static_cast<std::size_t>(at - bytes.data());
        at += code == 0xFF ? 1 : 2;
    }
    return bytes.size();
}

/// One segment among the scans.
struct Segment {
    std::uint8_t marker = 0;
    std::uint64_t end = 0;
    [[nodiscard]] bool isMetadata() const { return (marker >= kApp0 && marker <= kApp15) || marker == kComment; }
};

std::optional<Segment> segmentAt(PassingReader& reader, std::uint64_t position) {
    const auto two = reader.bytes(position, 2);
    if (!two) return std::nullopt;
    const auto marker = std::to_integer<std::uint8_t>((*two)[1]);
    if (marker == kEndOfImage) return Segment{marker, position + 2};
    const auto length = reader.read<std::uint16_t>(position + 2);
    if (!length || *length < 2) return std::nullopt;
    return Segment{marker, position + 2 + *length};
}

}  // namespace

std::uint64_t nextScanMarker(ByteSource& source, std::uint64_t position) {
    std::array<std::byte, kBlock> buffer;
    while (position < source.size()) {
        const std::size_t length = source.copyTo(position, buffer);
        if (length < 2) break;
        const std::size_t found = findMarker(Bytes(buffer).first(length));
        if (found < length) return position + found;
        position += length - 1;
        if (length < buffer.size()) break;
    }
    return source.size();
}

JpegScans findJpegScans(ByteSource& source, std::uint64_t start, bool dropsMetadata) {
    JpegScans scans;
    PassingReader reader(source);
    std::uint64_t position = start;
    std::uint64_t copyFrom = start;
    const auto copyUpTo = [&](std::uint64_t end) {
        if (end > copyFrom) scans.parts.push_back({copyFrom, end - copyFrom});
        copyFrom = end;
    };
    for (std::size_t count = 0; count < kMaximumSegmentsInScans; ++count) {
        const auto segment = segmentAt(reader, position);
        if (!segment) break;
        if (segment->marker == kEndOfImage) {
            copyUpTo(segment->end);
            scans.end = segment->end;
            return scans;
        }
        if (dropsMetadata && segment->isMetadata()) {
            copyUpTo(position);
            copyFrom = segment->end;
        }
        position = nextScanMarker(source, segment->end);
    }
    copyUpTo(source.size());
    scans.end = source.size();
    return scans;
}

bool writeJpegScans(ByteSource& source, std::uint64_t start,
                    const std::function<bool(std::span<const std::byte>)>& write) {
    WriteBehind writer(write);
    PassingReader reader(source);
    std::uint64_t position = start;
    const auto writeUpTo = [&](std::uint64_t end) {
        while (position < end) {
            std::span<std::byte> buffer = writer.buffer();
            buffer = buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(end - position, buffer.size())));
            const std::size_t length = source.copyTo(position, buffer);
            if (length == 0) break;
            position += length;
            if (!writer.submit(buffer.first(length))) return false;
        }
        return true;
    };
    // Compressed data up to the next marker.
    const auto writeData = [&] {
        while (position < source.size()) {
            const std::span<std::byte> buffer = writer.buffer();
            const std::size_t length = source.copyTo(position, buffer);
            if (length == 0) break;
            const bool isLast = position + length >= source.size();
            const std::size_t found = length < 2 ? length : findMarker(buffer.first(length));
            const std::size_t shown = found < length || isLast ? found : length - 1;
            position += shown;
            if (!writer.submit(buffer.first(shown))) return false;
            if (found < length) break;
        }
        return true;
    };
    const auto writeSegments = [&] {
        for (std::size_t count = 0; count < kMaximumSegmentsInScans; ++count) {
            const auto segment = segmentAt(reader, position);
            if (!segment) return writeUpTo(source.size());
            if (segment->marker == kEndOfImage) return writeUpTo(segment->end);
            if (segment->isMetadata())
                position = segment->end;
            else if (!writeUpTo(segment->end))
                return false;
            if (!writeData()) return false;
        }
        return writeUpTo(source.size());
    };
    return writeSegments() && writer.finish();
}

}  // namespace tessaly::imageio
