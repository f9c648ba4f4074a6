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
#include <functional>
#include <future>
#include <thread>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::runHelper;
using corvo_test::throwsWith;
using corvo_test::uniqueName;

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
    struct Row
    {
        const char* reason;
        std::function<void()> call;
    } rows[] = {
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
        {"Invalid parameters!", [] { Win32Semaphore(0, 1).release(-1); }},
    };
    for (const Row& row : rows)
        EXPECT_TRUE(throwsWith<Exception>(row.call, row.reason)) << row.reason;
    // Empty names give unnamed objects.
    EXPECT_NO_THROW(Win32Mutex("", false));
    EXPECT_NO_THROW(Win32Mutex{""});
}

TEST(KernelObjects, MutexIsRecursiveAndOneObjectPerName)
{
    const std::string name = uniqueName("mutex");
    Win32Mutex first(name), second(name, false);
    first.acquire();
    EXPECT_TRUE(first.try_acquire());
    EXPECT_FALSE(elsewhere([&] { return second.try_acquire(); }));
    first.release();
    EXPECT_FALSE(elsewhere([&] { return second.try_acquire(); }));
    first.release();
    EXPECT_TRUE(elsewhere([&] {
        Win32Mutex third(name, true); // its destructor releases the level it takes
        return third.try_acquire();
    }));
}

TEST(KernelObjects, MutexAbandonedByAThreadIsOwnedButNotAcquired)
{
    Win32Mutex mutex;
    elsewhere([&] { mutex.acquire(); });
    EXPECT_TRUE(throwsWith<Exception>([&] { mutex.acquire(); }, "Cannot acquire Mutex!"));
    // The failed acquisition made this thread the owner.
    EXPECT_FALSE(elsewhere([&] { return mutex.try_acquire(); }));
}

TEST(KernelObjects, NamedObjectsAreSharedWithAnotherProcess)
{
    const std::string mutexName = uniqueName("shared-mutex");
    const std::string semaphoreName = uniqueName("shared-semaphore");
    {
        Win32Mutex mutex(mutexName);
        mutex.acquire();
        EXPECT_EQ(runHelper("try-mutex", mutexName), 0);
        mutex.release();
        EXPECT_EQ(runHelper("try-mutex", mutexName), 1);

        // The helper ends while it holds the mutex.
        EXPECT_EQ(runHelper("hold-mutex", mutexName), 0);
        EXPECT_FALSE(mutex.try_acquire());
        EXPECT_TRUE(mutex.try_acquire()); // owned since the abandoned wait

        Win32Semaphore semaphore(semaphoreName, 0, 5, false);
        EXPECT_EQ(runHelper("release-semaphore", semaphoreName), 0);
        EXPECT_TRUE(semaphore.try_acquire());
        EXPECT_TRUE(semaphore.try_acquire());
        EXPECT_FALSE(semaphore.try_acquire());
    }
    // With every handle closed, in both processes, the names are gone.
    EXPECT_TRUE(throwsWith<Exception>([&] { Win32Mutex(mutexName, true); }, "Cannot open Mutex!"));
    EXPECT_TRUE(throwsWith<Exception>([&] { Win32Semaphore(semaphoreName, 0, 1, true); },
                                      "Cannot open Semaphore!"));
}

TEST(KernelObjects, OpenedSemaphoreCanBeReleasedButNotWaitedOn)
{
    const std::string name = uniqueName("semaphore");
    Win32Semaphore created(name, 0, 2, false);
    Win32Semaphore opened(name, 0, 1, true);
    EXPECT_TRUE(throwsWith<Exception>([&] { opened.acquire(); }, "Cannot acquire Semaphore!"));
    EXPECT_FALSE(opened.try_acquire());
    opened.release(0); // refused, silently
    EXPECT_FALSE(created.try_acquire());
    opened.release(2);
    opened.release(); // past the maximum: refused, silently
    EXPECT_TRUE(created.try_acquire());
    EXPECT_TRUE(created.try_acquire());
    EXPECT_FALSE(created.try_acquire());
}

