#pragma once
#include <cstddef>
#include <string>

#include "Items.h"

namespace tessaly::cli {

/// How a page is laid out: in colour, and in how many columns (0: as wide as it comes).
struct PageStyle {
    bool colour = false;
    std::size_t width = 0;
    [[nodiscard]] static PageStyle forStandardOutput();
};

/// Appends a file's page as a person reads it: name, size, date and place, then its rows.
void appendPage(std::string& out, const std::string& path, const MediaFile& file, const KeySelection& selection,
                const PageStyle& style);

}  // namespace tessaly::cli
