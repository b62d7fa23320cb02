#include "platform/Foundation/Dispatch.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace tessaly {
namespace {

/// The shared threads. Blocks of a higher priority leave the queue first. At work are a few more than there are cores,
/// for blocks that wait for files; a thread that waits for other blocks is not at work, or those might never run.
class ThreadPool {
public:
    static ThreadPool& shared() {
        static ThreadPool pool;
        return pool;
    }

    void add(DispatchPriority priority, Block block) {
        {
            const std::lock_guard lock(mutex_);
            blocks_[static_cast<std::size_t>(priority)].push_back(std::move(block));
            startThread();
        }
        wake_.notify_one();
    }

    /// Around a wait for what other blocks do.
    class Waiting {
    public:
        Waiting() {
            if (isThreadOfPool) shared().leaveWork();
        }
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;
        ~Waiting() {
            if (isThreadOfPool) shared().returnToWork();
        }
    };

    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    ~ThreadPool() {
        std::unique_lock lock(mutex_);
        ending_ = true;
        wake_.notify_all();
        while (!threads_.empty()) {
            std::thread thread = std::move(threads_.back());
            threads_.pop_back();
            lock.unlock();
            thread.join();
            lock.lock();
        }
    }

private:
    static constexpr std::size_t kMostThreads = 512;
    static inline thread_local bool isThreadOfPool = false;

    ThreadPool() = default;

    /// One more, where a block has no idle thread to itself. With the lock held.
    void startThread() {
        std::size_t count = 0;
        for (const auto& queue : blocks_) count += queue.size();
        if (count <= idle_ || atWork_ >= limit_ || threads_.size() >= kMostThreads) return;
        threads_.emplace_back([this] { work(); });
        ++atWork_;
    }

    void leaveWork() {
        const std::lock_guard lock(mutex_);
        --atWork_;
        startThread();
    }

    void returnToWork() {
        const std::lock_guard lock(mutex_);
        ++atWork_;
    }

    void work() {
        isThreadOfPool = true;
        std::unique_lock lock(mutex_);
        while (true) {
            Block block = next();
            if (block) {
                lock.unlock();
                block();
                block = nullptr;
                lock.lock();
                continue;
            }
            if (ending_) return;
            ++idle_;
            wake_.wait(lock);
            --idle_;
        }
    }

    Block next() {
        for (auto queue = blocks_.rbegin(); queue != blocks_.rend(); ++queue) {
            if (queue->empty()) continue;
            Block block = std::move(queue->front());
            queue->pop_front();
            return block;
        }
        return nullptr;
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::array<std::deque<Block>, 4> blocks_;
    std::vector<std::thread> threads_;
    std::size_t idle_ = 0;    ///< Of those at work.
    std::size_t atWork_ = 0;  ///< Those that do not wait for other blocks.
    std::size_t limit_ = std::max(4U, std::thread::hardware_concurrency() + 2);
    bool ending_ = false;
};

}  // namespace

struct DispatchQueue::State : std::enable_shared_from_this<State> {
    enum class Runs : std::uint8_t { serially, concurrently, onMainThread };
    Runs runs = Runs::serially;
    DispatchPriority priority = DispatchPriority::normal;
    std::string label;
    std::mutex mutex;
    std::condition_variable arrived;
    std::deque<Block> blocks;
    std::function<void()> waker;  ///< Of the main queue.
    bool busy = false;

    void add(Block block) {
        if (runs == Runs::concurrently) return ThreadPool::shared().add(priority, std::move(block));
        {
            const std::lock_guard lock(mutex);
            blocks.push_back(std::move(block));
            if (runs == Runs::onMainThread || busy) {
                arrived.notify_all();
                if (waker) waker();
                return;
            }
            busy = true;
        }
        ThreadPool::shared().add(priority, [self = shared_from_this()] { self->runNext(); });
    }

    /// One block a turn, so that a long serial queue does not keep a thread from the others.
    void runNext() {
        Block block = take();
        if (block) block();
        block = nullptr;
        {
            const std::lock_guard lock(mutex);
            busy = !blocks.empty();
            if (!busy) return;
        }
        ThreadPool::shared().add(priority, [self = shared_from_this()] { self->runNext(); });
    }

    Block take() {
        const std::lock_guard lock(mutex);
        if (blocks.empty()) return nullptr;
        Block block = std::move(blocks.front());
        blocks.pop_front();
        return block;
    }
};

DispatchQueue::DispatchQueue(Kind kind, DispatchPriority priority, std::string label)
    : state_(std::make_shared<State>()) {
    state_->runs = kind == Kind::serial ? State::Runs::serially : State::Runs::concurrently;
    state_->priority = priority;
    state_->label = std::move(label);
}

const std::string& DispatchQueue::label() const noexcept { return state_->label; }

DispatchQueue& DispatchQueue::main() {
    static DispatchQueue queue = [] {
        DispatchQueue made;
        made.state_->runs = State::Runs::onMainThread;
        return made;
    }();
    return queue;
}

DispatchQueue& DispatchQueue::global(DispatchPriority priority) {
    static std::array queues{DispatchQueue(Kind::concurrent, DispatchPriority::background),
                             DispatchQueue(Kind::concurrent, DispatchPriority::low),
                             DispatchQueue(Kind::concurrent, DispatchPriority::normal),
                             DispatchQueue(Kind::concurrent, DispatchPriority::high)};
    return queues[static_cast<std::size_t>(priority)];
}

void DispatchQueue::async(Block block) { state_->add(std::move(block)); }

void DispatchQueue::sync(Block block) {
    DispatchSemaphore done;
    state_->add([&] {
        block();
        done.signal();
    });
    done.wait();
}

void DispatchQueue::setMainQueueWaker(std::function<void()> wake) {
    State& state = *main().state_;
    const std::lock_guard lock(state.mutex);
    state.waker = std::move(wake);
}

bool DispatchQueue::pumpMainQueue() {
    State& state = *main().state_;
    bool any = false;
    // Only the blocks that wait now: one that adds itself again must not keep the caller for ever.
    std::size_t count = 0;
    {
        const std::lock_guard lock(state.mutex);
        count = state.blocks.size();
    }
    for (; count > 0; --count)
        if (const Block block = state.take()) {
            block();
            any = true;
        }
    return any;
}

bool DispatchQueue::pumpMainQueueUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    State& state = *main().state_;
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
        if (pumpMainQueue()) continue;
        const auto now = std::chrono::steady_clock::now();
        if (now >= end) return false;
        // `done` may become true without a block arriving: look again soon.
        std::unique_lock lock(state.mutex);
        state.arrived.wait_until(lock, std::min(end, now + std::chrono::milliseconds(5)),
                                 [&] { return !state.blocks.empty(); });
    }
    return true;
}

