#include <tiffio.h>

#include <cstring>
#include <limits>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/LabWhite.h"
#include "linux/codecs/modules/pixels/Pixels.h"
#include "linux/codecs/modules/pixels/TiffBand.h"
#include "linux/codecs/modules/pixels/TiffExtent.h"
#include "linux/codecs/modules/pixels/TiffInput.h"

namespace tessaly::codecs {
namespace {

std::vector<std::byte> profileOf(TIFF* tiff) {
    std::uint32_t length = 0;
    void* bytes = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &length, &bytes) || !bytes) return {};
    const auto* begin = static_cast<const std::byte*>(bytes);
    return {begin, begin + length};
}

/// A plane after the other, each into the picture as a whole: what is packed is unpacked from its start only.
DecodeFault readPlanes(const TiffInput& input, const TiffLayout& layout, const DecodeRequest& request,
                       DecodedPixels& decoded) {
    std::vector<std::byte> line(static_cast<std::size_t>(std::max<tmsize_t>(0, TIFFScanlineSize(input.tiff()))));
    if (line.size() < std::uint64_t{layout.width} * layout.bits / 8) return DecodeFault::damaged;
    PixelRows rows;
    const auto fault =
        rows.begin(decoded.image, layout.width, layout.height, layout.componentBits(), layout.alphaInfo(), request);
    if (fault != DecodeFault::none) return fault;
    TiffSamples samples(layout);
    for (std::size_t plane = 0; plane < layout.planes(); ++plane) {
        for (std::uint32_t y = 0; y < layout.height; ++y) {
            if (TIFFReadScanline(input.tiff(), line.data(), y, static_cast<std::uint16_t>(plane)) < 0) {
                if (y == 0) return DecodeFault::damaged;
                break;
            }
            samples.spreadPlane(plane, line.data(), layout.width, decoded.image.row(y));
            input.forgetAfter(line.size());
        }
    }
    return DecodeFault::none;
}

DecodeFault readRows(const TiffInput& input, const TiffLayout& layout, const DecodeRequest& request,
                     DecodedPixels& decoded) {
    TIFF* tiff = input.tiff();
    const tmsize_t length = TIFFScanlineSize(tiff);
    if (length <= 0 ||
        static_cast<std::uint64_t>(length) < std::uint64_t{layout.width} * layout.samples * layout.bits / 8)
        return DecodeFault::damaged;
    PixelRows rows;
    const auto fault =
        rows.begin(decoded.image, layout.width, layout.height, layout.componentBits(), layout.alphaInfo(), request);
    if (fault != DecodeFault::none) return fault;
    TiffSamples samples(layout);
    std::vector<std::byte> line(static_cast<std::size_t>(length));
    for (std::uint32_t y = 0; y < layout.height; ++y) {
        if (TIFFReadScanline(tiff, line.data(), y, 0) < 0) {
            if (y == 0) return DecodeFault::damaged;
            break;
        }
        samples.spread(line.data(), layout.width, rows.next());
        rows.done();
        input.forgetAfter(line.size());
    }
    rows.end();
    return DecodeFault::none;
}

/// Tiles, a row of them at a time in all of their planes; or strips of planes.
DecodeFault readParts(const TiffInput& input, const TiffLayout& layout, const DecodeRequest& request,
                      DecodedPixels& decoded) {
    TiffBand band(input.tiff(), layout);
    if (!band.isSound()) return DecodeFault::damaged;
    if (!band.allocate()) return DecodeFault::outOfMemory;
    PixelRows rows;
    const auto fault =
        rows.begin(decoded.image, layout.width, layout.height, layout.componentBits(), layout.alphaInfo(), request);
    if (fault != DecodeFault::none) return fault;
    TiffSamples samples(layout);
    for (std::uint32_t y = 0; y < layout.height; ++y) {
        if (y % band.height() == 0 && !band.read(y) && y == 0) return DecodeFault::damaged;
        band.spread(y % band.height(), samples, rows.next());
        rows.done();
    }
    rows.end();
    return DecodeFault::none;
}

struct ConversionEnder {
    void operator()(TIFFRGBAImage* image) const noexcept { TIFFRGBAImageEnd(image); }
};

/// A strip or a row of tiles at a time, converted where the picture is to have it, or for the averages of its rows.
DecodeFault readBands(TIFFRGBAImage& conversion, const TiffLayout& layout, std::uint32_t bandHeight,
                      const DecodeRequest& request, CGImage& image) {
    const auto alpha = layout.hasAlpha() ? CGImageAlphaInfo::premultipliedLast : CGImageAlphaInfo::noneSkipLast;
    PixelRows rows;
    if (const auto fault = rows.begin(image, layout.width, layout.height, 8, alpha, request);
        fault != DecodeFault::none)
        return fault;
    const bool isReduced = reduction(layout.width, layout.height, request) > 1;
    const std::size_t bandSize = std::size_t{layout.width} * bandHeight * sizeof(std::uint32_t);
    PixelBuffer band = isReduced ? PixelBuffer::allocate(bandSize) : PixelBuffer();
    if (isReduced && !band) return DecodeFault::outOfMemory;
    for (std::uint32_t y = 0; y < layout.height; y += bandHeight) {
        const std::uint32_t height = std::min(bandHeight, layout.height - y);
        auto* target = reinterpret_cast<std::uint32_t*>(isReduced ? band.get() : image.row(y));
        conversion.row_offset = static_cast<int>(y);
        if (!TIFFRGBAImageGet(&conversion, target, layout.width, height)) {
            if (y == 0) return DecodeFault::damaged;
            break;
        }
        for (std::uint32_t row = 0; isReduced && row < height; ++row) {
            std::memcpy(rows.next(), band.get() + std::size_t{row} * layout.width * 4, std::size_t{layout.width} * 4);
            rows.done();
        }
    }
    rows.end();
    return DecodeFault::none;
}

