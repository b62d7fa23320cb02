#include <array>

#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {

void readSamsungNote(const MakerDirectory& note, ImageProperties& properties) {
    static constexpr std::array tags{
        NoteTag{0xA002, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
        NoteTag{0xA005, TagForm::text, &ImageProperties::makerAux, "LensSerialNumber"},
        NoteTag{0xA001, TagForm::text, &ImageProperties::makerAux, "Firmware"},
    };
    addNoteTags(note.tiff, note.directory, tags, properties);
}

}  // namespace tessaly::imageio
