#include <algorithm>
#include <array>

#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kDate = 0x0006;
constexpr std::uint16_t kTime = 0x0007;
constexpr std::uint16_t kShutterCount = 0x005D;

/// Up to four bytes as a big-endian number, filled up with zeros.
std::uint32_t word(TiffContext& tiff, const TiffEntry& entry) {
    std::array<std::byte, 4> bytes{};
    const Bytes value =
        tiff.source.bytesUpTo(entry.position, std::min<std::uint64_t>(entry.byteLength(), bytes.size()));
    std::ranges::copy(value, bytes.begin());
    return loadInteger<std::uint32_t>(bytes.data(), ByteOrder::big);
}

}  // namespace

void readPentaxNote(const MakerDirectory& note, ImageProperties& properties) {
    static constexpr std::array tags{
        NoteTag{0x0229, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
        NoteTag{0x0230, TagForm::text, &ImageProperties::makerAux, "Firmware"},
    };
    addNoteTags(note.tiff, note.directory, tags, properties);
    const auto count = note.directory.find(kShutterCount);
    const auto date = note.directory.find(kDate);
    const auto time = note.directory.find(kTime);
    if (!count || !date || !time || count->byteLength() < 4) return;
    // The counter is masked with the moment at which the picture was taken.
    ImageProperties::add(properties.makerAux, "ImageNumber",
                         word(note.tiff, *count) ^ word(note.tiff, *date) ^ ~word(note.tiff, *time));
}

}  // namespace tessaly::imageio
