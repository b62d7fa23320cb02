#include <tiffio.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

/// libtiff's view of our input.
struct InputHandle {
    PixelInput& input;
    std::uint64_t offset = 0;

    static tmsize_t read(thandle_t handle, void* target, tmsize_t length) {
        auto* self = static_cast<InputHandle*>(handle);
        if (length <= 0) return 0;
        const std::size_t count = self->input.read(
            self->offset, std::span(static_cast<std::byte*>(target), static_cast<std::size_t>(length)));
        self->offset += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        auto* self = static_cast<InputHandle*>(handle);
        if (whence == SEEK_CUR) offset += self->offset;
        if (whence == SEEK_END) offset += self->input.size();
        self->offset = offset;
        return offset;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) { return static_cast<InputHandle*>(handle)->input.size(); }
};

struct TiffCloser {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, TiffCloser>;

Tiff open(InputHandle& handle) {
    static const bool quiet = [] {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
        return true;
    }();
    static_cast<void>(quiet);
    return Tiff(TIFFClientOpen("image", "rm", &handle, InputHandle::read, InputHandle::write, InputHandle::seek,
                               InputHandle::close, InputHandle::size, nullptr, nullptr));
}

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
    /// Whole samples side by side in strips: read row by row, in all their depth.
    [[nodiscard]] bool isPlain() const noexcept {
        const bool knownColor = photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_SEPARATED ||
                                photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
        const bool knownDepth =
            ((bits == 8 || bits == 16) && format == SAMPLEFORMAT_UINT) || (bits == 32 && format == SAMPLEFORMAT_IEEEFP);
        return knownColor && knownDepth && planar == PLANARCONFIG_CONTIG && !isTiled && samples >= colors();
    }
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

DecodeFault readPlain(TIFF* tiff, const Layout& layout, const DecodeRequest& request, DecodedPixels& decoded) {
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
    }
    rows.end();
    if (layout.colors() == 4) decoded.model = PixelModel::cmyk;
    if (layout.colors() == 1) decoded.model = PixelModel::gray;
    return DecodeFault::none;
}

/// Everything else (tiles, palettes, bilevel, YCbCr, Lab, planes) goes through libtiff's own conversion to 8 bits.
DecodeFault readConverted(TIFF* tiff, const Layout& layout, const DecodeRequest& request, DecodedPixels& decoded) {
    if (request.pixelLimit != 0 && layout.width > request.pixelLimit / layout.height) return DecodeFault::tooLarge;
    CGImage whole;
    if (const auto fault =
            allocate(whole, layout.width, layout.height, 8,
                     layout.hasAlpha() ? CGImageAlphaInfo::premultipliedLast : CGImageAlphaInfo::noneSkipLast);
        fault != DecodeFault::none)
        return fault;
    TIFFRGBAImage image;
    char message[1024] = "";
    if (!TIFFRGBAImageOK(tiff, message) || !TIFFRGBAImageBegin(&image, tiff, 0, message))
        return DecodeFault::unsupported;
    // Rows stay where they are: the orientation is applied later, as for every format.
    image.req_orientation = image.orientation;
    const int got =
        TIFFRGBAImageGet(&image, reinterpret_cast<std::uint32_t*>(whole.pixels.get()), layout.width, layout.height);
    TIFFRGBAImageEnd(&image);
    if (!got) return DecodeFault::damaged;
    PixelRows rows;
    const auto fault = rows.begin(decoded.image, layout.width, layout.height, 8, whole.alphaInfo, request);
    for (std::size_t y = 0; fault == DecodeFault::none && y < whole.height; ++y) {
        std::memcpy(rows.next(), whole.row(y), whole.bytesPerRow());
        rows.done();
    }
    rows.end();
    if (layout.colors() == 1 && layout.photometric <= PHOTOMETRIC_MINISBLACK) decoded.model = PixelModel::gray;
    // Its conversion from inks makes colours of its own: a profile of inks does not fit them any more.
    if (layout.photometric == PHOTOMETRIC_SEPARATED || layout.photometric == PHOTOMETRIC_CIELAB)
        decoded.profile.clear();
    return fault;
}

}  // namespace

DecodeFault decodeTiff(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    InputHandle handle{input};
    const Tiff tiff = open(handle);
    if (!tiff || request.index > std::numeric_limits<tdir_t>::max()) return DecodeFault::damaged;
    if (request.index > 0 && !TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(request.index)))
        return DecodeFault::damaged;
    const Layout layout(tiff.get());
    if (layout.width == 0 || layout.height == 0) return DecodeFault::damaged;
    decoded.profile = profileOf(tiff.get());
    return layout.isPlain() ? readPlain(tiff.get(), layout, request, decoded)
                            : readConverted(tiff.get(), layout, request, decoded);
}

}  // namespace tessaly::codecs
