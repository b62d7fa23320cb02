#include <cmath>
#include <string>

#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

std::string rounded(double number) { return Value(std::round(number * 10) / 10).description(); }

std::string range(double from, double to) { return to > from ? rounded(from) + "-" + rounded(to) : rounded(from); }

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
