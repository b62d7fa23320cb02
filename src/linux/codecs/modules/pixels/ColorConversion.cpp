#include <lcms2.h>

#include <array>
#include <cmath>

#include "linux/codecs/PixelFormats.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

struct ProfileCloser {
    void operator()(void* profile) const noexcept { cmsCloseProfile(profile); }
};
struct TransformDeleter {
    void operator()(void* transform) const noexcept { cmsDeleteTransform(transform); }
};
struct CurveFreer {
    void operator()(cmsToneCurve* curve) const noexcept { cmsFreeToneCurve(curve); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;
using Transform = std::unique_ptr<void, TransformDeleter>;
using Curve = std::unique_ptr<cmsToneCurve, CurveFreer>;

struct Primaries {
    int number;
    cmsCIExyYTRIPLE colors;
};

// ITU-T H.273, table 2.
constexpr std::array kPrimaries{
    Primaries{9, {{0.708, 0.292, 1}, {0.170, 0.797, 1}, {0.131, 0.046, 1}}},
    Primaries{11, {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}}},
    Primaries{12, {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}}},
};
constexpr Primaries kSRGB{1, {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}}};
constexpr cmsCIExyY kWhiteD65{0.3127, 0.3290, 1};

// ITU-T H.273, table 3.
constexpr int kLinear = 8, kPerceptualQuantizer = 16, kHybridLogGamma = 18;
/// Light of white paper in a picture with highlights (ITU-R BT.2408), and of its brightest ones, in cd/m².
constexpr double kPaperWhite = 203, kHighlight = 1000;

/// Light of a value (Rec. ITU-R BT.2100, table 4), in cd/m².
double perceptualQuantizer(double value) {
    constexpr double m1 = 0.1593017578125, m2 = 78.84375, c1 = 0.8359375, c2 = 18.8515625, c3 = 18.6875;
    const double power = std::pow(value, 1 / m2);
    return 10000 * std::pow(std::max(power - c1, 0.0) / (c2 - c3 * power), 1 / m1);
}
/// The same of the other curve (table 5), on a screen of kHighlight.
double hybridLogGamma(double value) {
    constexpr double a = 0.17883277, b = 0.28466892, c = 0.55991073;
    const double scene = value <= 0.5 ? value * value / 3 : (std::exp((value - c) / a) + b) / 12;
    return kHighlight * std::pow(scene, 1.2);
}

/// Highlights are bent into what a screen without them can show.
Curve highlightCurve(double (*light)(double)) {
    constexpr std::size_t kSize = 1024;
    std::array<cmsFloat32Number, kSize> values{};
    constexpr double peak = kHighlight / kPaperWhite;
    for (std::size_t i = 0; i < kSize; ++i) {
        const double relative = std::min(light(static_cast<double>(i) / (kSize - 1)), kHighlight) / kPaperWhite;
        values[i] = static_cast<cmsFloat32Number>(relative * (1 + relative / (peak * peak)) / (1 + relative));
    }
    return Curve(cmsBuildTabulatedToneCurveFloat(nullptr, kSize, values.data()));
}

