#pragma once
#include <string_view>

#include "linux/imageio/IsoBox.h"
#include "linux/imageio/rewrite/RewritePlan.h"

namespace tessaly::imageio {

/// The header of a box with `length` bytes of content (ISO/IEC 14496-12, 4.2), with the 64-bit size where it is needed.
[[nodiscard]] ByteVector boxHead(std::string_view type, std::uint64_t length);
/// How long that header is.
[[nodiscard]] std::uint64_t boxHeadSize(std::uint64_t length);
/// A whole box.
[[nodiscard]] ByteVector boxBytes(std::string_view type, Bytes content);
/// A box around what a plan makes.
void addBox(RewritePlan& plan, std::string_view type, RewritePlan content);
/// A box of the source as it stands.
inline void copyBox(RewritePlan& plan, const IsoBox& box) { plan.copy(box.start, box.end() - box.start); }

}  // namespace tessaly::imageio