/// Everything else (palettes, bilevel, YCbCr) goes through libtiff's own conversion to 8 bits.
DecodeFault readConverted(const TiffInput& input, const TiffLayout& layout, std::uint32_t bandHeight,
                          const DecodeRequest& request, DecodedPixels& decoded) {
    TIFFRGBAImage conversion;
    char message[1024] = "";
    if (!TIFFRGBAImageOK(input.tiff(), message) || !TIFFRGBAImageBegin(&conversion, input.tiff(), 0, message))
        return DecodeFault::unsupported;
    const std::unique_ptr<TIFFRGBAImage, ConversionEnder> ended(&conversion);
    // Rows stay where they are: the orientation is applied later, as for every format.
    conversion.req_orientation = conversion.orientation;
    const auto fault = readBands(conversion, layout, bandHeight, request, decoded.image);
    if (layout.colors() == 1 && layout.photometric <= PHOTOMETRIC_MINISBLACK) decoded.model = PixelModel::gray;
    // Its conversion from inks makes colours of its own: a profile of inks does not fit them any more.
    if (layout.photometric == PHOTOMETRIC_SEPARATED || layout.isLab()) decoded.profile.clear();
    return fault;
}

/// The ways to read a page.
enum class Way : std::uint8_t { rows, planes, parts, converted };

Way wayOf(const TiffLayout& layout, const DecodeRequest& request) {
    if (!layout.isPlain()) return Way::converted;
    if (layout.isTiled) return Way::parts;
    if (!layout.isInPlanes()) return Way::rows;
    if (reduction(layout.width, layout.height, request) == 1) return Way::planes;
    // Planes that are to be reduced are wanted all at once, as the conversion has them.
    return layout.isConvertible() ? Way::converted : Way::parts;
}

/// The picture, the strip or the tiles that libtiff unpacks beside it, and what it has read of the file for them
/// (1.02 times the bitmap was measured with rows, planes and tiles, 1.06 with one mapped strip of 87 MB).
DecodeFault countMemory(const TiffInput& file, const TiffLayout& layout, Way way, const TiffExtent& extent,
                        const DecodeRequest& request) {
    const std::size_t part = reduction(layout.width, layout.height, request);
    MemoryCount count;
    count.picture(layout.width / part, layout.height / part, way == Way::converted ? 8 : layout.componentBits());
    count.beside(extent.keptBytes());
    if (way == Way::parts) {
        const TiffBand band(file.tiff(), layout);
        count.beside(band.partBytes(), band.parts());
    }
    if (way != Way::converted) return count.fault(request);
    count.beside(extent.bandBytes());
    if (part > 1) count.beside(std::uint64_t{layout.width} * extent.bandHeight(), CGImage::kComponents);
    return count.fault(request);
}

DecodeFault readPage(const TiffInput& file, const TiffLayout& layout, Way way, const TiffExtent& extent,
                     const DecodeRequest& request, DecodedPixels& decoded) {
    decoded.profile = profileOf(file.tiff());
    if (way == Way::converted) return readConverted(file, layout, extent.bandHeight(), request, decoded);
    if (layout.colors() == 4) decoded.model = PixelModel::cmyk;
    if (layout.colors() == 1) decoded.model = PixelModel::gray;
    if (layout.isLab()) decoded.model = PixelModel::lab;
    if (way == Way::parts) return readParts(file, layout, request, decoded);
    return way == Way::rows ? readRows(file, layout, request, decoded) : readPlanes(file, layout, request, decoded);
}

DecodeFault decodePage(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    if (request.index > std::numeric_limits<tdir_t>::max()) return DecodeFault::damaged;
    TiffInput file(input, request.memoryLimit);
    if (!file.open(request.index, false)) return DecodeFault::damaged;
    const TiffLayout layout(file.tiff());
    if (layout.width == 0 || layout.height == 0) return DecodeFault::damaged;
    if (!layout.canBeUnpacked()) return DecodeFault::unsupported;
    const TiffExtent extent(file.tiff(), input.size());
    if (!extent.isPlausible()) return DecodeFault::damaged;
    const Way way = wayOf(layout, request);
    const bool isMapped =
        (way == Way::rows || way == Way::planes) && extent.isOneLargeStrip() && file.open(request.index, true);
    if (!file.tiff()) return DecodeFault::damaged;
    if (const auto fault = countMemory(file, layout, way, isMapped ? extent.mapped() : extent, request);
        fault != DecodeFault::none)
        return fault;
    const auto fault = readPage(file, layout, way, extent, request, decoded);
    const float* white = nullptr;
    if (fault == DecodeFault::none && decoded.model == PixelModel::lab &&
        TIFFGetField(file.tiff(), TIFFTAG_WHITEPOINT, &white) && white)
        adaptLabToD50(decoded.image, white[0], white[1]);
    return fault;
}

}  // namespace

DecodeFault decodeTiff(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return decodePage(input, request, decoded); });
}

}  // namespace tessaly::codecs
