#include "platform/Foundation/NSTimer.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "platform/Foundation/Dispatch.h"

namespace tessaly {
namespace {

/// One thread that sleeps until the next timer is due and hands its block to the main queue.
class TimerThread {
public:
    using Instant = std::chrono::steady_clock::time_point;

    static TimerThread& shared() {
        static TimerThread thread;
        return thread;
    }

    void add(Instant due, Block block) {
        const std::lock_guard lock(mutex_);
        if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
        waiting_.emplace(due, std::move(block));
        wake_.notify_one();
    }

private:
    /// The main queue is made first, so that it is there for the thread to its end.
    TimerThread() { static_cast<void>(DispatchQueue::main()); }
    ~TimerThread() {
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
            wake_.notify_one();
        }
        if (thread_.joinable()) thread_.join();
    }

    void run() {
        std::unique_lock lock(mutex_);
        while (!ending_) {
            if (waiting_.empty()) {
                wake_.wait(lock);
            } else if (const Instant due = waiting_.begin()->first; std::chrono::steady_clock::now() < due) {
                wake_.wait_until(lock, due);
            } else {
                Block block = std::move(waiting_.begin()->second);
                waiting_.erase(waiting_.begin());
                DispatchQueue::main().async(std::move(block));
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::multimap<Instant, Block> waiting_;
    std::thread thread_;
    bool ending_ = false;
};

}  // namespace

std::shared_ptr<NSTimer> NSTimer::scheduledTimer(double seconds, bool repeats, std::function<void()> block) {
    auto timer = std::make_shared<NSTimer>();
    timer->state_ = std::make_shared<State>(State{seconds, repeats, true, std::move(block)});
    schedule(timer->state_);
    return timer;
}

void NSTimer::schedule(const std::shared_ptr<State>& state) {
    const auto pause =
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(state->seconds));
    TimerThread::shared().add(std::chrono::steady_clock::now() + pause, [state] {
        if (!state->valid) return;
        if (state->repeats) {
            schedule(state);
        } else {
            state->valid = false;
        }
        state->block();
    });
}

}  // namespace tessaly
