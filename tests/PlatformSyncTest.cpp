// The wait and synchronisation calls by their Win32 names, also across
// processes that are killed at any moment: under Wine against the real API,
// on Linux against Corvo's POSIX layer.
#include "CorvoPlatform.h"
#include "HelperProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <random>
#include <string>

using corvo_test::Helper;
using corvo_test::SharedMemory;
using corvo_test::uniqueName;

namespace {

std::wstring wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// A number from the environment, for longer runs by hand.
long fromEnvironment(const char* variable, long otherwise)
{
    const char* value = std::getenv(variable);
    return value && *value ? std::atol(value) : otherwise;
}

// Whether the condition comes true within a bound far beyond any normal
// wait; a false is a hang.
bool eventually(const std::function<bool()>& condition)
{
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition())
        if (std::chrono::steady_clock::now() > giveUp)
            return false;
        else
            Sleep(1);
    return true;
}

} // namespace

// A second poll shows what the first wait took.
TEST(PlatformSync, WaitsGiveTheirOutcomeForEveryKindOfTimeOut)
{
    const std::wstring name = wide(uniqueName("wait-rows"));
    const struct
    {
        const char* what;
        std::function<HANDLE()> make;
        DWORD timeout, outcome, thenPoll;
    } rows[] = {
        {"unset event, poll", [] { return CreateEventW(nullptr, FALSE, FALSE, nullptr); }, 0, WAIT_TIMEOUT, WAIT_TIMEOUT},
        {"unset event, timed", [] { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }, 10, WAIT_TIMEOUT, WAIT_TIMEOUT},
        {"set auto-reset event, unlimited", [] { return CreateEventW(nullptr, FALSE, TRUE, nullptr); }, INFINITE, WAIT_OBJECT_0, WAIT_TIMEOUT},
        {"set manual-reset event, poll", [] { return CreateEventW(nullptr, TRUE, TRUE, nullptr); }, 0, WAIT_OBJECT_0, WAIT_OBJECT_0},
        {"empty semaphore, timed", [] { return CreateSemaphoreW(nullptr, 0, 1, nullptr); }, 10, WAIT_TIMEOUT, WAIT_TIMEOUT},
        {"semaphore, poll", [] { return CreateSemaphoreW(nullptr, 1, 2, nullptr); }, 0, WAIT_OBJECT_0, WAIT_TIMEOUT},
        {"empty named semaphore, timed", [&] { return CreateSemaphoreW(nullptr, 0, 1, name.c_str()); }, 10, WAIT_TIMEOUT, WAIT_TIMEOUT},
        {"named semaphore, unlimited", [&] { return CreateSemaphoreW(nullptr, 1, 1, name.c_str()); }, INFINITE, WAIT_OBJECT_0, WAIT_TIMEOUT},
    };
    for (const auto& row : rows) {
        HANDLE object = row.make();
        ASSERT_NE(object, nullptr) << row.what;
        EXPECT_EQ(WaitForSingleObject(object, row.timeout), row.outcome) << row.what;
        EXPECT_EQ(WaitForSingleObject(object, 0), row.thenPoll) << row.what;
        CloseHandle(object);
    }
}

// Waiters on shared memory, one without a limit and one with, both wake at
// a release, and the count is what the releases gave less what they took.
TEST(PlatformSync, NamedSemaphoreWakesEveryWaiterItCounts)
{
    const std::wstring name = wide(uniqueName("wakes"));
    HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 3, name.c_str());
    ASSERT_NE(semaphore, nullptr);
    auto waitFor = [&](DWORD timeout) {
        return std::async(std::launch::async, [&name, timeout] {
            HANDLE own = CreateSemaphoreW(nullptr, 0, 3, name.c_str());
            const DWORD outcome = WaitForSingleObject(own, timeout);
            CloseHandle(own);
            return outcome;
        });
    };
    auto unlimited = waitFor(INFINITE), timed = waitFor(60000);
    LONG previous = -1;
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 3, &previous));
    EXPECT_EQ(previous, 0);
    EXPECT_EQ(unlimited.get(), WAIT_OBJECT_0);
    EXPECT_EQ(timed.get(), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 1, &previous));
    EXPECT_EQ(previous, 1);
    EXPECT_FALSE(ReleaseSemaphore(semaphore, 2, &previous));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_TOO_MANY_POSTS));
    CloseHandle(semaphore);
}

