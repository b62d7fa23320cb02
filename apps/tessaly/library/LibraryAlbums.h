#pragma once
#include <string>

#include "linux/photos/PhotoLibrary.h"

namespace tessaly::cli {

/// The album of that title or identifier, of one's own or following from a rule; null for none.
[[nodiscard]] PHAssetCollectionRef albumNamed(const photos::PhotoLibrary& library, const std::string& title);

}  // namespace tessaly::cli
