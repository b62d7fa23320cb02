#pragma once
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

#include "platform/Foundation/Value.h"

namespace tessaly {

/// One argument of a format. Texts are viewed, not copied: they must outlive the call.
class FormatArgument {
public:
    FormatArgument(std::signed_integral auto number) : state_(static_cast<std::int64_t>(number)) {}
    FormatArgument(std::unsigned_integral auto number) : state_(static_cast<std::uint64_t>(number)) {}
    FormatArgument(std::floating_point auto number) : state_(static_cast<double>(number)) {}
    FormatArgument(std::string_view text) : state_(text) {}
    FormatArgument(const std::string& text) : state_(std::string_view(text)) {}
    FormatArgument(const char* text) : state_(std::string_view(text)) {}
    FormatArgument(const Value& value);

    [[nodiscard]] std::string text() const;
    [[nodiscard]] std::int64_t integer() const;
    [[nodiscard]] double real() const;

private:
    std::variant<std::int64_t, std::uint64_t, double, std::string_view, std::string> state_;
};

/// Fills a printf-like format: %@ %d %i %u %ld %lu %lld %llu %x %X %f %s %% with flags 0 - + blank #, width, precision
/// and positions ("%2$@").
///
/// Formats come from translations, so nothing in one can do harm: an argument that is missing prints nothing, one of
/// another kind is converted by the platform's rules (a text by its numeric prefix), a specifier that is not known
/// stands as it is. The decimal point is always ".".
[[nodiscard]] std::string format(std::string_view format, std::initializer_list<FormatArgument> arguments);

template <class... Arguments>
[[nodiscard]] std::string formatted(std::string_view text, const Arguments&... arguments) {
    return format(text, {FormatArgument(arguments)...});
}

}  // namespace tessaly
