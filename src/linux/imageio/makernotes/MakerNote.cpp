#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/ExifValues.h"
#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

/// What the offsets inside a note count from.
enum class NoteBase : std::uint8_t {
    outer,   ///< The TIFF header of the file.
    note,    ///< The note's first byte.
    header,  ///< A TIFF header of its own, which stands behind the mark.
    self,    ///< The note's first byte; the directory's offset stands behind the mark, little-endian.
};

struct NoteFormat {
    std::string_view mark;  ///< How the note begins; empty where it is a bare directory.
    std::string_view make;  ///< How the camera's make begins, in lower case; empty for any.
    std::uint8_t head;      ///< Bytes before the directory or header.
    NoteBase base;
    void (*read)(const MakerDirectory&, ImageProperties&);
};

/// The first that fits. Marks before makes: cameras carry notes of who built them.
constexpr std::array kFormats{
    NoteFormat{"Apple iOS\0\0\1"sv, "", 14, NoteBase::note, readAppleNote},
    NoteFormat{"FUJIFILM"sv, "", 8, NoteBase::self, readFujifilmNote},
    NoteFormat{"GENERALE"sv, "", 8, NoteBase::self, readFujifilmNote},
    NoteFormat{"Nikon\0\1"sv, "", 8, NoteBase::outer, readNikonNote},
    NoteFormat{"Nikon\0\2"sv, "", 10, NoteBase::header, readNikonNote},
    NoteFormat{"SONY DSC \0\0\0"sv, "", 12, NoteBase::outer, readSonyNote},
    NoteFormat{"SONY CAM \0\0\0"sv, "", 12, NoteBase::outer, readSonyNote},
    NoteFormat{"SONY MOBILE"sv, "", 12, NoteBase::outer, readSonyNote},
    NoteFormat{"VHAB     \0\0\0"sv, "", 12, NoteBase::outer, readSonyNote},
    NoteFormat{"Panasonic\0\0\0"sv, "", 12, NoteBase::outer, readPanasonicNote},
    NoteFormat{"LEICA CAMERA AG\0"sv, "", 18, NoteBase::outer, readPanasonicNote},
    NoteFormat{"LEICA\0\0\0"sv, "leica", 8, NoteBase::outer, readPanasonicNote},
    NoteFormat{"OM SYSTEM\0\0\0"sv, "", 16, NoteBase::note, readOlympusNote},
    NoteFormat{"OLYMPUS\0"sv, "", 12, NoteBase::note, readOlympusNote},
    NoteFormat{"OLYMP\0"sv, "", 8, NoteBase::outer, readOlympusNote},
    NoteFormat{"EPSON\0"sv, "", 8, NoteBase::outer, readOlympusNote},
    NoteFormat{"AOC\0"sv, "", 6, NoteBase::outer, readPentaxNote},
    NoteFormat{"PENTAX \0"sv, "", 10, NoteBase::note, readPentaxNote},
    NoteFormat{"RICOH\0II"sv, "", 8, NoteBase::note, readPentaxNote},
    NoteFormat{"RICOH\0MM"sv, "", 8, NoteBase::note, readPentaxNote},
    NoteFormat{"Ricoh\0\0\0"sv, "", 8, NoteBase::outer, readRicohNote},
    NoteFormat{"RICOH\0\0\0"sv, "", 8, NoteBase::outer, readRicohNote},
    NoteFormat{"SIGMA\0\0\0"sv, "", 10, NoteBase::outer, readSigmaNote},
    NoteFormat{"FOVEON\0\0"sv, "", 10, NoteBase::outer, readSigmaNote},
    NoteFormat{"", "canon", 0, NoteBase::outer, readCanonNote},
    NoteFormat{"", "nikon", 0, NoteBase::outer, readNikonNote},
    NoteFormat{"", "sony", 0, NoteBase::outer, readSonyNote},
    NoteFormat{"", "samsung", 0, NoteBase::note, readSamsungNote},
};

constexpr std::size_t kLongestMark = 18;
constexpr std::uint64_t kReconyxHead = 256;  ///< All that is read of one stands before.
constexpr std::uint16_t kMostEntries = 512;
constexpr std::uint64_t kInlineSize = 4;
constexpr std::size_t kEnoughInside = 4;  // Values that stand where they should: the note was not moved.

bool startsWithMake(std::string_view make, std::string_view prefix) {
    return make.size() >= prefix.size() && std::ranges::equal(make.substr(0, prefix.size()), prefix, {}, [](char c) {
               return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
           });
}

const NoteFormat* formatOf(std::string_view head, std::string_view make) {
    const auto fits = [&](const NoteFormat& format) {
        return head.starts_with(format.mark) && startsWithMake(make, format.make);
    };
    const auto found = std::ranges::find_if(kFormats, fits);
    return found == kFormats.end() ? nullptr : &*found;
}

