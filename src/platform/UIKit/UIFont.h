#pragma once
#include <string>

namespace tessaly {

/// A face by its name, in points. "" is the interface's own face.
struct UIFont {
    std::string fontName;
    double pointSize = 17;
    friend bool operator==(const UIFont&, const UIFont&) = default;
};

}  // namespace tessaly
