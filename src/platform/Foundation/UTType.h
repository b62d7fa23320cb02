#pragma once
#include <string_view>

/// Uniform type identifiers.
namespace tessaly {

inline constexpr std::string_view kUTTypeImage = "public.image";
inline constexpr std::string_view kUTTypeMovie = "public.movie";
inline constexpr std::string_view kUTTypeHEIC = "public.heic";

/// Whether what is of the one type is of the other, too: "public.heic" is "public.image" and itself.
[[nodiscard]] bool UTTypeConformsTo(std::string_view type, std::string_view conformsTo) noexcept;

}  // namespace tessaly
