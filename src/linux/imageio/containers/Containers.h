#pragma once
#include <cstdint>

#include "linux/imageio/ByteSource.h"
#include "linux/imageio/ImageProperties.h"

/// One reader a container. Each is called only for a file whose signature it owns (see ImageFormat.h), reads no more
/// than the properties need, and ends in what could be read.
namespace tessaly::imageio {

void readJpeg(ByteSource& source, ImageProperties& properties);
void readPng(ByteSource& source, ImageProperties& properties);
void readWebp(ByteSource& source, ImageProperties& properties);
void readGif(ByteSource& source, ImageProperties& properties);
void readBmp(ByteSource& source, ImageProperties& properties);
/// TIFF, BigTIFF and the raw formats built on TIFF (DNG, CR2, NEF, ARW, ORF, RW2, PEF, ...).
void readTiff(ByteSource& source, ImageProperties& properties);
/// Canon's raws of before CR2 (CIFF).
void readCrw(ByteSource& source, ImageProperties& properties);
/// Layered pictures, PSD and PSB: their image resources.
void readPsd(ByteSource& source, ImageProperties& properties);
void readRaf(ByteSource& source, ImageProperties& properties);
/// Minolta's and Sigma's raws.
void readMrw(ByteSource& source, ImageProperties& properties);
void readX3f(ByteSource& source, ImageProperties& properties);
/// HEIF, HEIC, AVIF.
void readHeif(ByteSource& source, ImageProperties& properties);
/// Canon CR3.
void readCr3(ByteSource& source, ImageProperties& properties);
/// JPEG 2000 in its file format.
void readJp2(ByteSource& source, ImageProperties& properties);
/// JPEG XL, container and bare codestream.
void readJxl(ByteSource& source, ImageProperties& properties);

}  // namespace tessaly::imageio
