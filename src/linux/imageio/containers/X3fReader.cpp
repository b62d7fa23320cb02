#include <string_view>

#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr auto kOrder = ByteOrder::little;
constexpr std::uint32_t kMaximumSections = 256;
constexpr std::uint64_t kImageHead = 28;
constexpr std::uint32_t kJpegFormat = 18;
constexpr int kMaximumPreviews = 2;

}  // namespace

/// Sigma's raws: a directory of sections at the end. Exif stands in the JPEG among them.
void readX3f(ByteSource& source, ImageProperties& properties) {
    if (source.size() < 40) return;
    const auto directory = source.read<std::uint32_t>(source.size() - 4, kOrder);
    const auto mark = directory ? source.bytes(*directory, 4) : std::nullopt;
    if (mark && asText(*mark) == "SECd"sv) {
        const std::uint32_t count = source.read<std::uint32_t>(*directory + 8ULL, kOrder).value_or(0);
        int previews = 0;
        for (std::uint32_t i = 0; i < count && i < kMaximumSections && previews < kMaximumPreviews; ++i) {
            const std::uint64_t entry = *directory + 12ULL + 12ULL * i;
            const auto offset = source.read<std::uint32_t>(entry, kOrder);
            const auto length = source.read<std::uint32_t>(entry + 4, kOrder);
            if (!offset || !length || *length <= kImageHead) continue;
            const auto section = source.bytes(*offset, kImageHead);
            if (!section || asText(section->first(4)) != "SECi"sv ||
                loadInteger<std::uint32_t>(section->data() + 12, kOrder) != kJpegFormat)
                continue;
            ByteSource preview = source.part(*offset + kImageHead, *length - kImageHead);
            readJpeg(preview, properties);
            ++previews;
        }
    }
    const auto columns = source.read<std::uint32_t>(28, kOrder).value_or(0);
    const auto rows = source.read<std::uint32_t>(32, kOrder).value_or(0);
    if (columns < 65536 && rows < 65536) properties.setPixelSize(columns, rows);
    properties.imageCount = 1;
}

}  // namespace tessaly::imageio
