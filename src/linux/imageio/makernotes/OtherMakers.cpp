#include <array>
#include <string>
#include <string_view>

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

void readReconyxNote(Bytes note, ImageProperties& properties) {
    struct Layout {
        std::string_view mark;
        std::size_t serial, letters, letterSize;
    };
    // HyperFire, HyperFire 2, UltraFire.
    static constexpr std::array layouts{Layout{"\x01\xF1", 0x2A, 15, 2}, Layout{"RECONYXH2", 0x7E, 15, 2},
                                        Layout{"RECONYXUF", 0x43, 14, 1}};
    for (const auto& [mark, serial, letters, letterSize] : layouts) {
        if (!asText(note).starts_with(mark) || note.size() < serial + letters * letterSize) continue;
        std::string text;
        for (std::size_t i = 0; i < letters; ++i) {
            const auto letter = std::to_integer<char>(note[serial + i * letterSize]);
            if (letter < ' ') break;
            text += letter;
        }
        if (!text.empty()) ImageProperties::add(properties.makerAux, "SerialNumber", text);
    }
}

void readAppleNote(const MakerDirectory& note, ImageProperties& properties) {
    static constexpr std::array tags{NoteTag{0x0011, TagForm::text, &ImageProperties::makerApple, "17"}};
    addNoteTags(note.tiff, note.directory, tags, properties);
}

}  // namespace tessaly::imageio
