#include <string>

#include "linux/imageio/makernotes/MakerNotes.h"
#include "platform/Foundation/Format.h"

namespace tessaly::imageio {
namespace {

std::string range(double from, double to) {
    std::string text = Value(from).description();
    if (to > from) text += "-" + Value(to).description();
    return text;
}

}  // namespace

Value lensDescription(const LensRange& lens) {
    if (lens.shortest <= 0) return {};
    std::string text = range(lens.shortest, lens.longest) + "mm";
    if (lens.widestAtShortest > 0) text += " f/" + range(lens.widestAtShortest, lens.widestAtLongest);
    return text;
}

Value lensInfo(const LensRange& lens) {
    if (lens.shortest <= 0) return {};
    return Array{lens.shortest, lens.longest, lens.widestAtShortest, lens.widestAtLongest};
}

}  // namespace tessaly::imageio
