#pragma once

namespace tessaly {

/// A decoded picture. Records only hold it; whoever decodes defines it.
class UIImage;

}  // namespace tessaly
