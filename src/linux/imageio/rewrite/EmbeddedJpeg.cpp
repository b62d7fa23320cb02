#include <algorithm>

#include "linux/imageio/containers/JpegSegments.h"
#include "linux/imageio/rewrite/Rewriters.h"

namespace tessaly::imageio {
namespace {

using namespace jpeg;

/// `made` at the start of `length` bytes, the rest filled; nothing but filling where it does not fit.
ByteVector padded(const std::optional<ByteVector>& made, std::size_t length, std::byte filling) {
    ByteVector bytes = made && made->size() <= length ? *made : ByteVector();
    bytes.resize(length, filling);
    return bytes;
}

class EmbeddedJpeg {
public:
    EmbeddedJpeg(ByteSource& source, const BlockChange& change) : source_(source), change_(change) {}

    std::vector<RewritePlan::Patch> run(std::uint64_t offset, std::uint64_t length) {
        const std::uint64_t end = offset + length;
        std::uint64_t position = offset + 2;
        for (std::size_t count = 0; count < kMaximumSegments; ++count) {
            const auto marker = nextMarker(source_, position);
            if (!marker || *marker == kEndOfImage || *marker == kStartOfScan) break;
            if (standsAlone(*marker) || *marker == kStartOfImage) continue;
            const auto size = source_.read<std::uint16_t>(position);
            if (!size || *size < 2 || position + *size > end) break;
            if (const auto body = source_.bytes(position + 2, *size - 2U)) change(*marker, position + 2, *body);
            position += *size;
        }
        return std::move(patches_);
    }

private:
    void change(std::uint8_t marker, std::uint64_t position, Bytes body) {
        const std::string_view text = asText(body);
        if (marker == kApp1 && text.starts_with(kExifMark) && body.size() > 6) {
            replace(position + 6, body.subspan(6), change_.exif(body.subspan(6), true), std::byte{0});
        } else if (marker == kApp1 && text.starts_with(kXmpMark)) {
            const Bytes packet = body.subspan(kXmpMark.size());
            replace(position + kXmpMark.size(), packet, change_.xmp(packet), std::byte{' '});
        } else if (marker == kApp13 && text.starts_with(kPhotoshopMark)) {
            const Bytes resources = body.subspan(kPhotoshopMark.size());
            replace(position + kPhotoshopMark.size(), resources, change_.photoshop(resources), std::byte{0});
        } else if (change_.removesEverything() && isForeign(marker, text)) {
            replace(position, body, std::nullopt, std::byte{0});
        }
    }

    /// Comments, and application segments that neither decoder nor colour management looks at.
    static bool isForeign(std::uint8_t marker, std::string_view text) {
        if (marker == kComment) return true;
        if (marker < kApp0 || marker > kApp15 || marker == kApp14) return false;
        return !text.starts_with(kJfifMark) && !text.starts_with(kIccMark) && !text.starts_with(kMpfMark);
    }

    void replace(std::uint64_t position, Bytes old, const std::optional<ByteVector>& made, std::byte filling) {
        ByteVector bytes = padded(made, old.size(), filling);
        if (!std::ranges::equal(bytes, old)) patches_.push_back({position, std::move(bytes)});
    }

    ByteSource& source_;
    const BlockChange& change_;
    std::vector<RewritePlan::Patch> patches_;
};

}  // namespace

std::vector<RewritePlan::Patch> patchEmbeddedJpeg(ByteSource& source, std::uint64_t offset, std::uint64_t length,
                                                  const BlockChange& change) {
    const auto head = source.bytes(offset, 2);
    if (!head || asText(*head) != "\xFF\xD8"sv) return {};
    return EmbeddedJpeg(source, change).run(offset, length);
}

}  // namespace tessaly::imageio
