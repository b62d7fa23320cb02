#pragma once

namespace tessaly {

/// A dismissal that follows the finger: whether one is under way, and whether letting go completes it.
struct Interactor {
    bool hasStarted = false;
    bool shouldFinish = false;
};

}  // namespace tessaly
