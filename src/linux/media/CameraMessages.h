#pragma once
#include "linux/imageio/ByteReader.h"
#include "platform/AVFoundation/AVAsset.h"

namespace tessaly::media {

/// What camcorders write between the pictures of H.264: messages of five bytes a field ("MDPM") in user data that is
/// not registered (ITU-T H.264, D.1.6). Date, make, model, exposure, place. Not documented; known from comparing files.
void readCameraMessages(imageio::Bytes stream, AVAsset& asset);

}  // namespace tessaly::media
