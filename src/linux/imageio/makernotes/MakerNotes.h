#pragma once
#include <optional>
#include <span>
#include <string_view>

#include "linux/imageio/ImageProperties.h"
#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/blocks/ExifTags.h"

/// The private directories of camera makers, of which only serial numbers, lens, counters, firmware, owner and film
/// mode are read. None is documented by its maker; what is known comes from comparing files.
namespace tessaly::imageio {

/// A tag that becomes a property as it is.
struct NoteTag {
    std::uint16_t tag;
    TagForm form;
    Dictionary ImageProperties::*dictionary;
    std::string_view name;
};

/// Adds every tag of the directory that `tags` knows, the first of two that mean the same.
void addNoteTags(TiffContext& tiff, const TiffDirectory& directory, std::span<const NoteTag> tags,
                 ImageProperties& properties);

/// The directory of a note, with the base from which its offsets count.
struct MakerDirectory {
    TiffContext& tiff;
    const TiffDirectory& directory;
    std::string_view model;
};

using NoteReader = void (*)(const MakerDirectory& note, ImageProperties& properties);

/// A note whose format is known: its directory, and how its offsets count. `read` tells the makers apart.
struct OpenedNote {
    TiffContext tiff;
    std::uint64_t directoryPosition = 0;  ///< In the source.
    TiffDirectory directory;
    NoteReader read = nullptr;
};
[[nodiscard]] std::optional<OpenedNote> openMakerNote(TiffContext& tiff, std::uint64_t position, std::uint64_t length,
                                                      std::string_view make);

void readCanonNote(const MakerDirectory& note, ImageProperties& properties);
void readNikonNote(const MakerDirectory& note, ImageProperties& properties);
void readFujifilmNote(const MakerDirectory& note, ImageProperties& properties);
void readSonyNote(const MakerDirectory& note, ImageProperties& properties);
void readPanasonicNote(const MakerDirectory& note, ImageProperties& properties);
void readOlympusNote(const MakerDirectory& note, ImageProperties& properties);
void readPentaxNote(const MakerDirectory& note, ImageProperties& properties);
void readSamsungNote(const MakerDirectory& note, ImageProperties& properties);
void readRicohNote(const MakerDirectory& note, ImageProperties& properties);
void readSigmaNote(const MakerDirectory& note, ImageProperties& properties);
/// Trail cameras: blocks of bytes at fixed places. Does nothing to any other note.
void readReconyxNote(Bytes note, ImageProperties& properties);
/// Only the identifier that a live photo shares with its video (17); the rest is not told to anybody.
void readAppleNote(const MakerDirectory& note, ImageProperties& properties);

/// "18-55mm f/3.5-5.6" from focal lengths in mm and F-numbers; 0 is unknown, equal ends are written once.
struct LensRange {
    double shortest = 0, longest = 0, widestAtShortest = 0, widestAtLongest = 0;
};
[[nodiscard]] Value lensDescription(const LensRange& lens);
[[nodiscard]] Value lensInfo(const LensRange& lens);

}  // namespace tessaly::imageio
