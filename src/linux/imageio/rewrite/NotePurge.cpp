#include "linux/imageio/rewrite/NotePurge.h"

#include <algorithm>
#include <array>
#include <utility>

#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

/// A private field that tells who, when, with which body, as which of its pictures, or, of `isPlace`, where. Fields
/// that hold such a thing among many others are taken out whole.
struct PrivateField {
    NoteReader maker;
    std::uint16_t directory;  ///< Tag of the note's field that points to the directory; 0 is the note's own.
    std::uint16_t tag;
    bool isPlace = false;
};

constexpr std::array kPrivateFields{
    PrivateField{readCanonNote, 0, 0x0009},            // Owner's name.
    PrivateField{readCanonNote, 0, 0x000C},            // Serial number, and its format.
    PrivateField{readCanonNote, 0, 0x0015},            //
    PrivateField{readCanonNote, 0, 0x000D},            // Camera information: owner, lens serial number.
    PrivateField{readCanonNote, 0, 0x0035},            // Time zone.
    PrivateField{readCanonNote, 0, 0x0096},            // Internal serial number.
    PrivateField{readCanonNote, 0, 0x4019},            // Lens serial number.
    PrivateField{readCanonNote, 0, 0x0008},            // File number.
    PrivateField{readCanonNote, 0, 0x0028},            // Unique identifier of the picture.
    PrivateField{readCanonNote, 0, 0x0097},            // Where dust lay on the sensor, and when that was looked for.
    PrivateField{readNikonNote, 0, 0x00A0},            // Serial number of the sensor.
    PrivateField{readNikonNote, 0, 0x0024},            // World time.
    PrivateField{readNikonNote, 0, 0x0091},            // Enciphered: shutter count, among others.
    PrivateField{readNikonNote, 0, 0x00A5},            // Pictures taken, and deleted ones.
    PrivateField{readNikonNote, 0, 0x00A6},            //
    PrivateField{readNikonNote, 0, 0x00B6},            // When it was switched on.
    PrivateField{readNikonNote, 0, 0x00B8},            // Numbers of folder and file.
    PrivateField{readNikonNote, 0, 0x0039, true},      // Location.
    PrivateField{readFujifilmNote, 0, 0x0010},         // Internal serial number.
    PrivateField{readFujifilmNote, 0, 0x1101},         // Numbers of the picture: in a series, of all, on a film.
    PrivateField{readFujifilmNote, 0, 0x1438},         //
    PrivateField{readFujifilmNote, 0, 0x8002},         //
    PrivateField{readFujifilmNote, 0, 0x8003},         //
    PrivateField{readFujifilmNote, 0, 0x4282},         // Names of those whose faces were known.
    PrivateField{readSonyNote, 0, 0x2031},             // Serial number.
    PrivateField{readSonyNote, 0, 0x9050},             // Enciphered: internal serial number, shutter count.
    PrivateField{readSonyNote, 0, 0x0020},             // Shutter count, in the first bodies.
    PrivateField{readSonyNote, 0, 0x2010},             // Enciphered: date, number in a series and of the file.
    PrivateField{readSonyNote, 0, 0x3000},             //
    PrivateField{readSonyNote, 0, 0x9400},             //
    PrivateField{readPanasonicNote, 0, 0x0025},        // Internal serial number.
    PrivateField{readPanasonicNote, 0, 0x0052},        // Of lens and accessory.
    PrivateField{readPanasonicNote, 0, 0x0054},        //
    PrivateField{readPanasonicNote, 0, 0x0033},        // A baby's birthday, its age and name.
    PrivateField{readPanasonicNote, 0, 0x8010},        //
    PrivateField{readPanasonicNote, 0, 0x0066},        //
    PrivateField{readPanasonicNote, 0, 0x0065},        // A title.
    PrivateField{readPanasonicNote, 0, 0x0061},        // Names and birthdays of those whose faces were known.
    PrivateField{readPanasonicNote, 0, 0x002B},        // Number in a series.
    PrivateField{readPanasonicNote, 0, 0x0303},        // Leica's serial numbers.
    PrivateField{readPanasonicNote, 0, 0x0305},        //
    PrivateField{readPanasonicNote, 0, 0x0321},        //
    PrivateField{readPanasonicNote, 0, 0x0500},        //
    PrivateField{readPanasonicNote, 0, 0x0067, true},  // Location, country, state, city, landmark.
    PrivateField{readPanasonicNote, 0, 0x0069, true},  //
    PrivateField{readPanasonicNote, 0, 0x006B, true},  //
    PrivateField{readPanasonicNote, 0, 0x006D, true},  //
    PrivateField{readPanasonicNote, 0, 0x006F, true},  //
    PrivateField{readPanasonicNote, 0, 0x0080, true},  // Village, and three more names beside it.
    PrivateField{readPanasonicNote, 0, 0x0081, true},  //
    PrivateField{readPanasonicNote, 0, 0x0082, true},  //
    PrivateField{readPanasonicNote, 0, 0x0083, true},  //
    PrivateField{readOlympusNote, 0, 0x0404},          // Serial numbers.
    PrivateField{readOlympusNote, 0, 0x101A},          //
    PrivateField{readOlympusNote, 0x2010, 0x0101},     //
    PrivateField{readOlympusNote, 0x2010, 0x0102},     //
    PrivateField{readOlympusNote, 0x2010, 0x0202},     //
    PrivateField{readOlympusNote, 0x2010, 0x0302},     //
    PrivateField{readOlympusNote, 0x2010, 0x1003},     //
    PrivateField{readOlympusNote, 0x2020, 0x0908},     // Date and time.
    PrivateField{readPentaxNote, 0, 0x0006},           // Date and time.
    PrivateField{readPentaxNote, 0, 0x0007},           //
    PrivateField{readPentaxNote, 0, 0x0023, true},     // Cities of home and journey.
    PrivateField{readPentaxNote, 0, 0x0024, true},     //
    PrivateField{readPentaxNote, 0, 0x006B},           // The same with the world time.
    PrivateField{readPentaxNote, 0, 0x0215},           // Camera information: internal serial number.
    PrivateField{readPentaxNote, 0, 0x0229},           // Serial number, artist, copyright.
    PrivateField{readPentaxNote, 0, 0x022E},           //
    PrivateField{readPentaxNote, 0, 0x022F},           //
    PrivateField{readPentaxNote, 0, 0x0029},           // Frame number.
    PrivateField{readPentaxNote, 0, 0x005D},           // Shutter count, enciphered.
    PrivateField{readRicohNote, 0, 0x0005},            // Serial numbers.
    PrivateField{readSamsungNote, 0, 0x002F, true},    // The receiver's texts, with names of the place.
    PrivateField{readSamsungNote, 0, 0x0030, true},    //
    PrivateField{readSamsungNote, 0, 0x0031, true},    //
    PrivateField{readSamsungNote, 0, 0x0032, true},    //
    PrivateField{readSamsungNote, 0, 0x0033, true},    //
    PrivateField{readSamsungNote, 0, 0x0034, true},    //
    PrivateField{readSamsungNote, 0, 0xA002},          // Serial numbers.
    PrivateField{readSamsungNote, 0, 0xA005},          //
    PrivateField{readSigmaNote, 0, 0x0002},            // Serial number.
};

