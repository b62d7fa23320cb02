#include <array>

#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kEquipment = 0x2010;

constexpr std::array kEquipmentTags{
    NoteTag{0x0101, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
    NoteTag{0x0202, TagForm::text, &ImageProperties::makerAux, "LensSerialNumber"},
    NoteTag{0x0203, TagForm::text, &ImageProperties::makerAux, "LensModel"},
};
/// Cameras before there was an equipment directory.
constexpr std::array kEarlyTags{
    NoteTag{0x0404, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
    NoteTag{0x101A, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
};

}  // namespace

void readOlympusNote(const MakerDirectory& note, ImageProperties& properties) {
    if (const auto equipment = note.directory.find(kEquipment)) {
        // Old notes hold the directory as the value itself, later ones its offset.
        const bool isValue = equipment->type == TiffType::undefined;
        const std::uint64_t offset =
            isValue ? equipment->position - note.tiff.base : equipment->integer(note.tiff).value_or(0);
        addNoteTags(note.tiff, readTiffDirectory(note.tiff, offset), kEquipmentTags, properties);
    }
    addNoteTags(note.tiff, note.directory, kEarlyTags, properties);
}

}  // namespace tessaly::imageio
