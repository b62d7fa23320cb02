#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Foundation/Utf8.h"

namespace tessaly::cli {

/// Columns that a text takes on a terminal: none for combining marks, two for wide characters.
[[nodiscard]] std::size_t displayWidth(std::string_view text) noexcept;
/// The text in lines of at most `width` columns, broken at blanks where there are any. Control characters become
/// blanks: a file's text never steers the terminal.
[[nodiscard]] std::vector<std::string> wrapped(std::string_view text, std::size_t width);
/// A name on a line of its own: what would break the line or steer a terminal, and bytes that are no text, as "\\n" or
/// "\\x1b". Everything else stays.
[[nodiscard]] std::string escaped(std::string_view name);
/// The text without control characters.
[[nodiscard]] std::string printable(std::string_view text);

}  // namespace tessaly::cli
