#include <array>

#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {

void readPanasonicNote(const MakerDirectory& note, ImageProperties& properties) {
    static constexpr std::array tags{
        NoteTag{0x0025, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
        NoteTag{0x0051, TagForm::text, &ImageProperties::makerAux, "LensModel"},
        NoteTag{0x0052, TagForm::text, &ImageProperties::makerAux, "LensSerialNumber"},
    };
    addNoteTags(note.tiff, note.directory, tags, properties);
}

}  // namespace tessaly::imageio
