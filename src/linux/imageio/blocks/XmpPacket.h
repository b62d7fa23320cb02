#pragma once
#include "linux/imageio/ByteReader.h"
#include "platform/Foundation/Value.h"

namespace tessaly::imageio {

/// Every property of an XMP packet (ISO 16684-1, 7) by its qualified name with the customary prefix, whatever prefix
/// the packet itself declares: "dc:title". A Bag or Seq is an array, an Alt its x-default (else first) text; the
/// fields of a structure are "parent/field", those of the n-th structure of a list "parent[n]/field".
[[nodiscard]] Dictionary parseXmpPacket(Bytes packet);

}  // namespace tessaly::imageio
