#pragma once
#include <string_view>

#include "linux/imageio/ByteSource.h"
#include "linux/imageio/ImageProperties.h"
#include "linux/imageio/TiffDirectory.h"

/// Metadata blocks that several containers carry. None fails: a damaged block adds what could be read.
namespace tessaly::imageio {

/// A TIFF structure that carries Exif (Exif 2.32, 4.5): first directory, Exif, GPS, interoperability, maker note.
/// `tiff` starts at `base` in `source`; offsets count from there. Adds to tiff, exif, gps, aux, pictureStyle and,
/// where absent, the top level's orientation and density.
void readExif(ByteSource& source, std::uint64_t base, ImageProperties& properties);

/// The same over bytes in memory that may start with "Exif\0\0".
void readExif(Bytes block, ImageProperties& properties);

/// A maker note (Exif tag 0x927C): adds to aux and pictureStyle what the platform reports of it.
/// `note` is the entry as found; offsets inside count from wherever the maker's format says.
struct MakerNoteEntry {
    std::uint64_t position = 0;  ///< Of the note's first byte, in the source.
    std::uint64_t length = 0;
};
void readMakerNote(TiffContext& tiff, const MakerNoteEntry& note, std::string_view make, std::string_view model,
                   ImageProperties& properties);

/// An XMP packet (ISO 16684-1), UTF-8 or UTF-16. Fills xmp with everything, and iptc, aux, exif, tiff, gps where
/// absent.
void readXmp(Bytes packet, ImageProperties& properties);

/// IPTC-IIM datasets (IIM 4.2) with their coded character set: adds to iptc.
void readIptc(Bytes datasets, ImageProperties& properties);

/// Photoshop image resources ("8BIM"): IPTC (0x0404), density (0x03ED), XMP (0x0424), ICC (0x040F).
void readPhotoshopResources(Bytes resources, ImageProperties& properties);

/// An ICC profile (ICC.1:2022, 7 and 9): its description becomes ProfileName, its colour space ColorModel.
void readIccProfile(Bytes profile, ImageProperties& properties);

}  // namespace tessaly::imageio
