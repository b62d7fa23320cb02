#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/UIKit/UITraitCollection.h"

namespace tessaly::viewer {

/// What the command line asks for.
struct Arguments {
    std::vector<std::string> items;  ///< Paths, URLs, "-"; as they were given.
    std::string language;            ///< "" for the chosen one.
    UIUserInterfaceStyle appearance = UIUserInterfaceStyle::unspecified;
    std::optional<double> textScale;
    bool reducesMotion = false;
    std::optional<CGSize> size;  ///< Points.
    std::size_t page = 1;        ///< Counted from 1.
    bool changesLanguage = false;
    bool sharesWithoutMetadata = false;  ///< All photos, as soon as they are there.
    /// The containing app's screens, not a request's: asked for, or there is nothing else to show.
    bool isApp = false;
    std::string screenshot;  ///< The file to write; "" for a window that stays.
};

/// Understands the arguments, without the program's own name. Nothing is opened.
/// @return the exit status instead where that is all: after --help and --version, which are printed, and after a
/// complaint about wrong usage.
[[nodiscard]] std::variant<Arguments, int> parseArguments(std::vector<std::string> arguments);

/// "390x844"; nullopt for what is no size, or none that a window can have.
[[nodiscard]] std::optional<CGSize> parseSize(const std::string& text);

}  // namespace tessaly::viewer