void addTrim(std::vector<NoteTrim>& trims, const OpenedNote& note, std::uint16_t directoryTag, NotePurge purge,
             NoteTrim trim) {
    for (const PrivateField& field : kPrivateFields)
        if (field.maker == note.read && field.directory == directoryTag &&
            (field.isPlace || purge == NotePurge::personal) && trim.directory.find(field.tag))
            trim.tags.push_back(field.tag);
    if (!trim.tags.empty() || !trim.patches.empty()) trims.push_back(std::move(trim));
}

constexpr std::uint16_t kNikonSerialNumber = 0x001D;
constexpr std::uint16_t kNikonColorBalance = 0x0097;
constexpr std::uint16_t kNikonShutterCount = 0x00A7;

bool hasEncipheredBalance(const OpenedNote& note) {
    const auto balance = note.directory.find(kNikonColorBalance);
    const auto version = balance ? note.tiff.source.bytes(balance->position, 2) : std::nullopt;
    return version && asText(*version) == "02";
}

/// The other key is what the four bytes of the shutter count make together: one byte with that value is no count, and
/// still develops. It stands as the highest, where no shutter ever comes to.
void treatNikonShutterCount(const OpenedNote& note, NoteTrim& trim) {
    const auto count = note.directory.find(kNikonShutterCount);
    if (!count) return;
    TiffContext tiff = note.tiff;
    const auto bytes = count->byteLength() == 4 ? count->bytes(tiff) : std::nullopt;
    if (!bytes || !hasEncipheredBalance(note)) {
        trim.tags.push_back(kNikonShutterCount);
        return;
    }
    ByteVector made(4);
    std::byte& highest = tiff.order == ByteOrder::big ? made.front() : made.back();
    for (const std::byte byte : *bytes) highest ^= byte;
    trim.patches.push_back({count->position, std::move(made)});
}

