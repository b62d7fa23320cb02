#pragma once
#include "linux/codecs/isolation/Descriptor.h"
#include "linux/codecs/isolation/Orders.h"

namespace tessaly::codecs {

/// An answer may come from a decoder that a file took over: nothing of it is believed.
///
/// @return whether it tells of a picture, of a size that `order` allows and that fits into memory.
[[nodiscard]] bool isSound(const Answer& answer, const Order& order) noexcept;

/// The picture of a sound answer, or an image without pixels. `memory` is made unchangeable first, and holds exactly
/// the picture and its profile: what somebody can still write to, or is too short, is refused. Large pictures are
/// mapped, without a copy and for reading only.
[[nodiscard]] CGImage takeFromMemory(const Answer& answer, const Descriptor& memory);
/// The same of a file, which nobody may have open any more.
[[nodiscard]] CGImage takeFromFile(const Answer& answer, const Descriptor& file);

/// The profile of a picture that was taken, where it has one.
[[nodiscard]] std::vector<std::byte> takeProfile(const Answer& answer, const Descriptor& memory);

}  // namespace tessaly::codecs
