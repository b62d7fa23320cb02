#include <array>
#include <bit>
#include <cmath>

#include "linux/imageio/blocks/ExifValues.h"
#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kCameraSettings = 0x0001;
constexpr std::uint16_t kShotInfo = 0x0004;

constexpr std::array kTags{
    NoteTag{0x000C, TagForm::number, &ImageProperties::makerAux, "SerialNumber"},
    NoteTag{0x0095, TagForm::text, &ImageProperties::makerAux, "LensModel"},
    NoteTag{0x0009, TagForm::text, &ImageProperties::makerAux, "OwnerName"},
    NoteTag{0x0007, TagForm::text, &ImageProperties::makerAux, "Firmware"},
};

std::int16_t shortAt(TiffContext& tiff, const TiffEntry& entry, std::uint64_t index) {
    return std::bit_cast<std::int16_t>(static_cast<std::uint16_t>(entry.integer(tiff, index).value_or(0)));
}

/// Thirty-seconds of a stop, in which 12 and 20 stand for a third and two thirds.
double stops(std::int16_t coded) {
    const int sign = coded < 0 ? -1 : 1;
    const int value = std::abs(int{coded});
    const int fraction = value & 0x1F;
    const double exact = fraction == 0x0C ? 32.0 / 3 : fraction == 0x14 ? 64.0 / 3 : fraction;
    return sign * (value - fraction + exact) / 32;
}

/// Bodies before 2006 name no lens, only its focal lengths and its widest aperture as an APEX value.
void readLens(TiffContext& tiff, const TiffEntry& settings, ImageProperties& properties) {
    constexpr std::uint64_t longest = 23, shortest = 24, units = 25, widest = 26;
    const double perMillimetre = shortAt(tiff, settings, units);
    if (perMillimetre <= 0) return;
    LensRange lens;
    lens.shortest = static_cast<std::uint16_t>(shortAt(tiff, settings, shortest)) / perMillimetre;
    lens.longest = static_cast<std::uint16_t>(shortAt(tiff, settings, longest)) / perMillimetre;
    ImageProperties::add(properties.makerAux, "LensModel", lensDescription(lens));
    if (const auto apex = shortAt(tiff, settings, widest); apex > 0)
        lens.widestAtShortest = std::round(std::exp2(stops(apex) / 2) * 10) / 10;
    lens.widestAtLongest = lens.widestAtShortest;
    ImageProperties::add(properties.makerAux, "LensInfo", lensInfo(lens));
}

}  // namespace

void readCanonNote(const MakerDirectory& note, ImageProperties& properties) {
    addNoteTags(note.tiff, note.directory, kTags, properties);
    if (const auto settings = note.directory.find(kCameraSettings)) readLens(note.tiff, *settings, properties);
    if (const auto shot = note.directory.find(kShotInfo); shot && shot->count > 15)
        ImageProperties::add(properties.makerAux, "FlashCompensation", stops(shortAt(note.tiff, *shot, 15)));
}

}  // namespace tessaly::imageio