// The old fault: a waiter killed inside its wait kept a place that the next
// release, made while another process waited, blocked on for ever.
TEST(PlatformSync, AWaiterKilledInsideItsWaitLeavesTheNamedSemaphoreWhole)
{
    const std::string name = uniqueName("killed-waiter");
    HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 1, wide(name).c_str());
    HANDLE ready = CreateSemaphoreW(nullptr, 0, 1, wide(name + "-ready").c_str());
    ASSERT_TRUE(semaphore && ready);
    const long rounds = fromEnvironment("CORVO_KILLED_WAITER_ROUNDS", 10);
    for (long round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        Helper victim("wait-semaphore", name);
        ASSERT_EQ(WaitForSingleObject(ready, 30000), WAIT_OBJECT_0);
        ASSERT_TRUE(eventually([&] { return victim.asleep(); }));
        Helper survivor("wait-semaphore", name);
        ASSERT_EQ(WaitForSingleObject(ready, 30000), WAIT_OBJECT_0);
        victim.kill();
        ASSERT_TRUE(eventually([&] { return survivor.asleep(); }));
        ASSERT_TRUE(ReleaseSemaphore(semaphore, 1, nullptr));
        ASSERT_EQ(survivor.wait(), 1);
    }
    CloseHandle(ready);
    CloseHandle(semaphore);
}

namespace {

// The kill storm: helpers loop over opening a semaphore and a mutex by name,
// waiting on one of them with a short time-out, holding it a moment,
// releasing it and closing both, and record where they are on a board in
// shared memory. Each round the parent kills one of them at a random moment,
// has the others park with nothing open, and checks what the dead one may
// have left: the semaphore's count, the abandonment of the mutex, and that
// the names went with the last handles.
const int stormHelpers = 4;
const LONG stormCount = 2;

enum StormState : int
{
    Idle,
    SemaphoreWaiting,
    SemaphoreHeld,
    SemaphoreReleasing,
    MutexWaiting,
    MutexHeld,
    MutexReleasing
};

struct StormSlot
{
    std::atomic<int> state;
    std::atomic<int> abandoned; // WAIT_ABANDONED seen
    std::atomic<unsigned> steps;
    std::atomic<unsigned> parked; // the pause it has stopped for
    std::atomic<int> failure; // the step that failed, if any
};

struct StormBoard
{
    std::atomic<int> pause; // park at the end of the step
    std::atomic<unsigned> generation; // counts the pauses
    StormSlot slots[stormHelpers];
};

struct StormNames
{
    explicit StormNames(const std::string& name) : semaphore(wide(name + "-semaphore")), mutex(wide(name + "-mutex")) {}
    std::wstring semaphore, mutex;
};

// What the dead one's last state allows: the count it took and kept, or
// the abandonment it left, is certain while it held, and may be either way
// while it was on its way in or out.
bool allows(int state, int held, int waiting, int releasing, int found)
{
    if (state == held)
        return found == 1;
    if (state == waiting || state == releasing)
        return found == 0 || found == 1;
    return found == 0;
}

} // namespace

int corvo_test::stormHelper(int number, const std::string& name)
{
    SharedMemory memory(name + "-board", sizeof(StormBoard), false);
    auto* board = static_cast<StormBoard*>(memory.data());
    if (!board || number < 0 || number >= stormHelpers)
        return 2;
    StormSlot& slot = board->slots[number];
    const StormNames names(name);
    std::minstd_rand random(static_cast<unsigned>(std::random_device()()));
    auto failed = [&](int step) {
        slot.failure = step;
        return step;
    };
    for (;;) {
        // A number read here was set after the pause began, which lasts
        // until the parent has done its checks.
        while (board->pause) {
            slot.parked = board->generation.load();
            Sleep(1);
        }
        HANDLE semaphore = CreateSemaphoreW(nullptr, stormCount, stormCount, names.semaphore.c_str());
        HANDLE mutex = CreateMutexW(nullptr, FALSE, names.mutex.c_str());
        if (!semaphore || !mutex)
            return failed(3);
        const DWORD timeout = static_cast<DWORD>(random() % 20);
        const int holdFor = static_cast<int>(random() % 100);
        if (random() % 2) {
            slot.state = SemaphoreWaiting;
            const DWORD outcome = WaitForSingleObject(semaphore, timeout);
            if (outcome == WAIT_OBJECT_0) {
                slot.state = SemaphoreHeld;
                for (int i = 0; i < holdFor; ++i)
                    slot.steps.load();
                slot.state = SemaphoreReleasing;
                if (!ReleaseSemaphore(semaphore, 1, nullptr))
                    return failed(4);
            } else if (outcome != WAIT_TIMEOUT)
                return failed(5);
        } else {
            slot.state = MutexWaiting;
            const DWORD outcome = WaitForSingleObject(mutex, timeout);
            if (outcome == WAIT_ABANDONED)
                ++slot.abandoned;
            if (outcome == WAIT_OBJECT_0 || outcome == WAIT_ABANDONED) {
                slot.state = MutexHeld;
                for (int i = 0; i < holdFor; ++i)
                    slot.steps.load();
                slot.state = MutexReleasing;
                if (!ReleaseMutex(mutex))
                    return failed(6);
            } else if (outcome != WAIT_TIMEOUT)
                return failed(7);
        }
        slot.state = Idle;
        CloseHandle(mutex);
        CloseHandle(semaphore);
        ++slot.steps;
    }
}

