#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSKeyedArchiver.h"
#include "platform/Foundation/NSNotificationCenter.h"

namespace tessaly {
namespace {

using namespace std::chrono_literals;

TEST(Dispatch, KeepsTheOrderOfASerialQueue) {
    DispatchQueue queue;
    std::vector<int> order;
    for (int i = 0; i < 200; ++i) queue.async([&order, i] { order.push_back(i); });
    queue.sync([] {});
    ASSERT_EQ(order.size(), 200U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST(Dispatch, WaitsForAGroupAndTellsTheMainQueue) {
    DispatchGroup group;
    std::atomic<int> done{0};
    bool told = false;
    for (int i = 0; i < 50; ++i) group.async(DispatchQueue::global(DispatchPriority::high), [&done] { ++done; });
    group.notify(DispatchQueue::main(), [&] { told = done == 50; });
    group.wait();
    EXPECT_EQ(done, 50);
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return told; }, 5000ms));
    EXPECT_FALSE(DispatchQueue::pumpMainQueue()) << "nothing waits any more";
}

TEST(Dispatch, LimitsAndCancelsOperations) {
    OperationQueue queue(2);
    std::atomic<int> running{0};
    std::atomic<int> most{0};
    DispatchSemaphore gate;
    std::vector<std::shared_ptr<BlockOperation>> operations;
    for (int i = 0; i < 6; ++i) {
        operations.push_back(std::make_shared<BlockOperation>([&](const BlockOperation&) {
            const int now = ++running;
            for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
            }
            gate.wait(5000ms);
            --running;
        }));
        queue.addOperation(operations.back());
    }
    queue.cancelAllOperations();
    for (int i = 0; i < 6; ++i) gate.signal();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_LE(most, 2);
    EXPECT_TRUE(operations.back()->isCancelled());
}

TEST(Dispatch, RunsWhatItsWaitingThreadsWaitFor) {
    constexpr int kCount = 40;  // More than there are threads at work.
    DispatchGroup group;
    std::atomic<int> done{0};
    for (int i = 0; i < kCount; ++i)
        group.async(DispatchQueue::global(), [&] {
            DispatchSemaphore answered;
            DispatchQueue::global(DispatchPriority::low).async([answered]() mutable { answered.signal(); });
            if (answered.wait(5000ms)) ++done;
        });
    group.wait();
    EXPECT_EQ(done, kCount) << "blocks that wait must not keep the threads from those they wait for";
}

TEST(NotificationCenter, LetsObserversComeAndGoWhileItPosts) {
    NSNotificationCenter center;
    int calls = 0;
    NSNotificationCenter::Observer second;
    NSNotificationCenter::Observer first = center.addObserver("name", [&](const NSNotification& notification) {
        ++calls;
        EXPECT_EQ(notification.userInfo["a"], Value(1));
        second = center.addObserver("name", [&](const NSNotification&) { calls += 10; });
        first = {};
    });
    center.postNotificationName("name", nullptr, {{"a", 1}});
    center.postNotificationName("other");
    center.postNotificationName("name");
    EXPECT_EQ(calls, 11);
}

}  // namespace
}  // namespace tessaly
