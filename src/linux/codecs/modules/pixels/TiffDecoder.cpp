#include <tiffio.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/Pixels.h"
#include "linux/codecs/modules/pixels/TiffExtent.h"
#include "linux/codecs/modules/pixels/TiffInput.h"

namespace tessaly::codecs {
namespace {

/// What of a directory decides how its samples become pixels (TIFF 6.0, section 8).
struct Layout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t extra = 0;  ///< What the first sample beyond the colours means.
    bool isTiled = false;

    explicit Layout(TIFF* tiff) : isTiled(TIFFIsTiled(tiff) != 0) {
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
        TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
        std::uint16_t extras = 0;
        std::uint16_t* kinds = nullptr;
        if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &extras, &kinds) && extras > 0) extra = kinds[0];
    }

    [[nodiscard]] std::size_t colors() const noexcept {
        if (photometric == PHOTOMETRIC_RGB) return 3;
        return photometric == PHOTOMETRIC_SEPARATED ? 4 : 1;
    }
    [[nodiscard]] bool hasAlpha() const noexcept {
        return samples > colors() && colors() != 4 &&
               (extra == EXTRASAMPLE_ASSOCALPHA || extra == EXTRASAMPLE_UNASSALPHA);
    }
    [[nodiscard]] CGImageAlphaInfo alphaInfo() const noexcept {
        if (!hasAlpha()) return CGImageAlphaInfo::noneSkipLast;
        return extra == EXTRASAMPLE_ASSOCALPHA ? CGImageAlphaInfo::premultipliedLast : CGImageAlphaInfo::last;
    }
    /// Whole samples in strips, side by side or in planes: read row by row, in all their depth.
    [[nodiscard]] bool isPlain() const noexcept {
        const bool knownColor = photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_SEPARATED ||
                                photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
        const bool knownDepth =
            ((bits == 8 || bits == 16) && format == SAMPLEFORMAT_UINT) || (bits == 32 && format == SAMPLEFORMAT_IEEEFP);
        return knownColor && knownDepth && !isTiled && samples >= colors();
    }
    [[nodiscard]] bool isInPlanes() const noexcept { return planar == PLANARCONFIG_SEPARATE && samples > 1; }
};

std::vector<std::byte> profileOf(TIFF* tiff) {
    std::uint32_t length = 0;
    void* bytes = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &length, &bytes) || !bytes) return {};
    const auto* begin = static_cast<const std::byte*>(bytes);
    return {begin, begin + length};
}

std::uint16_t wideOf(float value) {
    return std::isnan(value) ? std::uint16_t{0}
                             : static_cast<std::uint16_t>(std::clamp(value, 0.0F, 1.0F) * 65535.0F + 0.5F);
}
template <class Sample>
auto componentOf(Sample sample) {
    if constexpr (std::is_same_v<Sample, float>)
        return wideOf(sample);
    else
        return sample;
}

/// One row of samples as four components.
template <class Sample>
void spread(const Layout& layout, const std::byte* samples, std::byte* target) {
    using Component = decltype(componentOf(Sample{}));
    constexpr Component kFull = std::numeric_limits<Component>::max();
    const auto* sample = reinterpret_cast<const Sample*>(samples);
    auto* pixel = reinterpret_cast<Component*>(target);
    const std::size_t colors = layout.colors();
    const bool inverts = layout.photometric == PHOTOMETRIC_MINISWHITE;
    for (std::uint32_t x = 0; x < layout.width; ++x, sample += layout.samples, pixel += CGImage::kComponents) {
        pixel[3] = layout.hasAlpha() ? componentOf(sample[colors]) : kFull;
        for (std::size_t c = 0; c < std::min<std::size_t>(colors, 4); ++c) pixel[c] = componentOf(sample[c]);
        if (colors > 1) continue;
        if (inverts) pixel[0] = static_cast<Component>(kFull - pixel[0]);
        pixel[1] = pixel[2] = pixel[0];
    }
}

/// One row of one plane.
template <class Sample>
void spreadPlane(const Layout& layout, std::size_t plane, const std::byte* samples, std::byte* target) {
    using Component = decltype(componentOf(Sample{}));
    constexpr Component kFull = std::numeric_limits<Component>::max();
    const auto* sample = reinterpret_cast<const Sample*>(samples);
    auto* pixel = reinterpret_cast<Component*>(target);
    const bool inverts = layout.photometric == PHOTOMETRIC_MINISWHITE && plane == 0;
    const bool isGray = layout.colors() == 1 && plane == 0;
    const std::size_t place = plane == layout.colors() ? 3 : plane;
    for (std::uint32_t x = 0; x < layout.width; ++x, pixel += CGImage::kComponents) {
        const Component value = componentOf(sample[x]);
        pixel[place] = inverts ? static_cast<Component>(kFull - value) : value;
        if (isGray) pixel[1] = pixel[2] = pixel[0];
        if (plane == 0 && !layout.hasAlpha() && layout.colors() < 4) pixel[3] = kFull;
    }
}

