#include <array>

#include "linux/imageio/blocks/ExifValues.h"
#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kIso = 0x0002;  // Its second number.
constexpr std::uint16_t kLens = 0x0084;
constexpr std::uint16_t kShutterCount = 0x00A7;
constexpr std::uint64_t kUncounted = 4294965247;  // What bodies without a counter write.

constexpr std::array kTags{
    // Written as "NO= 200ef6d1" on early bodies, whose other serial number is blank.
    NoteTag{0x00A0, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
    NoteTag{0x001D, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
};

void readLens(TiffContext& tiff, const TiffEntry& entry, ImageProperties& properties) {
    const auto at = [&](std::uint64_t index) { return tiffNumber(tiff, entry, index).doubleValue(); };
    const LensRange lens{at(0), at(1), at(2), at(3)};
    ImageProperties::add(properties.makerAux, "LensInfo", lensInfo(lens));
    ImageProperties::add(properties.makerAux, "LensModel", lensDescription(lens));
}

}  // namespace

void readNikonNote(const MakerDirectory& note, ImageProperties& properties) {
    addNoteTags(note.tiff, note.directory, kTags, properties);
    if (const auto lens = note.directory.find(kLens); lens && lens->count == 4) readLens(note.tiff, *lens, properties);
    if (const auto iso = note.directory.find(kIso); iso && iso->count == 2 && properties.makerIso.isNull())
        properties.makerIso = tiffNumber(note.tiff, *iso, 1);
    if (const auto count = note.directory.find(kShutterCount))
        if (const auto number = count->integer(note.tiff); number && *number != kUncounted)
            ImageProperties::add(properties.makerAux, "ImageNumber", *number);
}

}  // namespace tessaly::imageio
