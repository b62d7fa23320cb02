#pragma once
#include <cmath>
#include <functional>
#include <mutex>
#include <vector>

namespace tessaly {

/// How far each item of a batch is. Requests may tell it on any thread, and even after the batch is over.
class BatchProgress {
public:
    /// The average, 0 to 1, and whether some item stands between two whole percents.
    using Handler = std::function<void(bool isFractional, float average)>;

    BatchProgress(std::size_t count, Handler handler) : handler_(std::move(handler)), slots_(count, 0.0F) {}

    void set(std::size_t slot, double progress) {
        bool isFractional = false;
        float sum = 0;
        {
            const std::lock_guard lock(mutex_);
            slots_[slot] = static_cast<float>(progress);
            for (const float each : slots_) {
                sum += each;
                const float percent = each * 100.0F;
                isFractional = isFractional || std::trunc(percent) != percent;
            }
        }
        handler_(isFractional, sum / static_cast<float>(slots_.size()));
    }

private:
    Handler handler_;
    std::mutex mutex_;
    std::vector<float> slots_;
};

}  // namespace tessaly
