// Mutexes and semaphores (also across processes), the read-write lock,
// events, threads and the timer.
#include "CorvoEvent.h"
#include "CorvoMutex.h"
#include "CorvoReadWriteLock.h"
#include "CorvoSemaphore.h"
#include "CorvoThread.h"
#include "CorvoTimer.h"
#include "HelperProcess.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <vector>

using namespace Vesk::Corvo;
using namespace corvo_test;

namespace {

// Runs f on another thread and gives its result.
template <typename F>
auto elsewhere(F f) -> decltype(f())
{
    return std::async(std::launch::async, f).get();
}

} // namespace

TEST(KernelObjects, ConstructorsAndReleaseRefuseWithTheirReasons)
{
    const std::string semaphoreName = uniqueName("taken-by-a-semaphore");
    Win32Semaphore semaphore(semaphoreName, 0, 1, false);
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"Cannot open a nameless existing mutex!", [] { Win32Mutex("", true); }},
        {"Cannot open Mutex!", [] { Win32Mutex(uniqueName("nobody"), true); }},
        // A name that an object of another kind holds is refused by the platform.
        {"Cannot open or create the Mutex!", [&] { Win32Mutex{semaphoreName}; }},
        {"Cannot create Mutex!", [&] { Win32Mutex(semaphoreName, false); }},
        {"Invalid parameters!", [] { Win32Semaphore(-1, 1); }},
        {"Invalid parameters!", [] { Win32Semaphore(0, 0); }},
        {"Invalid parameters!", [&] { Win32Semaphore(semaphoreName, -1, 1, true); }},
        {"Cannot create Semaphore!", [] { Win32Semaphore(2, 1); }},
        {"Invalid Semaphore name![]", [] { Win32Semaphore("", 0, 1, true); }},
        {"Cannot open Semaphore!", [] { Win32Semaphore(uniqueName("nobody"), 0, 1, true); }},
        // An opened semaphore may only be released.
        {"Cannot acquire Semaphore!", [&] { Win32Semaphore(semaphoreName, 0, 1, true).acquire(); }},
        {"Invalid parameters!", [] { Win32Semaphore(0, 1).release(-1); }},
    };
    for (const auto& row : rows)
        EXPECT_TRUE(throwsWith<Exception>(row.second, row.first)) << row.first;
    // Empty names give unnamed objects.
    EXPECT_NO_THROW(Win32Mutex("", false));
    EXPECT_NO_THROW(Win32Mutex{""});
}

TEST(KernelObjects, MutexIsRecursiveOneObjectPerNameAndAbandoned)
{
    const std::string name = uniqueName("mutex");
    Win32Mutex first(name), second(name, false);
    first.acquire();
    EXPECT_TRUE(first.try_acquire());
    first.release();
    // Still held at one level; a release by a thread that does not own the
    // mutex changes nothing.
    EXPECT_FALSE(elsewhere([&] {
        second.release();
        return second.try_acquire();
    }));
    first.release();
    EXPECT_TRUE(elsewhere([&] {
        Win32Mutex third(name, true); // its destructor releases the level it takes
        return third.try_acquire();
    }));
    // A thread that ends holding it abandons it: the next wait fails, yet
    // makes its thread the owner.
    Win32Mutex unnamed;
    elsewhere([&] { first.acquire(), unnamed.acquire(); });
    EXPECT_FALSE(unnamed.try_acquire());
    EXPECT_TRUE(throwsWith<Exception>([&] { second.acquire(); }, "Cannot acquire Mutex!"));
    EXPECT_FALSE(elsewhere([&] { return first.try_acquire(); }));
}

TEST(KernelObjects, SemaphoreRefusesSilentlyAndWakesOnAnotherObjectsEnd)
{
    const std::string name = uniqueName("semaphore");
    Win32Semaphore created(name, 0, 2, false);
    {
        Win32Semaphore opened(name, 0, 1, true);
        EXPECT_FALSE(opened.try_acquire()); // it may only release
        opened.release(0);
        EXPECT_FALSE(created.try_acquire());
        opened.release(2);
        opened.release(); // past the maximum, as is the destructor's release
    }
    EXPECT_TRUE(created.try_acquire() && created.try_acquire() && !created.try_acquire());
    auto waiter = std::async(std::launch::async, [&] { created.acquire(); });
    { Win32Semaphore(name, 0, 1, false); }
    waiter.get();
}

