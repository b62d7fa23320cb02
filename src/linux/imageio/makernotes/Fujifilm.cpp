#include <array>

#include "linux/imageio/blocks/ExifValues.h"
#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kImageCount = 0x1438;

constexpr std::array kTags{
    NoteTag{0x0010, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
    NoteTag{0x1401, TagForm::numbers, &ImageProperties::pictureStyle, "FilmSimulation"},
    NoteTag{0x1003, TagForm::numbers, &ImageProperties::pictureStyle, "Saturation"},
};

}  // namespace

void readFujifilmNote(const MakerDirectory& note, ImageProperties& properties) {
    addNoteTags(note.tiff, note.directory, kTags, properties);
    if (const auto count = note.directory.find(kImageCount))
        if (const auto number = count->integer(note.tiff))
            ImageProperties::add(properties.makerAux, "ImageNumber", *number & 0x7FFFU);
}

}  // namespace tessaly::imageio
