// The recursive process lock and its scope guard.
#include "CorvoCriticalSection.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <vector>

using namespace Vesk::Corvo;

TEST(CriticalSection, OwnershipIsCountedPerThreadAndTheGuardFreesOnThrow)
{
    CriticalSection_T<Win32CriticalSection> lock;
    // try_acquire from a second thread, which gives the lock back at once.
    auto freeForOthers = [&] {
        return std::async(std::launch::async, [&] { return lock.try_acquire() && (lock.release(), true); }).get();
    };
    lock.acquire();
    EXPECT_TRUE(lock.try_acquire());
    for (int level = 2; level > 0; --level, lock.release())
        EXPECT_FALSE(freeForOthers()) << "with " << level << " levels held";
    EXPECT_TRUE(freeForOthers());
    EXPECT_THROW(
        {
            CriticalSectionGuard guard(lock);
            throw std::runtime_error("leaving the block");
        },
        std::runtime_error);
    EXPECT_TRUE(freeForOthers());
    // Contended by more threads than cores, so that owners are preempted and
    // the others sleep: threads that enter twice over lose no count. Each
    // round has a fresh lock, whose first sleepers meet owners that still
    // leave it the uncontended way.
    for (int round = 0; round < 50; ++round) {
        CriticalSection_T<Win32CriticalSection> fresh;
        long counted = 0;
        auto count = [&] {
            for (int i = 0; i < 5000; ++i, fresh.release(), fresh.release())
                fresh.acquire(), fresh.acquire(), ++counted;
        };
        std::vector<std::future<void>> others;
        for (int other = 0; other < 3; ++other)
            others.push_back(std::async(std::launch::async, count));
        count();
        for (auto& other : others)
            other.get();
        ASSERT_EQ(counted, 20000) << "round " << round;
    }
}
