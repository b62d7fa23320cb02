#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/pixels/Pixels.h"

using namespace tessaly::codecs;

TESSALY_MODULE_SYMBOL PixelsModule tessaly_pixels{
    .decodeJpeg = decodeJpeg,
    .decodePng = decodePng,
    .decodeWebp = decodeWebp,
    .decodeTiff = decodeTiff,
    .decodeBmp = decodeBmp,
    .decodePsd = decodePsd,
    .encodeJpeg = encodeJpeg,
    .encodePng = encodePng,
    .convertToSRGB = convertToSRGB,
    .keepProfile = keepProfile,
    .scale = scale,
    .draw = draw,
};
