#pragma once

namespace tessaly {

/// Whether the system shows its colours inverted.
[[nodiscard]] bool UIAccessibilityIsInvertColorsEnabled();
/// Told by whoever knows the desktop's setting; false at start.
void UIAccessibilitySetInvertColorsEnabled(bool enabled);

}  // namespace tessaly
