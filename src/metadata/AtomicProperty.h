#pragma once
#include <mutex>
#include <utility>

namespace tessaly {

/// A property that readers set from their queues while a screen reads it: each access sees a whole value.
template <class T>
class AtomicProperty {
public:
    [[nodiscard]] T get() const {
        const std::scoped_lock lock(mutex_);
        return value_;
    }
    void set(T value) {
        {
            const std::scoped_lock lock(mutex_);
            std::swap(value_, value);
        }
        // The old value ends here, outside the lock: its destructor may be long or come back to this property.
    }

private:
    mutable std::mutex mutex_;
    T value_{};
};

}  // namespace tessaly
