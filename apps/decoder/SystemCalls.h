#pragma once
#include <linux/filter.h>

#include <vector>

/// The filters of system calls.
namespace tessaly::decoder {

/// A filter in the kernel's own form.
using Filter = std::vector<sock_filter>;

/// For the whole process. Empty where it cannot be made.
[[nodiscard]] Filter filterOfProcess();
/// For the copy that decodes, on top of the other.
[[nodiscard]] Filter filterOfCopy();

/// From here on and for good. @return whether the kernel has taken it.
[[nodiscard]] bool install(const Filter& filter);

}  // namespace tessaly::decoder
