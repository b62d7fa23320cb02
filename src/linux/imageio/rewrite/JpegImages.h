#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "linux/imageio/rewrite/RewritePlan.h"

/// What may follow the first image of a JPEG file: further images (CIPA DC-007), gain maps, motion videos.
namespace tessaly::imageio {

struct JpegPart {
    std::uint64_t position = 0;
    std::uint64_t length = 0;
};

/// One image behind the first.
struct JpegImage {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    std::uint32_t attribute = 0;  ///< Of its entry in the index, as stored.
    bool isGainMap = false;
};

/// The images behind the first: those that the index `mpf` (its TIFF structure) lists, else those that follow
/// immediately. `onlyShown` leaves out previews and whatever does not change how the picture shows.
[[nodiscard]] std::vector<JpegImage> furtherImages(ByteSource& source, const JpegPart& mpf, std::uint64_t imageEnd,
                                                   bool onlyShown);

/// An index segment for the images, whose first is `behind` bytes after the segment that is put at `position`.
[[nodiscard]] ByteVector mpfSegment(const std::vector<JpegImage>& images, std::uint64_t position, std::uint64_t behind);

/// Adds `shift` to the offsets in an index whose TIFF structure starts at `start` of `bytes`.
void moveMpfOffsets(ByteVector& bytes, std::size_t start, std::int64_t shift);

/// The description of XMP by which a picture says that a gain map follows; empty when there is none in `images`.
[[nodiscard]] std::string gainMapDescription(const std::vector<JpegImage>& images);

/// Patches that take the place out of a motion video somewhere behind `imageEnd`.
[[nodiscard]] std::vector<RewritePlan::Patch> patchTrailingMovie(ByteSource& source, std::uint64_t imageEnd);

}  // namespace tessaly::imageio