/// The lowest byte of the serial number is the key to the enciphered colour balance: a number that has only that byte
/// tells nobody which camera it was, and still develops.
void treatNikonSerialNumber(const OpenedNote& note, NoteTrim& trim) {
    const auto serial = note.directory.find(kNikonSerialNumber);
    TiffContext tiff = note.tiff;
    const auto text = serial ? serial->bytes(tiff) : std::nullopt;
    if (!text) return;
    if (!hasEncipheredBalance(note) || serial->byteLength() <= 4) {
        trim.tags.push_back(kNikonSerialNumber);
        return;
    }
    std::uint64_t number = 0;
    std::size_t digits = 0;
    for (const std::byte byte : *text) {
        const auto digit = std::to_integer<unsigned>(byte) - '0';
        if (digit > 9) break;
        number = number * 10 + digit;
        ++digits;
    }
    if (digits < 3) return;  // A model's name, in the first cameras that enciphered.
    ByteVector made = copyOf(*text);
    std::uint64_t rest = number & 0xFFU;
    for (std::size_t i = digits; i > 0; --i, rest /= 10) made[i - 1] = static_cast<std::byte>('0' + rest % 10);
    trim.patches.push_back({serial->position, std::move(made)});
}

/// What is private inside a field that tells more: bytes that are filled with what is the number of none.
struct PrivatePart {
    NoteReader maker;
    std::uint16_t tag;
    std::uint64_t offset;  ///< In the value.
    std::size_t length;
    std::byte none;
    NotePurge purge;
};
constexpr std::array kPrivateParts{
    // Time zone: its length, the zone, its city, summer time.
    PrivatePart{readCanonNote, 0x0035, 8, 4, std::byte{0}, NotePurge::places},
    // World time: flags, then the cities of home and journey.
    PrivatePart{readPentaxNote, 0x006B, 2, 2, std::byte{0xFF}, NotePurge::places},
    // File information: its length, then the number of the file or of the shutter's runs.
    PrivatePart{readCanonNote, 0x0093, 2, 4, std::byte{0}, NotePurge::personal},
    // Lens and its corrections, among them the number in a series; byte by byte enciphered, in which 0 is 0.
    PrivatePart{readSonyNote, 0x9416, 0x1D, 4, std::byte{0}, NotePurge::personal},
};

void blankParts(const OpenedNote& note, NotePurge purge, NoteTrim& trim) {
    for (const PrivatePart& part : kPrivateParts) {
        const bool isMeant = part.maker == note.read && part.purge == purge;
        const auto field = isMeant ? note.directory.find(part.tag) : std::nullopt;
        if (field && field->byteLength() >= part.offset + part.length)
            trim.patches.push_back({field->position + part.offset, ByteVector(part.length, part.none)});
    }
}

/// The directories that notes of that maker point to and that have private fields.
std::vector<std::uint16_t> furtherDirectories(NoteReader maker) {
    std::vector<std::uint16_t> tags;
    for (const PrivateField& field : kPrivateFields)
        if (field.maker == maker && field.directory != 0 && std::ranges::find(tags, field.directory) == tags.end())
            tags.push_back(field.directory);
    return tags;
}

}  // namespace

std::vector<NoteTrim> noteTrims(TiffContext& tiff, const TiffEntry& note, std::string_view make, NotePurge purge) {
    std::vector<NoteTrim> trims;
    if (purge == NotePurge::nothing) return trims;
    auto opened = openMakerNote(tiff, note.position, note.byteLength(), make);
    if (!opened || !opened->directory.complete) return trims;
    NoteTrim own{opened->tiff, opened->directoryPosition, opened->directory, {}, {}};
    if (opened->read == readNikonNote && purge == NotePurge::personal) {
        treatNikonSerialNumber(*opened, own);
        treatNikonShutterCount(*opened, own);
    }
    blankParts(*opened, purge, own);
    addTrim(trims, *opened, 0, purge, std::move(own));
    for (const std::uint16_t tag : furtherDirectories(opened->read)) {
        const auto pointer = opened->directory.find(tag);
        if (!pointer) continue;
        // The pointer is an offset, or, in older notes, the directory itself as a value.
        const bool isOffset = pointer->byteLength() <= 4;
        const auto offset = isOffset ? pointer->integer(opened->tiff) : pointer->position - opened->tiff.base;
        if (!offset) continue;
        const TiffDirectory directory = readTiffDirectory(opened->tiff, *offset);
        if (directory.complete && !directory.entries.empty())
            addTrim(trims, *opened, tag, purge, {opened->tiff, opened->tiff.base + *offset, directory, {}, {}});
    }
    return trims;
}

}  // namespace tessaly::imageio
