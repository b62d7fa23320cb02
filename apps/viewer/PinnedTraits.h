#pragma once
#include "Arguments.h"
#include "platform/UIKit/UITraitCollection.h"

namespace tessaly::viewer {

/// Holds the traits that the command line asks for, whatever the desktop and the settings say meanwhile. Nothing is
/// stored. Main thread.
class PinnedTraits {
public:
    explicit PinnedTraits(const Arguments& arguments);

private:
    void pin() const;

    UIUserInterfaceStyle style_;
    UIContentSizeCategory category_ = nullptr;
    bool reducesMotion_;
    Observable::Observation observation_;
};

}  // namespace tessaly::viewer
