#pragma once
#include <algorithm>
#include <optional>
#include <vector>

#include "linux/imageio/ImageProperties.h"
#include "linux/imageio/TiffDirectory.h"

namespace tessaly::imageio {

/// What the directories of one TIFF structure add up to while it is walked.
class ExifWalk {
public:
    ExifWalk(TiffContext& tiff, ImageProperties& properties) : tiff_(tiff), properties_(properties) {}

    /// IFD0: TIFF tags, and the Exif and GPS directories that it points to.
    void readFirst(const TiffDirectory& directory);
    /// The Exif directory itself, as CR3 stores it by itself.
    void readExifDirectory(std::uint64_t offset);
    void readGpsDirectory(std::uint64_t offset);
    /// Last, when make and model are known.
    void readMakerNotes();

    /// True, once, for a directory that has not been read yet.
    bool visit(std::uint64_t offset);

private:
    std::optional<std::uint64_t> offsetOf(const TiffDirectory& directory, std::uint16_t tag);
    void readXpTexts(const TiffDirectory& directory);

    TiffContext& tiff_;
    ImageProperties& properties_;
    std::vector<std::uint64_t> visited_;
    std::vector<TiffEntry> notes_;
};

/// Orientation and density of the top level from the TIFF dictionary, where the container gave none.
void adoptTiffBasics(ImageProperties& properties);

}  // namespace tessaly::imageio