TEST(KernelObjects, DestroyedSemaphoreWakesAWaiter)
{
    const std::string name = uniqueName("wake");
    Win32Semaphore waiting(name, 0, 1, false);
    auto waiter = std::async(std::launch::async, [&] { waiting.acquire(); });
    { Win32Semaphore(name, 0, 1, false); }
    EXPECT_EQ(waiter.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(KernelObjects, WaitingWriterStopsLaterReaders)
{
    Win32ReadWriteLock lock;
    lock.readLock();
    std::atomic<int> order{0};
    int writerSaw = -1;
    Win32Event writerIn;
    auto writer = std::async(std::launch::async, [&] {
        lock.writeLock();
        writerSaw = order.fetch_add(1);
        writerIn.signal();
        lock.writeUnlock();
    });
    // A reader that can't get in within a while shows the writer waiting;
    // one that can came before the writer arrived, and tries again.
    std::future<int> reader;
    for (;;) {
        reader = std::async(std::launch::async, [&] {
            lock.readLock();
            const int seen = order.fetch_add(1);
            lock.readUnlock();
            return seen;
        });
        if (reader.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout)
            break;
        order = 0;
    }
    lock.readUnlock(); // never waits for the writer
    EXPECT_TRUE(writerIn.wait(10000));
    EXPECT_EQ(writerSaw, 0);
    EXPECT_EQ(reader.get(), 1);
    writer.get();
}

TEST(KernelObjects, ReadersShareAndDestructionWaitsForThem)
{
    auto* lock = new Win32ReadWriteLock;
    lock->readLock();
    EXPECT_TRUE(elsewhere([&] {
        lock->readLock(); // a second reader gets in at once
        return true;
    }));
    lock->readUnlock();
    std::atomic<bool> destroyed{false};
    auto destroyer = std::async(std::launch::async, [&] {
        delete lock;
        destroyed = true;
    });
    EXPECT_EQ(destroyer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_FALSE(destroyed);
    lock->readUnlock();
    destroyer.get();
    EXPECT_TRUE(destroyed);
}

TEST(KernelObjects, EventResetModes)
{
    struct Row
    {
        bool initiallySignalled, manualReset;
        std::vector<bool> polls; // wait(0) three times
    } rows[] = {
        {false, false, {false, false, false}},
        {true, false, {true, false, false}},
        {true, true, {true, true, true}},
    };
    for (const Row& row : rows) {
        Win32Event event(row.initiallySignalled, row.manualReset);
        for (bool expected : row.polls)
            EXPECT_EQ(event.wait(0), expected) << row.initiallySignalled << row.manualReset;
        event.signal();
        EXPECT_TRUE(event.wait(0));
        EXPECT_EQ(event.wait(0), row.manualReset);
        event.reset();
        EXPECT_FALSE(event.wait(5));
    }
}

TEST(KernelObjects, ManualResetEventReleasesEveryWaiter)
{
    Win32Event event(false, true);
    std::vector<std::future<bool>> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.push_back(std::async(std::launch::async, [&] { return event.wait(0xFFFFFFFFul); }));
    event.signal();
    for (auto& waiter : waiters)
        EXPECT_TRUE(waiter.get());
}

namespace {

struct Worker : Win32Thread
{
    explicit Worker(void* (*function)(void*)) : Win32Thread(function) {}
    ~Worker() noexcept override {}
    Win32Event started, go;
    std::atomic<bool> done{false};
    std::atomic<void*> seenSelf{nullptr};
    std::atomic<unsigned long long> steps{0};
    std::atomic<bool> stop{false};
};

void* waitForGo(void* self)
{
    auto* worker = static_cast<Worker*>(static_cast<Win32Thread*>(self));
    worker->seenSelf = self;
    worker->started.signal();
    worker->go.wait(0xFFFFFFFFul);
    worker->done = true;
    return nullptr;
}

void* count(void* self)
{
    auto* worker = static_cast<Worker*>(static_cast<Win32Thread*>(self));
    while (!worker->stop) {
        ++worker->steps;
        std::this_thread::yield();
    }
    return nullptr;
}

// Whether the worker takes a step within a while.
bool moves(Worker& worker)
{
    const unsigned long long before = worker.steps;
    for (int i = 0; i < 50 && worker.steps == before; ++i)
        Win32Thread::sleep(2);
    return worker.steps != before;
}

} // namespace

TEST(KernelObjects, ThreadRunsOnItsObjectAndJoinIsBounded)
{
    Worker worker(&waitForGo);
    worker.start();
    EXPECT_TRUE(worker.started.wait(10000));
    EXPECT_EQ(worker.seenSelf.load(), static_cast<Win32Thread*>(&worker));
    worker.join(10); // the thread waits for go: the time runs out
    EXPECT_FALSE(worker.done);
    worker.go.signal();
    worker.join(0xFFFFFFFFul);
    EXPECT_TRUE(worker.done);
}

TEST(KernelObjects, PausesAreCounted)
{
    CORVO_SKIP_SUSPENSION_UNDER_TSAN();
    Worker worker(&count);
    worker.start();
    EXPECT_TRUE(moves(worker));
    worker.pause();
    worker.pause();
    EXPECT_FALSE(moves(worker));
    worker.resume();
    EXPECT_FALSE(moves(worker));
    worker.resume();
    EXPECT_TRUE(moves(worker));
    worker.stop = true;
    worker.join(0xFFFFFFFFul);
}

TEST(KernelObjects, SelfIsThePlatformThreadNumber)
{
    const unsigned long long here = Win32Thread::self();
    EXPECT_EQ(Win32Thread::self(), here);
    EXPECT_NE(elsewhere(&Win32Thread::self), here);
    EXPECT_EQ(here >> 32, 0u);
}

TEST(KernelObjects, TimerScalesOneSpan)
{
    Win32Timer timer;
    EXPECT_GE(timer.elapsed(RES_NANOSECONDS), 0.0);
    Win32Thread::sleep(20);
    timer.stop();
    const double seconds = timer.elapsed(RES_SECONDS);
    EXPECT_GE(seconds, 0.019);
    const struct
    {
        int resolution;
        double multiplier;
    } rows[] = {{RES_TENTHS, 10.0},          {RES_HUNDREDTHS, 100.0},
                {RES_MILLISECONDS, 1000.0},  {RES_MICROSECONDS, 1e6},
                {RES_NANOSECONDS, 1e9},      {6, 1.0},
                {-1, 1.0}};
    for (const auto& row : rows)
        EXPECT_DOUBLE_EQ(timer.elapsed(static_cast<TimerRes>(row.resolution)), seconds * row.multiplier)
            << row.resolution;
    EXPECT_GT(timer.current(RES_SECONDS), seconds);
    timer.start(); // now after the stop
    EXPECT_LT(timer.elapsed(RES_SECONDS), 0.0);
    const double day = timer.system(RES_SECONDS);
    EXPECT_GE(day, 0.0);
    EXPECT_LT(day, 86400.0);
}
