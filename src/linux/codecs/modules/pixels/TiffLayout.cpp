#include "linux/codecs/modules/pixels/TiffLayout.h"

#include "linux/codecs/modules/pixels/TiffSamples.h"

namespace tessaly::codecs {

TiffLayout::TiffLayout(TIFF* tiff) : isTiled(TIFFIsTiled(tiff) != 0) {
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    // Numbers that nobody has defined are counted, as everywhere.
    if (format == SAMPLEFORMAT_VOID) format = SAMPLEFORMAT_UINT;
    // Which of its numbers have a sign depends on what they mean, whatever is said of all of them.
    if (isLab() && (bits == 8 || bits == 16) && format == SAMPLEFORMAT_INT) format = SAMPLEFORMAT_UINT;
    std::uint16_t extras = 0;
    std::uint16_t* kinds = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &extras, &kinds) && extras > 0) extra = kinds[0];
}

bool TiffLayout::isPlain() const noexcept {
    const bool isGray = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
    const bool isColor = photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_SEPARATED || isLab();
    if ((!isGray && !isColor) || samples < colors()) return false;
    // The ways to number it are defined for whole bytes.
    if (isLab() && ((bits != 8 && bits != 16) || format != SAMPLEFORMAT_UINT)) return false;
    // Pages of one, two or four bits are small, and fast where they are converted.
    if (isGray && !isTiled && bits < 8 && (bits & (bits - 1U)) == 0 && format == SAMPLEFORMAT_UINT) return false;
    return TiffSamples::knows(bits, format);
}

bool TiffLayout::canBeUnpacked() const noexcept {
    const bool isJpeg = compression == COMPRESSION_JPEG || compression == COMPRESSION_OJPEG;
    return TIFFIsCODECConfigured(compression) != 0 && (!isJpeg || bits == 8);
}

}  // namespace tessaly::codecs
