// The recursive process lock and its scope guard.
#include "CorvoCriticalSection.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Vesk::Corvo;

namespace {

typedef CriticalSection_T<Win32CriticalSection> Lock;

// try_acquire from a second thread, which gives the lock back at once.
bool freeForOthers(Lock& lock)
{
    return std::async(std::launch::async, [&] {
               const bool got = lock.try_acquire();
               if (got)
                   lock.release();
               return got;
           }).get();
}

} // namespace

TEST(CriticalSection, OwnershipIsCountedPerThread)
{
    Lock lock;
    EXPECT_TRUE(freeForOthers(lock));
    lock.acquire();
    lock.acquire();
    EXPECT_TRUE(lock.try_acquire());
    for (int level = 3; level > 0; --level) {
        EXPECT_FALSE(freeForOthers(lock)) << "with " << level << " levels held";
        lock.release();
    }
    EXPECT_TRUE(freeForOthers(lock));
}

TEST(CriticalSection, GuardReleasesOnException)
{
    Lock lock;
    EXPECT_THROW(
        {
            CriticalSectionGuard guard(lock);
            throw std::runtime_error("leaving the block");
        },
        std::runtime_error);
    EXPECT_TRUE(freeForOthers(lock));
}

TEST(CriticalSection, GuardsSerialiseThreads)
{
    Lock lock;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                CriticalSectionGuard guard(lock);
                CriticalSectionGuard nested(lock);
                counter = counter + 1;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 80000);
}