/// A plane after the other, each into the picture as a whole: what is packed is unpacked from its start only.
DecodeFault readPlanes(const TiffInput& input, const Layout& layout, const DecodeRequest& request,
                       DecodedPixels& decoded) {
    std::vector<std::byte> line(static_cast<std::size_t>(std::max<tmsize_t>(0, TIFFScanlineSize(input.tiff()))));
    if (line.size() < std::uint64_t{layout.width} * layout.bits / 8) return DecodeFault::damaged;
    PixelRows rows;
    const auto fault =
        rows.begin(decoded.image, layout.width, layout.height, layout.bits == 8 ? 8 : 16, layout.alphaInfo(), request);
    if (fault != DecodeFault::none) return fault;
    const auto put = layout.bits == 8    ? spreadPlane<std::uint8_t>
                     : layout.bits == 16 ? spreadPlane<std::uint16_t>
                                         : spreadPlane<float>;
    const std::size_t planes = layout.colors() + (layout.hasAlpha() ? 1 : 0);
    for (std::size_t plane = 0; plane < planes; ++plane) {
        for (std::uint32_t y = 0; y < layout.height; ++y) {
            if (TIFFReadScanline(input.tiff(), line.data(), y, static_cast<std::uint16_t>(plane)) < 0) {
                if (y == 0) return DecodeFault::damaged;
                break;
            }
            put(layout, plane, line.data(), decoded.image.row(y));
            input.forgetAfter(line.size());
        }
    }
    return DecodeFault::none;
}

DecodeFault readPlain(const TiffInput& input, const Layout& layout, const DecodeRequest& request,
                      DecodedPixels& decoded) {
    TIFF* tiff = input.tiff();
    const tmsize_t length = TIFFScanlineSize(tiff);
    if (length <= 0 ||
        static_cast<std::uint64_t>(length) < std::uint64_t{layout.width} * layout.samples * layout.bits / 8)
        return DecodeFault::damaged;
    PixelRows rows;
    const auto fault =
        rows.begin(decoded.image, layout.width, layout.height, layout.bits == 8 ? 8 : 16, layout.alphaInfo(), request);
    if (fault != DecodeFault::none) return fault;
    std::vector<std::byte> line(static_cast<std::size_t>(length));
    for (std::uint32_t y = 0; y < layout.height; ++y) {
        if (TIFFReadScanline(tiff, line.data(), y, 0) < 0) {
            if (y == 0) return DecodeFault::damaged;
            break;
        }
        const auto put = layout.bits == 8    ? spread<std::uint8_t>
                         : layout.bits == 16 ? spread<std::uint16_t>
                                             : spread<float>;
        put(layout, line.data(), rows.next());
        rows.done();
        input.forgetAfter(line.size());
    }
    rows.end();
    return DecodeFault::none;
}

struct ConversionEnder {
    void operator()(TIFFRGBAImage* image) const noexcept { TIFFRGBAImageEnd(image); }
};

/// A strip or a row of tiles at a time, converted where the picture is to have it, or for the averages of its rows.
DecodeFault readBands(TIFFRGBAImage& conversion, const Layout& layout, std::uint32_t bandHeight,
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

/// Everything else (tiles, palettes, bilevel, YCbCr, Lab, planes) goes through libtiff's own conversion to 8 bits.
DecodeFault readConverted(const TiffInput& input, const Layout& layout, std::uint32_t bandHeight,
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
    if (layout.photometric == PHOTOMETRIC_SEPARATED || layout.photometric == PHOTOMETRIC_CIELAB)
        decoded.profile.clear();
    return fault;
}

/// The ways to read a page. Planes that are to be reduced are left to the conversion, which has all of them at once.
enum class Way : std::uint8_t { rows, planes, converted };

Way wayOf(const Layout& layout, const DecodeRequest& request) {
    if (!layout.isPlain()) return Way::converted;
    if (!layout.isInPlanes()) return Way::rows;
    return reduction(layout.width, layout.height, request) == 1 ? Way::planes : Way::converted;
}

/// The picture, the strip or the tiles that libtiff unpacks beside it, and what it has read of the file for them
/// (1.02 times the bitmap was measured with rows, planes and tiles, 1.06 with one mapped strip of 87 MB).
DecodeFault countMemory(const Layout& layout, Way way, const TiffExtent& extent, const DecodeRequest& request) {
    const std::size_t part = reduction(layout.width, layout.height, request);
    const bool isWide = way != Way::converted && layout.bits != 8;
    MemoryCount count;
    count.picture(layout.width / part, layout.height / part, isWide ? 16 : 8).beside(extent.keptBytes());
    if (way != Way::converted) return count.fault(request);
    count.beside(extent.bandBytes());
    if (part > 1) count.beside(std::uint64_t{layout.width} * extent.bandHeight(), CGImage::kComponents);
    return count.fault(request);
}

DecodeFault readPage(const TiffInput& file, const Layout& layout, Way way, const TiffExtent& extent,
                     const DecodeRequest& request, DecodedPixels& decoded) {
    decoded.profile = profileOf(file.tiff());
    if (way == Way::converted) return readConverted(file, layout, extent.bandHeight(), request, decoded);
    if (layout.colors() == 4) decoded.model = PixelModel::cmyk;
    if (layout.colors() == 1) decoded.model = PixelModel::gray;
    return way == Way::rows ? readPlain(file, layout, request, decoded) : readPlanes(file, layout, request, decoded);
}

DecodeFault decodePage(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    if (request.index > std::numeric_limits<tdir_t>::max()) return DecodeFault::damaged;
    TiffInput file(input, request.memoryLimit);
    if (!file.open(request.index, false)) return DecodeFault::damaged;
    const Layout layout(file.tiff());
    if (layout.width == 0 || layout.height == 0) return DecodeFault::damaged;
    const TiffExtent extent(file.tiff(), input.size());
    if (!extent.isPlausible()) return DecodeFault::damaged;
    const Way way = wayOf(layout, request);
    const bool isMapped = way != Way::converted && extent.isOneLargeStrip() && file.open(request.index, true);
    if (!file.tiff()) return DecodeFault::damaged;
    if (const auto fault = countMemory(layout, way, isMapped ? extent.mapped() : extent, request);
        fault != DecodeFault::none)
        return fault;
    return readPage(file, layout, way, extent, request, decoded);
}

}  // namespace

DecodeFault decodeTiff(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return decodePage(input, request, decoded); });
}

}  // namespace tessaly::codecs
