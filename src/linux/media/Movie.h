#pragma once
#include <string_view>

#include "linux/imageio/ByteSource.h"
#include "platform/AVFoundation/AVAsset.h"

/// One reader a family of movies. Each ends in what could be read.
namespace tessaly::media {

/// QuickTime (File Format Specification), MP4 (ISO/IEC 14496-12 and -14), 3GP (3GPP TS 26.244).
void readMovie(imageio::ByteSource& source, AVAsset& asset);
/// AVI (Microsoft), of one part or several (OpenDML).
void readAvi(imageio::ByteSource& source, AVAsset& asset);
/// Transport streams (ISO/IEC 13818-1) of camcorders: what the tables, the first picture and the last time stamp tell.
void readTransport(imageio::ByteSource& source, AVAsset& asset);
/// From one packet of a transport stream to the next, 188 or 192 bytes; 0 of anything else.
[[nodiscard]] std::size_t transportStride(imageio::ByteSource& source);
/// Matroska (RFC 9559) and WebM.
void readMatroska(imageio::ByteSource& source, AVAsset& asset);

/// Uniform type identifier of a movie, by its content; "" of anything else.
[[nodiscard]] std::string_view movieTypeOf(imageio::ByteSource& source);

}  // namespace tessaly::media
