#pragma once
#include <span>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly::cli {

/// Adds what "key=text" means to dictionaries shaped as CGImageProperties.h names them. A key is one of the short names
/// ("date", "gps", "keywords", ...) or the name of a property ("LensModel"). An empty text stands for removal.
/// @return what is wrong, "" when nothing is.
[[nodiscard]] std::string addEditValue(std::string_view key, std::string_view text, Dictionary& values);

/// The same for several "key=text", as --set has them. Throws CLI::ValidationError for what is wrong.
[[nodiscard]] Dictionary editValues(std::span<const std::string> sets);

/// The short names, for the help.
[[nodiscard]] std::string editKeysHelp();

}  // namespace tessaly::cli
