#pragma once
#include "linux/codecs/ImageCodec.h"

namespace tessaly::codecs {

/// The picture of a movie that is shown at a time in seconds (the first one when there is none so early), upright, no
/// longer on a side than `request.longerSide` needs.
using DecodeVideoFrame = DecodeFault (*)(PixelInput& input, double seconds, const DecodeRequest& request,
                                         DecodedPixels& decoded);

}  // namespace tessaly::codecs
