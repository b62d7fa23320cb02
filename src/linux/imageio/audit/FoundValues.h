#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "linux/imageio/TiffDirectory.h"

/// Looks for values wherever they may stand, without the structure that a writer goes by: the blocks of metadata are
/// recognised by their own marks, anywhere in the bytes, so that a second copy, a further page's or one behind the end
/// of the picture is found like the first.
namespace tessaly::imageio {

/// A value and where it stood.
struct FoundValue {
    std::string block;  ///< "Exif", "GPS", "TIFF", "IPTC", "XMP", "Canon maker note", "PNG", "movie", "JPEG".
    std::string name;   ///< "City", "photoshop:City"; "tag 0x1234" of what has no name.
    std::string text;   ///< As a person would write it, or the first of its numbers.
};
using ValueVisitor = std::function<void(FoundValue value)>;

/// Everything in the bytes: Exif, TIFF's directories, XMP, IPTC, chunks of PNG, boxes of movies.
void visitFoundValues(ByteSource& source, const ValueVisitor& visit);

/// The directories of a TIFF structure that starts at `base`, with all that they point to.
/// @param notes  gets the position and length of each maker note.
void visitTiffValues(ByteSource& source, std::uint64_t base, const ValueVisitor& visit,
                     const std::function<void(std::uint64_t position, std::uint64_t length)>& notes);
/// The fields of a maker note that tell a person, a body, a place or a moment; and the note itself as "note".
void visitNoteValues(TiffContext& tiff, const TiffEntry& note, std::string_view make, const ValueVisitor& visit);
/// Data sets of every record.
void visitIptcValues(Bytes datasets, const ValueVisitor& visit);
/// The boxes of a movie from its top on: times of its heads, user data, items, tracks of positions.
void visitMovieValues(ByteSource& source, const ValueVisitor& visit);

/// Whether a value says anything: not zeros, blanks or dashes alone.
[[nodiscard]] bool isTelling(std::string_view text) noexcept;

}  // namespace tessaly::imageio
