#pragma once
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Queues of work. Threads start on first use; while some of them wait in here for others, more take their place.
namespace tessaly {

using Block = std::function<void()>;

enum class DispatchPriority : std::uint8_t { background, low, normal, high };

class DispatchQueue {
public:
    enum class Kind : std::uint8_t { serial, concurrent };

    /// A queue over the shared threads: serial runs one block at a time in order, concurrent as many as there are
    /// threads.
    explicit DispatchQueue(Kind kind = Kind::serial, DispatchPriority priority = DispatchPriority::normal,
                           std::string label = {});

    /// The main queue: its blocks run where the main thread pumps it.
    [[nodiscard]] static DispatchQueue& main();
    [[nodiscard]] static DispatchQueue& global(DispatchPriority priority = DispatchPriority::normal);

    /// What tells the queue from others, "" for nothing.
    [[nodiscard]] const std::string& label() const noexcept;

    void async(Block block);
    /// Runs the block on the queue and waits for it. Not from the queue itself.
    void sync(Block block);

    /// Runs the main queue's waiting blocks; false when there were none.
    static bool pumpMainQueue();
    /// Pumps until `done` holds; false when the time is over first.
    static bool pumpMainQueueUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);
    /// An event loop that pumps: `wake` is called on any thread after a block was added. Null takes it back. To be set
    /// while no other thread uses the main queue.
    static void setMainQueueWaker(std::function<void()> wake);

    struct State;

private:
    std::shared_ptr<State> state_;
};

class DispatchSemaphore {
public:
    explicit DispatchSemaphore(long value = 0);
    void signal();
    void wait();
    /// False when the time is over first.
    bool wait(std::chrono::milliseconds timeout);

private:
    struct State;
    std::shared_ptr<State> state_;
};

/// Counts blocks that are not done yet.
class DispatchGroup {
public:
    DispatchGroup();
    void enter();
    void leave();
    void async(DispatchQueue& queue, Block block);
    void wait();
    /// Runs the block on the queue once the group is empty.
    void notify(DispatchQueue& queue, Block block);

private:
    struct State;
    std::shared_ptr<State> state_;
};

/// Work that can be cancelled before it starts, and asked to stop while it runs.
class BlockOperation {
public:
    explicit BlockOperation(std::function<void(const BlockOperation&)> block) : block_(std::move(block)) {}
    void cancel() noexcept { cancelled_ = true; }
    [[nodiscard]] bool isCancelled() const noexcept { return cancelled_; }
    [[nodiscard]] bool isFinished() const noexcept { return finished_; }
    /// Runs the block here and now, unless it was cancelled. Queues call it.
    void run();

private:
    std::function<void(const BlockOperation&)> block_;
    std::atomic<bool> cancelled_{false};
    std::atomic<bool> finished_{false};
};

class OperationQueue {
public:
    explicit OperationQueue(std::size_t maxConcurrentOperationCount = 4);
    ~OperationQueue();
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;
    [[nodiscard]] std::size_t maxConcurrentOperationCount() const noexcept;
    void addOperation(std::shared_ptr<BlockOperation> operation);
    void addOperationWithBlock(Block block);
    void cancelAllOperations();
    void waitUntilAllOperationsAreFinished();

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace tessaly
