#pragma once
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace tessaly::cli {

/// Works on items with several threads and hands them back, one at a time, in the order in which they were added.
/// At most a few items a thread are kept at any time: `add` waits while there are more.
template <class Item>
class OrderedWork {
public:
    /// `work` runs on any thread; `done` runs on the thread that adds and finishes.
    OrderedWork(std::size_t threads, std::function<void(Item&)> work, std::function<void(const Item&)> done)
        : work_(std::move(work)), done_(std::move(done)), limit_(threads * kKeptPerThread) {
        // With a single job the caller's own thread does it.
        for (std::size_t i = 0; threads > 1 && i < threads; ++i) threads_.emplace_back([this] { runThread(); });
    }

    OrderedWork(const OrderedWork&) = delete;
    OrderedWork& operator=(const OrderedWork&) = delete;
    ~OrderedWork() { finish(); }

    void add(Item item) {
        if (threads_.empty()) {
            work_(item);
            done_(item);
            return;
        }
        {
            const std::lock_guard lock(mutex_);
            slots_.push_back(std::make_shared<Slot>(std::move(item)));
        }
        added_.notify_one();
        while (deliverFirst(/*wait=*/false)) {
        }
        while (slotCount() >= limit_) deliverFirst(/*wait=*/true);
    }

    /// Waits until all is done and delivered. Nothing can be added afterwards.
    void finish() {
        while (slotCount() > 0) deliverFirst(/*wait=*/true);
        {
            const std::lock_guard lock(mutex_);
            closed_ = true;
        }
        added_.notify_all();
        for (std::thread& thread : threads_) thread.join();
        threads_.clear();
    }

private:
    static constexpr std::size_t kKeptPerThread = 4;

    struct Slot {
        explicit Slot(Item content) : item(std::move(content)) {}
        Item item;
        bool finished = false;
    };

    void runThread() {
        std::unique_lock lock(mutex_);
        while (true) {
            added_.wait(lock, [this] { return closed_ || next_ < slots_.size(); });
            if (next_ >= slots_.size()) return;
            const std::shared_ptr<Slot> slot = slots_[next_++];
            lock.unlock();
            work_(slot->item);
            lock.lock();
            slot->finished = true;
            finished_.notify_one();
        }
    }

    /// Delivers the oldest item if it is finished; with `wait` waits for that. False when there is none to deliver.
    bool deliverFirst(bool wait) {
        std::unique_lock lock(mutex_);
        if (slots_.empty()) return false;
        if (!wait && !slots_.front()->finished) return false;
        finished_.wait(lock, [this] { return slots_.front()->finished; });
        const std::shared_ptr<Slot> slot = std::move(slots_.front());
        slots_.pop_front();
        --next_;
        lock.unlock();
        done_(slot->item);
        return true;
    }

    std::size_t slotCount() {
        const std::lock_guard lock(mutex_);
        return slots_.size();
    }

    std::function<void(Item&)> work_;
    std::function<void(const Item&)> done_;
    std::size_t limit_;
    std::mutex mutex_;
    std::condition_variable added_, finished_;
    std::deque<std::shared_ptr<Slot>> slots_;  // In order; the first next_ are taken by a thread.
    std::size_t next_ = 0;
    bool closed_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace tessaly::cli
