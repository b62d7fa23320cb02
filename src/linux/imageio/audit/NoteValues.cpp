#include <algorithm>
#include <array>

#include "linux/imageio/Text.h"
#include "linux/imageio/audit/FoundValues.h"
#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

struct Maker {
    NoteReader read;
    std::string_view name;
};
constexpr std::array kMakers{
    Maker{readCanonNote, "Canon"},   Maker{readNikonNote, "Nikon"},         Maker{readFujifilmNote, "Fujifilm"},
    Maker{readSonyNote, "Sony"},     Maker{readPanasonicNote, "Panasonic"}, Maker{readOlympusNote, "Olympus"},
    Maker{readPentaxNote, "Pentax"}, Maker{readSamsungNote, "Samsung"},     Maker{readRicohNote, "Ricoh"},
    Maker{readSigmaNote, "Sigma"},   Maker{readAppleNote, "Apple"},
};

/// What a field of a note, or the bytes of it from `offset` on, is called. The names are the customary ones; what they
/// stand for is told by their words, as everywhere.
struct NoteName {
    NoteReader maker;
    std::uint16_t directory;  ///< Tag of the note's field that points to it; 0 is the note's own.
    std::uint16_t tag;
    std::string_view name;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;  ///< 0: all of it.
};
constexpr std::array kNames{
    NoteName{readCanonNote, 0, 0x0008, "FileNumber"},
    NoteName{readCanonNote, 0, 0x0009, "OwnerName"},
    NoteName{readCanonNote, 0, 0x000C, "SerialNumber"},
    NoteName{readCanonNote, 0, 0x0028, "ImageUniqueID"},
    NoteName{readCanonNote, 0, 0x0035, "TimeZoneCity", 8, 4},
    NoteName{readCanonNote, 0, 0x0096, "InternalSerialNumber"},
    NoteName{readNikonNote, 0, 0x001D, "SerialNumber"},
    NoteName{readNikonNote, 0, 0x00A0, "SensorSerialNumber"},
    NoteName{readNikonNote, 0, 0x0039, "LocationInfo"},
    NoteName{readNikonNote, 0, 0x00A7, "ShutterCount"},
    NoteName{readNikonNote, 0, 0x00B6, "PowerUpTime"},
    NoteName{readFujifilmNote, 0, 0x0010, "InternalSerialNumber"},
    NoteName{readFujifilmNote, 0, 0x1438, "ImageCount"},
    NoteName{readFujifilmNote, 0, 0x4282, "FaceNames"},
    NoteName{readSonyNote, 0, 0x2031, "SerialNumber"},
    NoteName{readPanasonicNote, 0, 0x0025, "InternalSerialNumber"},
    NoteName{readPanasonicNote, 0, 0x0033, "BabyBirthday"},
    NoteName{readPanasonicNote, 0, 0x8010, "BabyBirthday"},
    NoteName{readPanasonicNote, 0, 0x0052, "LensSerialNumber"},
    NoteName{readPanasonicNote, 0, 0x0054, "AccessorySerialNumber"},
    NoteName{readPanasonicNote, 0, 0x0065, "Title"},
    NoteName{readPanasonicNote, 0, 0x0066, "BabyName"},
    NoteName{readPanasonicNote, 0, 0x0067, "Location"},
    NoteName{readPanasonicNote, 0, 0x0069, "Country"},
    NoteName{readPanasonicNote, 0, 0x006B, "State"},
    NoteName{readPanasonicNote, 0, 0x006D, "City"},
    NoteName{readPanasonicNote, 0, 0x006F, "Landmark"},
    NoteName{readPanasonicNote, 0, 0x0080, "City2"},
    NoteName{readPanasonicNote, 0, 0x0305, "SerialNumber"},
    NoteName{readOlympusNote, 0, 0x0404, "SerialNumber"},
    NoteName{readOlympusNote, 0, 0x101A, "SerialNumber"},
    NoteName{readOlympusNote, 0x2010, 0x0101, "SerialNumber"},
    NoteName{readOlympusNote, 0x2010, 0x0102, "InternalSerialNumber"},
    NoteName{readOlympusNote, 0x2010, 0x0202, "LensSerialNumber"},
    NoteName{readOlympusNote, 0x2010, 0x0302, "ExtenderSerialNumber"},
    NoteName{readOlympusNote, 0x2010, 0x1003, "FlashSerialNumber"},
    NoteName{readOlympusNote, 0x2020, 0x0908, "DateTimeUTC"},
    NoteName{readPentaxNote, 0, 0x0006, "Date"},
    NoteName{readPentaxNote, 0, 0x0023, "HometownCity"},
    NoteName{readPentaxNote, 0, 0x0024, "DestinationCity"},
    NoteName{readPentaxNote, 0, 0x0229, "SerialNumber"},
    NoteName{readPentaxNote, 0, 0x022E, "Artist"},
    NoteName{readPentaxNote, 0, 0x022F, "Copyright"},
    NoteName{readRicohNote, 0, 0x0005, "SerialNumber"},
    NoteName{readSamsungNote, 0, 0x0030, "LocalLocationName"},
    NoteName{readSamsungNote, 0, 0x0031, "LocationName"},
    NoteName{readSamsungNote, 0, 0xA002, "SerialNumber"},
    NoteName{readSamsungNote, 0, 0xA005, "LensSerialNumber"},
    NoteName{readSigmaNote, 0, 0x0002, "SerialNumber"},
    NoteName{readAppleNote, 0, 0x0011, "ContentIdentifier"},
    NoteName{readAppleNote, 0, 0x0015, "ImageUniqueID"},
    NoteName{readAppleNote, 0, 0x002B, "PhotoIdentifier"},
};

