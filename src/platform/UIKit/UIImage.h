#pragma once

namespace tessaly {

/// A decoded picture.
class UIImage;

}  // namespace tessaly
