#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "platform/Foundation/Value.h"

namespace tessaly {

/// The file without all that could tell who, where, when or with what; pixels stay as they are. Null for what cannot be
/// rewritten.
[[nodiscard]] Data dataWithoutAnyMetadata(const Data& file);

/// What `file` has and `clean`, the same without any metadata, has not, as far as it could tell something of a person:
/// kinds as keys of texts, each once, in a fixed order. What differs only in how a file is laid out is no kind.
[[nodiscard]] std::vector<std::string_view> identifyingLeftovers(const Data& file, const Data& clean);

/// "XMP data, Embedded video", in the user's language.
[[nodiscard]] std::string namesOfLeftovers(const std::vector<std::string_view>& kinds);

}  // namespace tessaly
