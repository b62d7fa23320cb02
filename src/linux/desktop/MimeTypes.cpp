#include "linux/desktop/MimeTypes.h"

#include <algorithm>
#include <array>

#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::desktop {
namespace {

struct Kind {
    std::string_view identifier;  ///< As CGImageSourceGetType answers it; "" for what is no picture.
    std::string_view mimeType;    ///< As shared-mime-info names it.
    std::string_view extension;
};

constexpr std::array kKinds{
    Kind{"public.jpeg", "image/jpeg", ".jpg"},
    Kind{"public.png", "image/png", ".png"},
    Kind{"public.heic", "image/heif", ".heic"},
    Kind{"public.heif", "image/heif", ".heif"},
    Kind{"public.avif", "image/avif", ".avif"},
    Kind{"public.tiff", "image/tiff", ".tif"},
    Kind{"com.compuserve.gif", "image/gif", ".gif"},
    Kind{"com.microsoft.bmp", "image/bmp", ".bmp"},
    Kind{"org.webmproject.webp", "image/webp", ".webp"},
    Kind{"public.jpeg-2000", "image/jp2", ".jp2"},
    Kind{"public.jpeg-xl", "image/jxl", ".jxl"},
    Kind{"com.microsoft.jxr", "image/vnd.ms-photo", ".jxr"},
    Kind{"com.adobe.photoshop-image", "image/vnd.adobe.photoshop", ".psd"},
    Kind{"com.adobe.photoshop-large-image", "image/vnd.adobe.photoshop", ".psb"},
    Kind{"com.adobe.raw-image", "image/x-adobe-dng", ".dng"},
    Kind{"com.fuji.raw-image", "image/x-fuji-raf", ".raf"},
    Kind{"com.konicaminolta.raw-image", "image/x-minolta-mrw", ".mrw"},
    Kind{"com.sigma.x3f-raw-image", "image/x-sigma-x3f", ".x3f"},
    Kind{"com.canon.crw-raw-image", "image/x-canon-crw", ".crw"},
    Kind{"com.canon.cr2-raw-image", "image/x-canon-cr2", ".cr2"},
    Kind{"com.canon.cr3-raw-image", "image/x-canon-cr3", ".cr3"},
    Kind{"com.nikon.raw-image", "image/x-nikon-nef", ".nef"},
    Kind{"com.sony.arw-raw-image", "image/x-sony-arw", ".arw"},
    Kind{"com.panasonic.rw2-raw-image", "image/x-panasonic-rw2", ".rw2"},
    Kind{"com.olympus.or-raw-image", "image/x-olympus-orf", ".orf"},
    Kind{"com.pentax.raw-image", "image/x-pentax-pef", ".pef"},
    Kind{"com.samsung.raw-image", "image/x-samsung-srw", ".srw"},
    Kind{"com.kodak.raw-image", "image/x-kodak-dcr", ".dcr"},
    Kind{"", "video/mp4", ".mp4"},
    Kind{"", "video/quicktime", ".mov"},
    Kind{"", "video/x-matroska", ".mkv"},
    Kind{"", "video/x-msvideo", ".avi"},
    Kind{"", "text/plain", ".txt"},
};

constexpr std::string_view kUnknown = "application/octet-stream";
constexpr std::string_view kAnyRaw = "image/x-dcraw";

std::string_view head(const Data& data) {
    constexpr std::size_t kLength = 64;
    return {reinterpret_cast<const char*>(data->data()), std::min(data->size(), kLength)};
}

/// ISO/IEC 14496-12, 4.3: the major brand stands behind the type of the first box.
std::string_view movieTypeOf(std::string_view head) {
    if (head.starts_with("\x1A\x45\xDF\xA3")) return "video/x-matroska";
    if (head.size() >= 12 && head.starts_with("RIFF") && head.substr(8, 4) == "AVI ") return "video/x-msvideo";
    if (head.size() < 12 || head.substr(4, 4) != "ftyp") return kUnknown;
    return head.substr(8, 4) == "qt  " ? "video/quicktime" : "video/mp4";
}

}  // namespace

std::string_view mimeTypeOf(const Data& data) {
    if (!data || data->empty()) return kUnknown;
    const CGImageSourceRef picture = CGImageSourceCreateWithData(data);
    if (!picture) return movieTypeOf(head(data));
    const std::string_view identifier = CGImageSourceGetType(picture);
    const auto* const kind = std::ranges::find(kKinds, identifier, &Kind::identifier);
    if (kind != kKinds.end()) return kind->mimeType;
    return identifier.ends_with("raw-image") ? kAnyRaw : kUnknown;
}

std::string_view extensionOf(std::string_view mimeType) noexcept {
    const auto* const kind = std::ranges::find(kKinds, mimeType, &Kind::mimeType);
    return kind == kKinds.end() ? std::string_view() : kind->extension;
}

}  // namespace tessaly::desktop