std::string_view nameOf(NoteReader read) {
    const auto maker = std::ranges::find(kMakers, read, &Maker::read);
    return maker == kMakers.end() ? std::string_view() : maker->name;
}

/// A number that a raw is deciphered with is left as a single byte, which tells no camera from another.
bool isKeyOnly(const NoteName& name, Bytes value) {
    if (name.maker != readNikonNote) return false;
    if (name.tag == 0x00A7)
        return std::ranges::count_if(value, [](std::byte byte) { return byte != std::byte{0}; }) <= 1;
    if (name.tag != 0x001D) return false;
    std::uint64_t number = 0;
    for (const char digit : trimmed(asText(value))) {
        if (digit < '0' || digit > '9') return number == 0;  // A model's name.
        number = number * 10 + static_cast<unsigned>(digit - '0');
        if (number > 0xFF) return false;
    }
    return true;
}

std::string textOf(const TiffEntry& entry, Bytes value) {
    if (std::ranges::all_of(value, [](std::byte byte) { return byte == std::byte{0} || byte == std::byte{0xFF}; }))
        return {};
    if (entry.type == TiffType::ascii) return toUtf8(asText(value));
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const std::byte byte : value.first(std::min<std::size_t>(value.size(), 16))) {
        text += kDigits[std::to_integer<unsigned>(byte) >> 4U];
        text += kDigits[std::to_integer<unsigned>(byte) & 15U];
    }
    return text;
}

void visitDirectory(TiffContext& tiff, const TiffDirectory& directory, NoteReader maker, std::uint16_t parent,
                    const std::string& block, const ValueVisitor& visit) {
    for (const NoteName& name : kNames) {
        if (name.maker != maker || name.directory != parent) continue;
        const auto entry = directory.find(name.tag);
        const auto whole = entry ? entry->bytes(tiff) : std::nullopt;
        if (!whole || whole->size() < name.offset + name.length) continue;
        const Bytes value = name.length == 0 ? *whole : whole->subspan(name.offset, name.length);
        if (!isKeyOnly(name, value)) visit({block, std::string(name.name), textOf(*entry, value)});
    }
}

}  // namespace

void visitNoteValues(TiffContext& tiff, const TiffEntry& note, std::string_view make, const ValueVisitor& visit) {
    auto opened = openMakerNote(tiff, note.position, note.byteLength(), make);
    if (!opened) {
        const auto bytes = tiff.source.bytesUpTo(note.position, std::min<std::uint64_t>(note.byteLength(), 1024));
        const bool isBlank = std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{0}; });
        if (!isBlank) visit({"Exif", "maker note", "unknown"});
        return;
    }
    const std::string block = std::string(nameOf(opened->read)) + " maker note";
    visit({"Exif", "maker note", block});
    visitDirectory(opened->tiff, opened->directory, opened->read, 0, block, visit);
    for (const std::uint16_t tag : {std::uint16_t{0x2010}, std::uint16_t{0x2020}}) {
        const auto pointer = opened->read == readOlympusNote ? opened->directory.find(tag) : std::nullopt;
        if (!pointer) continue;
        // An offset, or, in older notes, the directory itself as a value.
        const auto offset =
            pointer->byteLength() <= 4 ? pointer->integer(opened->tiff) : pointer->position - opened->tiff.base;
        if (offset)
            visitDirectory(opened->tiff, readTiffDirectory(opened->tiff, *offset), opened->read, tag, block, visit);
    }
}

}  // namespace tessaly::imageio