struct DispatchSemaphore::State {
    std::mutex mutex;
    std::condition_variable raised;
    long value = 0;
};

DispatchSemaphore::DispatchSemaphore(long value) : state_(std::make_shared<State>()) { state_->value = value; }

void DispatchSemaphore::signal() {
    // Held by a copy: the waiter may destroy its semaphore as soon as the value is seen.
    const auto state = state_;
    const std::lock_guard lock(state->mutex);
    ++state->value;
    state->raised.notify_one();
}

void DispatchSemaphore::wait() {
    const ThreadPool::Waiting waiting;
    std::unique_lock lock(state_->mutex);
    state_->raised.wait(lock, [&] { return state_->value > 0; });
    --state_->value;
}

bool DispatchSemaphore::wait(std::chrono::milliseconds timeout) {
    const ThreadPool::Waiting waiting;
    std::unique_lock lock(state_->mutex);
    if (!state_->raised.wait_for(lock, timeout, [&] { return state_->value > 0; })) return false;
    --state_->value;
    return true;
}

struct DispatchGroup::State {
    std::mutex mutex;
    std::condition_variable emptied;
    long count = 0;
    std::vector<std::pair<DispatchQueue, Block>> notices;
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() {
    const std::lock_guard lock(state_->mutex);
    ++state_->count;
}

void DispatchGroup::leave() {
    const auto state = state_;
    std::vector<std::pair<DispatchQueue, Block>> notices;
    {
        const std::lock_guard lock(state->mutex);
        if (--state->count > 0) return;
        notices.swap(state->notices);
        state->emptied.notify_all();
    }
    for (auto& [queue, block] : notices) queue.async(std::move(block));
}

void DispatchGroup::async(DispatchQueue& queue, Block block) {
    enter();
    queue.async([group = *this, work = std::move(block)]() mutable {
        work();
        work = nullptr;
        group.leave();
    });
}

void DispatchGroup::wait() {
    const ThreadPool::Waiting waiting;
    std::unique_lock lock(state_->mutex);
    state_->emptied.wait(lock, [&] { return state_->count == 0; });
}

void DispatchGroup::notify(DispatchQueue& queue, Block block) {
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->count > 0) {
            state_->notices.emplace_back(queue, std::move(block));
            return;
        }
    }
    queue.async(std::move(block));
}

void BlockOperation::run() {
    if (!cancelled_) block_(*this);
    finished_ = true;
}

struct OperationQueue::State : std::enable_shared_from_this<State> {
    std::mutex mutex;
    std::condition_variable emptied;
    std::deque<std::shared_ptr<BlockOperation>> waiting;
    std::vector<std::shared_ptr<BlockOperation>> running;
    std::size_t limit = 1;

    /// Starts what the limit allows. With the lock held.
    void startMore() {
        while (running.size() < limit && !waiting.empty()) {
            auto operation = std::move(waiting.front());
            waiting.pop_front();
            running.push_back(operation);
            DispatchQueue::global().async([self = shared_from_this(), operation] { self->run(operation); });
        }
    }

    void run(const std::shared_ptr<BlockOperation>& operation) {
        operation->run();
        const std::lock_guard lock(mutex);
        std::erase(running, operation);
        startMore();
        if (running.empty()) emptied.notify_all();
    }
};

OperationQueue::OperationQueue(std::size_t limit) : state_(std::make_shared<State>()) {
    state_->limit = std::max<std::size_t>(limit, 1);
}

OperationQueue::~OperationQueue() {
    cancelAllOperations();
    waitUntilAllOperationsAreFinished();
}

std::size_t OperationQueue::maxConcurrentOperationCount() const noexcept { return state_->limit; }

void OperationQueue::addOperation(std::shared_ptr<BlockOperation> operation) {
    const std::lock_guard lock(state_->mutex);
    state_->waiting.push_back(std::move(operation));
    state_->startMore();
}

void OperationQueue::addOperationWithBlock(Block block) {
    addOperation(std::make_shared<BlockOperation>([work = std::move(block)](const BlockOperation&) { work(); }));
}

void OperationQueue::cancelAllOperations() {
    const std::lock_guard lock(state_->mutex);
    for (const auto& operation : state_->waiting) operation->cancel();
    for (const auto& operation : state_->running) operation->cancel();
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
    const ThreadPool::Waiting waiting;
    std::unique_lock lock(state_->mutex);
    state_->emptied.wait(lock, [&] { return state_->running.empty() && state_->waiting.empty(); });
}

}  // namespace tessaly
