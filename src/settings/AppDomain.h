#pragma once
#include <string_view>

namespace tessaly {

/// Begins the identifiers that others may see: of queues, of edits in the photo library.
inline constexpr std::string_view AppDomainPrefix = "org.tessaly";

}  // namespace tessaly