Curve curveOf(int transfer) {
    if (transfer == kPerceptualQuantizer) return highlightCurve(perceptualQuantizer);
    if (transfer == kHybridLogGamma) return highlightCurve(hybridLogGamma);
    if (transfer == kLinear) return Curve(cmsBuildGamma(nullptr, 1));
    constexpr std::array<cmsFloat64Number, 5> srgb{2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    return Curve(cmsBuildParametricToneCurve(nullptr, 4, srgb.data()));
}

/// Null where the numbers mean sRGB anyway.
Profile profileOf(const CodedColors& colors) {
    const Primaries* primaries = nullptr;
    for (const Primaries& known : kPrimaries)
        if (known.number == colors.primaries) primaries = &known;
    const bool ownCurve =
        colors.transfer == kPerceptualQuantizer || colors.transfer == kHybridLogGamma || colors.transfer == kLinear;
    if (!primaries && !ownCurve) return nullptr;
    const Curve curve = curveOf(colors.transfer);
    cmsToneCurve* curves[3] = {curve.get(), curve.get(), curve.get()};
    return Profile(cmsCreateRGBProfile(&kWhiteD65, primaries ? &primaries->colors : &kSRGB.colors, curves));
}

std::uint32_t channelsOf(cmsHPROFILE profile) {
    return static_cast<std::uint32_t>(cmsChannelsOf(cmsGetColorSpace(profile)));
}

/// The profile that describes the pixels, null for sRGB or nothing that fits them.
Profile sourceProfile(const DecodedPixels& decoded) {
    if (decoded.model == PixelModel::lab) return Profile(cmsCreateLab4Profile(nullptr));
    if (decoded.profile.empty()) return decoded.model == PixelModel::rgb ? profileOf(decoded.colors) : nullptr;
    Profile profile(
        cmsOpenProfileFromMem(decoded.profile.data(), static_cast<cmsUInt32Number>(decoded.profile.size())));
    if (!profile) return nullptr;
    const bool isCmyk = decoded.model == PixelModel::cmyk || decoded.model == PixelModel::invertedCmyk;
    const std::uint32_t channels = channelsOf(profile.get());
    const bool fits = isCmyk ? channels == 4 : channels == 3 || (channels == 1 && decoded.model == PixelModel::gray);
    return fits ? std::move(profile) : nullptr;
}

std::uint32_t formatOf(const DecodedPixels& decoded, std::uint32_t channels) {
    const bool isWide = decoded.image.bitsPerComponent == 16;
    if (channels == 4) {
        if (decoded.model == PixelModel::invertedCmyk) return isWide ? TYPE_CMYK_16_REV : TYPE_CMYK_8_REV;
        return isWide ? TYPE_CMYK_16 : TYPE_CMYK_8;
    }
    const std::uint32_t bytes = BYTES_SH(isWide ? 2U : 1U);
    if (channels == 1) return COLORSPACE_SH(PT_GRAY) | CHANNELS_SH(1) | EXTRA_SH(3) | bytes;
    const std::uint32_t space = decoded.model == PixelModel::lab ? PT_Lab : PT_RGB;
    return COLORSPACE_SH(space) | CHANNELS_SH(3) | EXTRA_SH(1) | bytes;
}

/// Whether the transform changes no colour visibly: most photos carry sRGB itself, and need no work.
bool isIdentity(cmsHTRANSFORM transform) {
    constexpr std::array<std::uint8_t, 4> kLevels{0, 40, 128, 255};
    std::array<std::uint8_t, 64 * 4> probe{};
    std::size_t at = 0;
    for (const auto r : kLevels)
        for (const auto g : kLevels)
            for (const auto b : kLevels) {
                probe[at++] = r;
                probe[at++] = g;
                probe[at++] = b;
                probe[at++] = 255;
            }
    auto result = probe;
    cmsDoTransform(transform, probe.data(), result.data(), 64);
    for (std::size_t i = 0; i < probe.size(); ++i)
        if (i % 4 != 3 && std::abs(int{probe[i]} - int{result[i]}) > 1) return false;
    return true;
}

/// Alpha is not lcms's business: the bytes of it stay where they are because transform and extra channels are in place.
void convert(DecodedPixels& decoded, cmsHPROFILE source) {
    const Profile target(cmsCreate_sRGBProfile());
    const std::uint32_t channels = channelsOf(source);
    const std::uint32_t input = formatOf(decoded, channels);
    const bool isWide = decoded.image.bitsPerComponent == 16;
    const std::uint32_t output = isWide ? TYPE_RGBA_16 : TYPE_RGBA_8;
    const std::uint32_t flags = cmsFLAGS_NOCACHE | (channels == 4 ? 0U : cmsFLAGS_COPY_ALPHA);
    const Transform transform(cmsCreateTransform(source, input, target.get(), output, INTENT_PERCEPTUAL,
                                                 channels == 1 ? cmsFLAGS_NOCACHE : flags));
    if (!transform || (channels == 3 && !isWide && isIdentity(transform.get()))) return;
    CGImage& image = decoded.image;
    for (std::size_t y = 0; y < image.height; ++y)
        cmsDoTransform(transform.get(), image.row(y), image.row(y), static_cast<cmsUInt32Number>(image.width));
}

/// Inks without a profile: each takes its colour away (the usual approximation).
template <class Component>
void convertInks(CGImage& image, bool isInverted) {
    constexpr std::uint64_t kFull = std::numeric_limits<Component>::max();
    for (std::size_t y = 0; y < image.height; ++y) {
        auto* pixel = reinterpret_cast<Component*>(image.row(y));
        for (std::size_t x = 0; x < image.width; ++x, pixel += 4) {
            const std::uint64_t paper = isInverted ? pixel[3] : kFull - pixel[3];
            for (std::size_t c = 0; c < 3; ++c)
                pixel[c] = static_cast<Component>((isInverted ? pixel[c] : kFull - pixel[c]) * paper / kFull);
        }
    }
}

template <class Component>
void makeOpaque(CGImage& image) {
    for (std::size_t y = 0; y < image.height; ++y) {
        auto* pixel = reinterpret_cast<Component*>(image.row(y));
        for (std::size_t x = 0; x < image.width; ++x) pixel[x * 4 + 3] = std::numeric_limits<Component>::max();
    }
}

void becomeOpaque(CGImage& image) {
    image.alphaInfo = CGImageAlphaInfo::noneSkipLast;
    if (image.bitsPerComponent == 16)
        makeOpaque<std::uint16_t>(image);
    else
        makeOpaque<std::uint8_t>(image);
}

void beSilent() {
    cmsSetLogErrorHandler([](cmsContext, cmsUInt32Number, const char*) {});
}

/// The profile in the bytes of a file.
std::vector<std::byte> written(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    if (!cmsSaveProfileToMem(profile, nullptr, &size)) return {};
    std::vector<std::byte> bytes(size);
    return cmsSaveProfileToMem(profile, bytes.data(), &size) ? std::move(bytes) : std::vector<std::byte>();
}

}  // namespace

