#pragma once
#include <span>

#include "linux/imageio/IsoBox.h"
#include "platform/AVFoundation/AVAsset.h"

namespace tessaly::media {

/// Reads the "meta", "udta" and "uuid" boxes of a movie box: QuickTime keys first, then user data in all the forms that
/// cameras write, then the lists of music players, then XMP.
void readMovieTexts(imageio::ByteSource& source, std::span<const imageio::IsoBox> boxes, AVAsset& asset);

/// A "meta" or "uuid" box at the file's top level: XMP, and the XML that Sony's camcorders write.
void readFileTexts(imageio::ByteSource& source, const imageio::IsoBox& box, AVAsset& asset);

}  // namespace tessaly::media
