#pragma once
#include <string>
#include <string_view>

#include "linux/imageio/ByteReader.h"
#include "platform/Foundation/Value.h"

/// Texts of files become UTF-8 here, and nowhere else: no reader ever lets an invalid sequence out.
namespace tessaly::imageio {

[[nodiscard]] bool isValidUtf8(std::string_view text) noexcept;

/// Valid UTF-8 stays; anything else is taken for Windows-1252, which is what old programs wrote.
[[nodiscard]] std::string toUtf8(std::string_view text);
[[nodiscard]] std::string utf8FromWindows1252(std::string_view text);
/// UTF-16 of the given byte order; a byte order mark at its head overrules it. Stops at a NUL.
[[nodiscard]] std::string utf8FromUtf16(Bytes text, ByteOrder order);
/// Valid UTF-8 as UTF-16.
[[nodiscard]] std::u16string utf16Of(std::string_view text);
void appendUtf8(std::string& text, char32_t codePoint);

/// Its ASCII letters in lower case.
[[nodiscard]] std::string lowerCase(std::string_view text);

/// The text up to the first NUL, without blanks at its end.
[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;

/// The same as a property: null when nothing is left.
[[nodiscard]] Value textValue(std::string_view text);
[[nodiscard]] inline Value textValue(Bytes bytes) { return textValue(asText(bytes)); }

}  // namespace tessaly::imageio