bool keepProfile(DecodedPixels& decoded) {
    beSilent();
    // Grey, Lab and inks become sRGB: what is written has three channels of light, and no profile of other ones fits.
    if (decoded.model != PixelModel::rgb) return false;
    const Profile source = sourceProfile(decoded);
    if (!source || cmsGetColorSpace(source.get()) != cmsSigRgbData) return false;
    if (!decoded.profile.empty()) return true;
    // Highlights beyond white are bent into the picture, once and for all.
    const int transfer = decoded.colors.transfer;
    if (transfer == kPerceptualQuantizer || transfer == kHybridLogGamma) return false;
    decoded.profile = written(source.get());
    return !decoded.profile.empty();
}

void convertToSRGB(DecodedPixels& decoded) {
    beSilent();
    const bool isCmyk = decoded.model == PixelModel::cmyk || decoded.model == PixelModel::invertedCmyk;
    if (const Profile source = sourceProfile(decoded)) {
        convert(decoded, source.get());
    } else if (isCmyk) {
        const bool isInverted = decoded.model == PixelModel::invertedCmyk;
        if (decoded.image.bitsPerComponent == 16)
            convertInks<std::uint16_t>(decoded.image, isInverted);
        else
            convertInks<std::uint8_t>(decoded.image, isInverted);
    }
    if (isCmyk) becomeOpaque(decoded.image);
    decoded.model = PixelModel::rgb;
    decoded.profile.clear();
    decoded.colors = {};
}

}  // namespace tessaly::codecs
