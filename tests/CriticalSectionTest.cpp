// The recursive process lock and its scope guard.
#include "CorvoCriticalSection.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>

using namespace Vesk::Corvo;

namespace {

typedef CriticalSection_T<Win32CriticalSection> Lock;

// try_acquire from a second thread, which gives the lock back at once.
bool freeForOthers(Lock& lock)
{
    return std::async(std::launch::async, [&] { return lock.try_acquire() && (lock.release(), true); }).get();
}

} // namespace

TEST(CriticalSection, OwnershipIsCountedPerThreadAndTheGuardFreesOnThrow)
{
    Lock lock;
    lock.acquire();
    lock.acquire();
    EXPECT_TRUE(lock.try_acquire());
    for (int level = 3; level > 0; --level) {
        EXPECT_FALSE(freeForOthers(lock)) << "with " << level << " levels held";
        lock.release();
    }
    EXPECT_TRUE(freeForOthers(lock));
    EXPECT_THROW(
        {
            CriticalSectionGuard guard(lock);
            throw std::runtime_error("leaving the block");
        },
        std::runtime_error);
    EXPECT_TRUE(freeForOthers(lock));
}
