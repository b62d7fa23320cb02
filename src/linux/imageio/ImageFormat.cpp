#include "linux/imageio/ImageFormat.h"

#include <array>
#include <string>

#include "linux/imageio/Text.h"
#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/containers/CiffHeap.h"
#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr ImageFormat kJpeg{"public.jpeg", readJpeg};
constexpr ImageFormat kPng{"public.png", readPng};
constexpr ImageFormat kGif{"com.compuserve.gif", readGif};
constexpr ImageFormat kWebp{"org.webmproject.webp", readWebp};
constexpr ImageFormat kBmp{"com.microsoft.bmp", readBmp};
constexpr ImageFormat kPsd{"com.adobe.photoshop-image", readPsd};
constexpr ImageFormat kPsb{"com.adobe.photoshop-large-image", readPsd};
constexpr ImageFormat kTiff{"public.tiff", readTiff};
constexpr ImageFormat kDng{"com.adobe.raw-image", readTiff};
constexpr ImageFormat kRaf{"com.fuji.raw-image", readRaf};
constexpr ImageFormat kMrw{"com.konicaminolta.raw-image", readMrw};
constexpr ImageFormat kX3f{"com.sigma.x3f-raw-image", readX3f};
constexpr ImageFormat kJp2{"public.jpeg-2000", readJp2};
constexpr ImageFormat kJxr{"com.microsoft.jxr", readTiff};
constexpr ImageFormat kCrw{"com.canon.crw-raw-image", readCrw};
constexpr ImageFormat kCr3{"com.canon.cr3-raw-image", readCr3};
constexpr ImageFormat kHeic{"public.heic", readHeif};
constexpr ImageFormat kHeif{"public.heif", readHeif};
constexpr ImageFormat kAvif{"public.avif", readHeif};
constexpr ImageFormat kJxl{"public.jpeg-xl", readJxl};

struct MakerFormat {
    std::string_view make;  ///< How the Make of its raw files begins, in lower case.
    ImageFormat format;
};

constexpr std::array kMakerFormats{
    MakerFormat{"canon", {"com.canon.cr2-raw-image", readTiff}},
    MakerFormat{"nikon", {"com.nikon.raw-image", readTiff}},
    MakerFormat{"sony", {"com.sony.arw-raw-image", readTiff}},
    MakerFormat{"panasonic", {"com.panasonic.rw2-raw-image", readTiff}},
    MakerFormat{"leica", {"com.leica.rwl-raw-image", readTiff}},
    MakerFormat{"olympus", {"com.olympus.or-raw-image", readTiff}},
    MakerFormat{"om digital", {"com.olympus.or-raw-image", readTiff}},
    MakerFormat{"pentax", {"com.pentax.raw-image", readTiff}},
    MakerFormat{"ricoh", {"com.pentax.raw-image", readTiff}},
    MakerFormat{"samsung", {"com.samsung.raw-image", readTiff}},
    MakerFormat{"hasselblad", {"com.hasselblad.3fr-raw-image", readTiff}},
    MakerFormat{"epson", {"com.epson.raw-image", readTiff}},
    MakerFormat{"kodak", {"com.kodak.raw-image", readTiff}},
    MakerFormat{"phase one", {"com.phaseone.raw-image", readTiff}},
    MakerFormat{"leaf", {"com.leafamerica.raw-image", readTiff}},
    MakerFormat{"mamiya", {"com.leafamerica.raw-image", readTiff}},
};

/// A TIFF is a raw when it says so (DNGVersion), when its header is a maker's own, or when its first directory is
/// that of a camera with further directories for the sensor's data.
const ImageFormat* tiffFormat(ByteSource& source) {
    auto header = readTiffHeader(source);
    if (!header) return nullptr;
    const auto magic = source.read<std::uint16_t>(2, header->context.order).value_or(42);
    if (magic == 0x01BC) return &kJxr;
    if (magic == 0x55) return &kMakerFormats[3].format;
    if (magic == 0x4F52 || magic == 0x5352) return &kMakerFormats[5].format;
    if (source.bytesUpTo(8, 2).size() == 2 && asText(source.bytesUpTo(8, 2)) == "CR"sv) return &kMakerFormats[0].format;
    const TiffDirectory first = readTiffDirectory(header->context, header->firstDirectory);
    if (first.find(0xC612)) return &kDng;
    const auto make = first.find(0x010F);
    const auto subDirectories = first.find(0x014A);
    const auto compression = first.find(0x0103);
    const std::uint64_t scheme = compression ? compression->integer(header->context).value_or(1) : 1;
    const bool privateScheme =
        scheme == 65535 || scheme == 32767 || scheme == 34713 || scheme == 32770 || scheme == 65000;
    if (!make || (!subDirectories && !privateScheme)) return &kTiff;
    const std::string name =
        lowerCase(asText(source.bytesUpTo(make->position, std::min<std::uint64_t>(make->count, 24))));
    for (const MakerFormat& maker : kMakerFormats)
        if (name.starts_with(maker.make)) return &maker.format;
    return &kTiff;
}

