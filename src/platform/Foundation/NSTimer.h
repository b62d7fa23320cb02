#pragma once
#include <functional>
#include <memory>

namespace tessaly {

/// Runs a block on the main queue after a time, once or again and again.
class NSTimer {
public:
    /// Runs on even when nobody keeps the timer.
    static std::shared_ptr<NSTimer> scheduledTimer(double seconds, bool repeats, std::function<void()> block);
    /// The block does not run any more. Main thread.
    void invalidate() noexcept { state_->valid = false; }
    [[nodiscard]] bool isValid() const noexcept { return state_->valid; }

private:
    struct State {
        double seconds = 0;
        bool repeats = false;
        bool valid = true;  ///< Main thread.
        std::function<void()> block;
    };
    static void schedule(const std::shared_ptr<State>& state);
    std::shared_ptr<State> state_;
};

}  // namespace tessaly