/// Notes keep their byte order when a program rewrites the file in the other one: the order in which the number of
/// entries is the smaller one is the note's.
void chooseOrder(TiffContext& tiff, std::uint64_t position) {
    const auto bytes = tiff.source.bytes(position, 2);
    if (!bytes) return;
    const ByteOrder other = tiff.order == ByteOrder::little ? ByteOrder::big : ByteOrder::little;
    const auto count = loadInteger<std::uint16_t>(bytes->data(), tiff.order);
    const auto otherCount = loadInteger<std::uint16_t>(bytes->data(), other);
    if (otherCount > 0 && otherCount <= kMostEntries && (count == 0 || otherCount < count)) tiff.order = other;
}

/// A program that moves a note without knowing its insides leaves offsets that point where it stood before. Values
/// follow the directory, so where the lowest of them falls outside the note, that distance is what it was moved by.
void correctBase(TiffContext& tiff, const TiffDirectory& directory, const MakerNoteEntry& note,
                 std::uint64_t directoryPosition) {
    const std::uint64_t end = directoryPosition + 2 + directory.entries.size() * 12;
    std::uint64_t lowest = UINT64_MAX;
    std::size_t inside = 0;
    std::size_t outside = 0;
    for (std::size_t i = 0; i < directory.entries.size(); ++i) {
        const TiffEntry entry = directory.entries[i];
        const std::uint64_t length = entry.byteLength();
        if (length <= kInlineSize || length > note.length) continue;
        lowest = std::min(lowest, entry.position);
        const bool fits = entry.position >= end && entry.position - note.position <= note.length - length;
        ++(fits ? inside : outside);
        if (outside == 0 && inside == kEnoughInside) return;
    }
    if (outside <= inside || lowest == UINT64_MAX) return;
    tiff.base += end + kInlineSize - lowest;  // Wraps round for a note that was moved towards the start.
}

std::optional<OpenedNote> openDirectory(TiffContext tiff, const NoteFormat& format, const MakerNoteEntry& note,
                                        std::uint64_t position) {
    chooseOrder(tiff, position);
    tiff.big = false;
    TiffDirectory directory = readTiffDirectory(tiff, position - tiff.base);
    if (directory.entries.empty()) return std::nullopt;
    if (format.base == NoteBase::outer) {
        const std::uint64_t base = tiff.base;
        correctBase(tiff, directory, note, position);
        if (tiff.base != base) directory = readTiffDirectory(tiff, position - tiff.base);
    }
    return OpenedNote{tiff, position, directory, format.read};
}

}  // namespace

void addNoteTags(TiffContext& tiff, const TiffDirectory& directory, std::span<const NoteTag> tags,
                 ImageProperties& properties) {
    for (const auto& [tag, form, dictionary, name] : tags)
        if (const auto entry = directory.find(tag))
            ImageProperties::add(properties.*dictionary, name, tiffValue(tiff, *entry, form));
}

std::optional<OpenedNote> openMakerNote(TiffContext& tiff, std::uint64_t notePosition, std::uint64_t length,
                                        std::string_view make) {
    const MakerNoteEntry note{notePosition, length};
    const std::string_view head =
        asText(tiff.source.bytesUpTo(note.position, std::min<std::uint64_t>(note.length, kLongestMark)));
    const NoteFormat* format = formatOf(head, make);
    if (!format || head.size() < 8) return std::nullopt;
    TiffContext inner = tiff;
    std::uint64_t position = note.position + format->head;
    switch (format->base) {
        case NoteBase::outer:
            break;
        case NoteBase::note:
            inner.base = note.position;
            // The two letters before the directory, where there are some.
            if (const auto order = tiff.source.bytes(position - 2, 2); order && format->head >= 8) {
                if (asText(*order) == "II"sv) inner.order = ByteOrder::little;
                if (asText(*order) == "MM"sv) inner.order = ByteOrder::big;
            }
            break;
        case NoteBase::header: {
            auto header = readTiffHeader(tiff.source, position);
            if (!header) return std::nullopt;
            inner.order = header->context.order;
            inner.base = position;
            position += header->firstDirectory;
            break;
        }
        case NoteBase::self: {
            const auto offset = tiff.source.read<std::uint32_t>(position, ByteOrder::little);
            if (!offset) return std::nullopt;
            inner.order = ByteOrder::little;
            inner.base = note.position;
            position = note.position + *offset;
            break;
        }
    }
    return openDirectory(inner, *format, note, position);
}

void readMakerNote(TiffContext& tiff, const MakerNoteEntry& note, std::string_view make, std::string_view model,
                   ImageProperties& properties) {
    if (auto opened = openMakerNote(tiff, note.position, note.length, make))
        opened->read({opened->tiff, opened->directory, model}, properties);
    else if (startsWithMake(make, "reconyx"))
        readReconyxNote(tiff.source.bytesUpTo(note.position, std::min<std::uint64_t>(note.length, kReconyxHead)),
                        properties);
}

}  // namespace tessaly::imageio