TEST(PlatformSync, KillStormLeavesNamedObjectsWhole)
{
    const std::string name = uniqueName("storm");
    const StormNames names(name);
    SharedMemory memory(name + "-board", sizeof(StormBoard), true);
    auto* board = static_cast<StormBoard*>(memory.data());
    ASSERT_NE(board, nullptr);
    const unsigned seed = static_cast<unsigned>(fromEnvironment("CORVO_KILL_STORM_SEED", std::random_device()()));
    std::minstd_rand random(seed);
    SCOPED_TRACE(testing::Message() << "CORVO_KILL_STORM_SEED=" << seed);
    std::unique_ptr<Helper> helpers[stormHelpers];
    auto steps = [&] {
        unsigned total = 0;
        for (const StormSlot& slot : board->slots)
            total += slot.steps;
        return total;
    };
    auto failure = [&] {
        int step = 0;
        for (const StormSlot& slot : board->slots)
            step = slot.failure ? slot.failure.load() : step;
        return step;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(fromEnvironment("CORVO_KILL_STORM_SECONDS", 20));
    long rounds = 0;
    while (std::chrono::steady_clock::now() < end) {
        SCOPED_TRACE(rounds++);
        // The names went with the last handles of the round before.
        HANDLE semaphore = CreateSemaphoreW(nullptr, stormCount, stormCount, names.semaphore.c_str());
        ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
        HANDLE mutex = CreateMutexW(nullptr, FALSE, names.mutex.c_str());
        ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
        ASSERT_TRUE(semaphore && mutex);
        int abandonedBefore = 0;
        for (const StormSlot& slot : board->slots)
            abandonedBefore += slot.abandoned;
        board->pause = 0;
        for (int i = 0; i < stormHelpers; ++i)
            if (!helpers[i])
                helpers[i].reset(new Helper("storm:" + std::to_string(i), name));

        const unsigned target = steps() + static_cast<unsigned>(random() % 40);
        ASSERT_TRUE(eventually([&] { return steps() >= target || failure(); })) << "no helper made progress";
        ASSERT_EQ(failure(), 0) << "the step of a helper that failed";
        const int victim = static_cast<int>(random() % stormHelpers);
        helpers[victim]->kill();
        helpers[victim].reset();
        StormSlot& dead = board->slots[victim];
        const int state = dead.state;
        abandonedBefore -= dead.abandoned;
        dead.state = Idle;
        dead.abandoned = 0;

        board->pause = 1;
        const unsigned generation = ++board->generation;
        ASSERT_TRUE(eventually([&] {
            for (int i = 0; i < stormHelpers; ++i)
                if (helpers[i] && board->slots[i].parked != generation)
                    return failure() != 0;
            return true;
        })) << "a helper hangs";
        ASSERT_EQ(failure(), 0) << "the step of a helper that failed";

        int count = 0;
        while (WaitForSingleObject(semaphore, 0) == WAIT_OBJECT_0)
            ++count;
        EXPECT_TRUE(allows(state, SemaphoreHeld, SemaphoreWaiting, SemaphoreReleasing, stormCount - count))
            << "count " << count << " after a helper died in state " << state;
        const DWORD outcome = WaitForSingleObject(mutex, 0);
        ASSERT_TRUE(outcome == WAIT_OBJECT_0 || outcome == WAIT_ABANDONED) << outcome;
        int abandoned = outcome == WAIT_ABANDONED ? 1 : 0;
        for (const StormSlot& slot : board->slots)
            abandoned += slot.abandoned;
        EXPECT_TRUE(allows(state, MutexHeld, MutexWaiting, MutexReleasing, abandoned - abandonedBefore))
            << abandoned - abandonedBefore << " abandonments after a helper died in state " << state;
        EXPECT_TRUE(ReleaseMutex(mutex));
        CloseHandle(mutex);
        CloseHandle(semaphore);
    }
    for (auto& helper : helpers)
        helper.reset();
    EXPECT_EQ(OpenSemaphoreW(SYNCHRONIZE, FALSE, names.semaphore.c_str()), nullptr);
    EXPECT_EQ(OpenMutexW(SYNCHRONIZE, FALSE, names.mutex.c_str()), nullptr);
    RecordProperty("rounds", static_cast<int>(rounds));
}
