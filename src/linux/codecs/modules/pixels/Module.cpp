#include "linux/codecs/modules/pixels/Pixels.h"

using namespace tessaly::codecs;

extern "C" __attribute__((visibility("default"))) const PixelsModule tessaly_pixels{
    .decodeJpeg = decodeJpeg,
    .decodePng = decodePng,
    .decodeWebp = decodeWebp,
    .decodeTiff = decodeTiff,
    .encodeJpeg = encodeJpeg,
    .encodePng = encodePng,
    .convertToSRGB = convertToSRGB,
    .scale = scale,
    .draw = draw,
};
