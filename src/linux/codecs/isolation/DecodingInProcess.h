#pragma once
#include "linux/codecs/isolation/IsolatedDecoding.h"

namespace tessaly::codecs {

/// The same picture by the same libraries, in this process: for tests and benchmarks that look at what the libraries
/// take. Programs never call it, as nothing would keep a file from taking them over.
[[nodiscard]] CGImage decodeInProcess(const CodecOfFamily& codec, imageio::ByteSource& source,
                                      const DecodeRequest& request, CGImageFault& fault, double time = 0);

}  // namespace tessaly::codecs
