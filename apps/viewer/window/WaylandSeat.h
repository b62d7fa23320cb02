#pragma once

namespace tessaly::viewer {

/// False where the Wayland compositor of the environment answers and has no seat, no keyboard and no pointer: the
/// toolkit's plugin crashes there. True as well where there is no compositor to ask; the toolkit says so itself.
[[nodiscard]] bool waylandHasSeat();

}  // namespace tessaly::viewer
