#include <array>

#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {

void readRicohNote(const MakerDirectory& note, ImageProperties& properties) {
    static constexpr std::array tags{
        NoteTag{0x0005, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
        NoteTag{0x0002, TagForm::text, &ImageProperties::makerAux, "Firmware"},
    };
    addNoteTags(note.tiff, note.directory, tags, properties);
}

void readSigmaNote(const MakerDirectory& note, ImageProperties& properties) {
    static constexpr std::array tags{
        NoteTag{0x0002, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
        NoteTag{0x0017, TagForm::text, &ImageProperties::makerAux, "Firmware"},
    };
    addNoteTags(note.tiff, note.directory, tags, properties);
}

void readAppleNote(const MakerDirectory& note, ImageProperties& properties) {
    static constexpr std::array tags{NoteTag{0x0011, TagForm::text, &ImageProperties::makerApple, "17"}};
    addNoteTags(note.tiff, note.directory, tags, properties);
}

}  // namespace tessaly::imageio