/// ISO/IEC 14496-12, 4.3: the major brand, then the compatible ones, decide.
const ImageFormat* brandFormat(ByteSource& source) {
    const auto size = source.read<std::uint32_t>(0);
    if (!size || *size < 16 || *size > 1024) return nullptr;
    const std::string_view box = asText(source.bytesUpTo(0, *size));
    if (box.size() < 16 || box.substr(4, 4) != "ftyp"sv) return nullptr;
    struct Brand {
        std::string_view code;
        const ImageFormat* format;
    };
    static constexpr std::array brands{
        Brand{"crx ", &kCr3},  Brand{"jxl ", &kJxl},  Brand{"avif", &kAvif}, Brand{"avis", &kAvif},
        Brand{"heic", &kHeic}, Brand{"heix", &kHeic}, Brand{"heim", &kHeic}, Brand{"heis", &kHeic},
        Brand{"hevc", &kHeic}, Brand{"hevx", &kHeic}, Brand{"mif1", &kHeif}, Brand{"mif2", &kHeif},
        Brand{"msf1", &kHeif}, Brand{"miaf", &kHeif},
    };
    const auto formatOf = [](std::string_view code) -> const ImageFormat* {
        for (const Brand& brand : brands)
            if (brand.code == code) return brand.format;
        return nullptr;
    };
    const ImageFormat* found = formatOf(box.substr(8, 4));
    if (found && found != &kHeif) return found;
    // A movie may list an image brand for its cover: only a file that leads with a generic brand is asked further.
    if (!found) return nullptr;
    for (std::size_t at = 16; at + 4 <= box.size(); at += 4)
        if (const ImageFormat* specific = formatOf(box.substr(at, 4)); specific && specific != &kHeif) return specific;
    return found;
}

bool isBmp(ByteSource& source) {
    const auto headerSize = source.read<std::uint32_t>(14, ByteOrder::little);
    return headerSize && (*headerSize == 12 || (*headerSize >= 16 && *headerSize <= 256));
}

}  // namespace

const ImageFormat* detectImageFormat(ByteSource& source) {
    const std::string_view head = asText(source.bytesUpTo(0, 16));
    if (head.starts_with("\xFF\xD8\xFF"sv)) return &kJpeg;
    if (head.starts_with("\x89PNG\r\n\x1A\n"sv)) return &kPng;
    if (head.starts_with("GIF87a"sv) || head.starts_with("GIF89a"sv)) return &kGif;
    if (head.starts_with("RIFF"sv) && head.size() >= 12 && head.substr(8, 4) == "WEBP"sv) return &kWebp;
    if (head.starts_with("FUJIFILMCCD-RAW"sv)) return &kRaf;
    if (head.starts_with("\xFF\x0A"sv) || head.starts_with("\0\0\0\x0CJXL \r\n\x87\n"sv)) return &kJxl;
    if (head.starts_with("\0\0\0\x0CjP  \r\n\x87\n"sv)) return &kJp2;
    if (head.starts_with("8BPS\0\1"sv)) return &kPsd;
    if (head.starts_with("8BPS\0\2"sv)) return &kPsb;
    if (head.starts_with("\0MRM"sv)) return &kMrw;
    if (head.starts_with("FOVb"sv)) return &kX3f;
    if (isCiff(source)) return &kCrw;
    if (head.starts_with("II"sv) || head.starts_with("MM"sv)) return tiffFormat(source);
    if (head.size() >= 8 && head.substr(4, 4) == "ftyp"sv) return brandFormat(source);
    if (head.starts_with("BM"sv) && isBmp(source)) return &kBmp;
    return nullptr;
}

}  // namespace tessaly::imageio