TEST(KernelObjects, ReadersShareAWaitingWriterStopsLaterOnesAndDestructionWaitsForThem)
{
    auto* lock = new Win32ReadWriteLock;
    lock->readLock();
    elsewhere([&] { lock->readLock(); }); // a second reader gets in at once, and stays
    lock->readUnlock();
    std::atomic<int> order{0};
    // A thread that says who it is, then runs f; and whether it sleeps now,
    // or has ended.
    auto start = [](std::atomic<unsigned long long>& id, std::function<int()> f) {
        return std::async(std::launch::async, [&id, f] { return id = Win32Thread::self(), f(); });
    };
    auto stopped = [](std::atomic<unsigned long long>& id, std::future<int>& thread) {
        return eventually([&] {
            return id && (asleep(static_cast<std::intptr_t>(id.load())) ||
                          thread.wait_for(std::chrono::seconds(0)) == std::future_status::ready);
        });
    };
    auto enter = [&](bool write) {
        return [&, write] {
            write ? lock->writeLock() : lock->readLock();
            const int seen = order++;
            write ? lock->writeUnlock() : lock->readUnlock();
            return seen;
        };
    };
    // A reader that comes while a writer waits goes after it. Where a sleep
    // can't be seen (Windows), the reader may come before the writer: the
    // round is tried again. Each round begins with this thread's reading.
    bool writerFirst = false;
    for (int round = 0; round < 20 && !writerFirst; ++round, lock->readLock()) {
        std::atomic<unsigned long long> writerId{0}, readerId{0};
        order = 0;
        auto writer = start(writerId, enter(true));
        EXPECT_TRUE(stopped(writerId, writer));
        auto reader = start(readerId, enter(false));
        EXPECT_TRUE(stopped(readerId, reader));
        lock->readUnlock();
        writerFirst = writer.get() == 0 && reader.get() == 1;
    }
    EXPECT_TRUE(writerFirst);
    std::atomic<unsigned long long> destroyerId{0};
    auto destroyer = start(destroyerId, [&] { return delete lock, 0; });
    EXPECT_TRUE(stopped(destroyerId, destroyer));
    EXPECT_EQ(destroyer.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    lock->readUnlock();
    destroyer.get();
}

TEST(KernelObjects, EventResetModesAndWaiters)
{
    const struct { bool initiallySignalled, manualReset; } rows[] = {{false, false}, {true, false}, {true, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.initiallySignalled << row.manualReset);
        Win32Event event(row.initiallySignalled, row.manualReset);
        EXPECT_EQ(event.wait(0), row.initiallySignalled);
        EXPECT_EQ(event.wait(0), row.initiallySignalled && row.manualReset);
        event.signal();
        event.signal(); // not counted
        EXPECT_TRUE(event.wait(0));
        EXPECT_EQ(event.wait(0), row.manualReset);
        event.reset();
        EXPECT_FALSE(event.wait(0));
    }
    // A manual-reset event lets every waiter go.
    Win32Event event(false, true);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(event.wait(30));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(25));
    std::vector<std::future<bool>> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.push_back(std::async(std::launch::async, [&] { return event.wait(10000); }));
    event.signal();
    for (auto& waiter : waiters)
        EXPECT_TRUE(waiter.get());
}

namespace {

// Counts steps until told to stop; it is stopped and joined on destruction.
struct Worker : Win32Thread
{
    Worker()
        : Win32Thread([](void* self) -> void* {
              auto* worker = static_cast<Worker*>(static_cast<Win32Thread*>(self));
              for (worker->seenSelf = self; !worker->stop; std::this_thread::yield())
                  ++worker->steps;
              return nullptr;
          })
    {
    }
    ~Worker() override { stop = true, join(0xFFFFFFFFul); }
    std::atomic<void*> seenSelf{nullptr};
    std::atomic<unsigned long long> steps{0};
    std::atomic<bool> stop{false};
};

// Whether the worker takes a step within a while: 100 ms to show that a
// paused one stays still, and up to 10 s for a running one, which a loaded
// machine may leave unscheduled for longer than that.
bool moves(Worker& worker, int tries = 50)
{
    const unsigned long long before = worker.steps;
    for (int i = 0; i < tries && worker.steps == before; ++i)
        Win32Thread::sleep(2);
    return worker.steps != before;
}

} // namespace

TEST(KernelObjects, ThreadNumbersStartBoundedJoinAndCountedPauses)
{
    Worker idle; // never started: the calls go to the platform with no thread, and return
    idle.pause();
    idle.resume();
    idle.join(0xFFFFFFFFul);
    const unsigned long long here = Win32Thread::self(); // a 32-bit platform number
    EXPECT_EQ(Win32Thread::self(), here);
    EXPECT_NE(elsewhere(&Win32Thread::self), here);
    EXPECT_EQ(here >> 32, 0u);
    Worker worker;
    worker.start();
    EXPECT_TRUE(moves(worker, 5000));
    EXPECT_EQ(worker.seenSelf.load(), static_cast<Win32Thread*>(&worker));
    worker.join(10); // the time runs out
    EXPECT_TRUE(moves(worker, 5000));
    CORVO_SKIP_SUSPENSION_UNDER_TSAN();
    worker.pause();
    worker.pause();
    EXPECT_FALSE(moves(worker));
    worker.resume();
    EXPECT_FALSE(moves(worker));
    worker.resume();
    EXPECT_TRUE(moves(worker, 5000));
    worker.stop = true;
    worker.join(0xFFFFFFFFul); // and the destructor's join returns at once
    EXPECT_FALSE(moves(worker));
}

TEST(KernelObjects, TimerScalesOneSpan)
{
    Win32Timer timer;
    EXPECT_GE(timer.elapsed(RES_NANOSECONDS), 0.0);
    Win32Thread::sleep(20);
    timer.stop();
    const double seconds = timer.elapsed(RES_SECONDS);
    EXPECT_GE(seconds, 0.019);
    // Out of range, below or above, counts as seconds.
    const double multipliers[] = {1.0, 1.0, 10.0, 100.0, 1000.0, 1e6, 1e9, 1.0};
    for (int resolution = -1; resolution <= 6; ++resolution)
        EXPECT_DOUBLE_EQ(timer.elapsed(TimerRes(resolution)), seconds * multipliers[resolution + 1]) << resolution;
    EXPECT_GT(timer.current(RES_SECONDS), seconds);
    timer.start(); // now after the stop
    EXPECT_LT(timer.elapsed(RES_SECONDS), 0.0);
    const double day = timer.system(RES_SECONDS);
    EXPECT_TRUE(day >= 0.0 && day < 86400.0) << day;
}
