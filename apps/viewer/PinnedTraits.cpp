#include "PinnedTraits.h"

namespace tessaly::viewer {

PinnedTraits::PinnedTraits(const Arguments& arguments)
    : style_(arguments.appearance),
      // A picture shows what the screen comes to rest at.
      reducesMotion_(arguments.reducesMotion || !arguments.screenshot.empty()) {
    if (arguments.textScale) category_ = contentSizeCategoryOfTextScale(*arguments.textScale);
    pin();
    observation_ = UITraitCollection::currentTraitCollection().observe([this] { pin(); });
}

void PinnedTraits::pin() const {
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    if (style_ != UIUserInterfaceStyle::unspecified) traits.setUserInterfaceStyle(style_);
    if (category_) traits.setPreferredContentSizeCategory(category_);
    if (reducesMotion_) traits.setReducesMotion(true);
}

}  // namespace tessaly::viewer
