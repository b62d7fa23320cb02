#include "platform/Foundation/Clock.h"

#include <atomic>
#include <chrono>

namespace tessaly {
namespace {

class SystemClock final : public Clock {
public:
    [[nodiscard]] NSDate now() const override {
        const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
        return {std::chrono::duration<double>(since1970).count()};
    }
};

std::atomic<const Clock*> replacement{nullptr};

}  // namespace

const Clock& Clock::shared() {
    static const SystemClock system;
    const Clock* clock = replacement.load();
    return clock ? *clock : system;
}

const Clock* Clock::setShared(const Clock* clock) { return replacement.exchange(clock); }

NSDate NSDate::date() { return Clock::shared().now(); }

}  // namespace tessaly
