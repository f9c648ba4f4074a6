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

using namespace corvo_test;

namespace {

// A number from the environment, for longer runs by hand.
unsigned long fromEnvironment(const char* variable, unsigned long otherwise)
{
    const char* value = std::getenv(variable);
    return value && *value ? std::strtoul(value, nullptr, 10) : otherwise;
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
        {"unset event, timed", [] { return CreateEventW(nullptr, FALSE, FALSE, nullptr); }, 10, WAIT_TIMEOUT, WAIT_TIMEOUT},
        {"set auto-reset event, unlimited", [] { return CreateEventW(nullptr, FALSE, TRUE, nullptr); }, INFINITE, WAIT_OBJECT_0, WAIT_TIMEOUT},
        {"set manual-reset event, poll", [] { return CreateEventW(nullptr, TRUE, TRUE, nullptr); }, 0, WAIT_OBJECT_0, WAIT_OBJECT_0},
        {"empty semaphore, timed", [] { return CreateSemaphoreW(nullptr, 0, 1, nullptr); }, 10, WAIT_TIMEOUT, WAIT_TIMEOUT},
        {"semaphore, poll", [] { return CreateSemaphoreW(nullptr, 1, 2, nullptr); }, 0, WAIT_OBJECT_0, WAIT_TIMEOUT},
        {"empty named semaphore, timed", [&] { return CreateSemaphoreW(nullptr, 0, 1, name.c_str()); }, 10, WAIT_TIMEOUT, WAIT_TIMEOUT},
        {"named semaphore, unlimited", [&] { return CreateSemaphoreW(nullptr, 1, 1, name.c_str()); }, INFINITE, WAIT_OBJECT_0, WAIT_TIMEOUT},
    };
    for (const auto& row : rows) {
        HANDLE object = row.make();
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
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 3, &previous) && previous == 0);
    EXPECT_EQ(unlimited.get(), WAIT_OBJECT_0);
    EXPECT_EQ(timed.get(), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 1, &previous) && previous == 1);
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
    for (unsigned long round = 0; round < fromEnvironment("CORVO_KILLED_WAITER_ROUNDS", 10); ++round) {
        SCOPED_TRACE(round);
        std::unique_ptr<Helper> victim(new Helper("wait-semaphore", name));
        ASSERT_EQ(WaitForSingleObject(ready, 30000), WAIT_OBJECT_0);
        ASSERT_TRUE(eventually([&] { return asleep(victim->id()); }));
        Helper survivor("wait-semaphore", name);
        ASSERT_EQ(WaitForSingleObject(ready, 30000), WAIT_OBJECT_0);
        victim.reset();
        ASSERT_TRUE(eventually([&] { return asleep(survivor.id()); }));
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

// A helper's state is 4 * object + phase, object 0 the semaphore, 1 the mutex.
enum Phase : int
{
    Idle,
    Waiting,
    Holding,
    Releasing
};

struct StormBoard
{
    std::atomic<int> pause; // park at the end of the step
    std::atomic<unsigned> generation; // counts the pauses
    std::atomic<unsigned> steps, abandoned; // WAIT_ABANDONED seen
    std::atomic<int> failure; // the step that failed, if any
    std::atomic<int> state[stormHelpers];
    std::atomic<unsigned> parked[stormHelpers]; // the pause each has stopped for
};

// What the dead one's last state allows of the object: the count it took
// and kept, or the abandonment it left, is certain while it held it, and
// may be either way while it was on its way in or out.
bool allows(int state, int object, long found)
{
    if (state == 4 * object + Holding)
        return found == 1;
    if (state == 4 * object + Waiting || state == 4 * object + Releasing)
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
    std::minstd_rand random(std::random_device{}());
    for (;;) {
        // A generation read here was set after the pause began, which lasts
        // until the parent has done its checks.
        while (board->pause) {
            board->parked[number] = board->generation.load();
            Sleep(1);
        }
        HANDLE objects[] = {CreateSemaphoreW(nullptr, stormCount, stormCount, wide(name + "-semaphore").c_str()),
                            CreateMutexW(nullptr, FALSE, wide(name + "-mutex").c_str())};
        if (!objects[0] || !objects[1])
            return board->failure = 3;
        const int object = static_cast<int>(random() % 2);
        board->state[number] = 4 * object + Waiting;
        const DWORD outcome = WaitForSingleObject(objects[object], static_cast<DWORD>(random() % 20));
        board->abandoned += outcome == WAIT_ABANDONED ? 1 : 0;
        if (outcome == WAIT_OBJECT_0 || outcome == WAIT_ABANDONED) {
            board->state[number] = 4 * object + Holding;
            Sleep(static_cast<DWORD>(random() % 3));
            board->state[number] = 4 * object + Releasing;
            if (!(object ? ReleaseMutex(objects[1]) : ReleaseSemaphore(objects[0], 1, nullptr)))
                return board->failure = 4;
        } else if (outcome != WAIT_TIMEOUT)
            return board->failure = 5;
        board->state[number] = Idle;
        CloseHandle(objects[1]);
        CloseHandle(objects[0]);
        ++board->steps;
    }
}

TEST(PlatformSync, KillStormLeavesNamedObjectsWhole)
{
    const std::string name = uniqueName("storm");
    const std::wstring semaphoreName = wide(name + "-semaphore"), mutexName = wide(name + "-mutex");
    SharedMemory memory(name + "-board", sizeof(StormBoard), true);
    auto* board = static_cast<StormBoard*>(memory.data());
    ASSERT_NE(board, nullptr);
    const auto seed = static_cast<unsigned>(fromEnvironment("CORVO_KILL_STORM_SEED", std::random_device{}()));
    SCOPED_TRACE(testing::Message() << "CORVO_KILL_STORM_SEED=" << seed);
    std::minstd_rand random(seed);
    std::unique_ptr<Helper> helpers[stormHelpers];
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::seconds(fromEnvironment("CORVO_KILL_STORM_SECONDS", 20));
    for (long round = 0; std::chrono::steady_clock::now() < end; ++round) {
        SCOPED_TRACE(round);
        // The names went with the last handles of the round before.
        HANDLE semaphore = CreateSemaphoreW(nullptr, stormCount, stormCount, semaphoreName.c_str());
        ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
        HANDLE mutex = CreateMutexW(nullptr, FALSE, mutexName.c_str());
        ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
        const unsigned abandonedBefore = board->abandoned;
        board->pause = 0;
        for (int i = 0; i < stormHelpers; ++i)
            if (!helpers[i])
                helpers[i].reset(new Helper("storm:" + std::to_string(i), name));
        const unsigned target = board->steps + static_cast<unsigned>(random() % 40);
        ASSERT_TRUE(eventually([&] { return board->steps >= target || board->failure; })) << "no helper made progress";
        const auto victim = random() % stormHelpers;
        helpers[victim].reset(); // killed at once
        const int state = board->state[victim].exchange(Idle);
        board->pause = 1;
        const unsigned generation = ++board->generation;
        ASSERT_TRUE(eventually([&] {
            for (int i = 0; i < stormHelpers; ++i)
                if (helpers[i] && board->parked[i] != generation && !board->failure)
                    return false;
            return true;
        })) << "a helper hangs";
        ASSERT_EQ(board->failure, 0) << "the step of a helper that failed";

        long count = 0;
        while (WaitForSingleObject(semaphore, 0) == WAIT_OBJECT_0)
            ++count;
        EXPECT_TRUE(allows(state, 0, stormCount - count)) << "count " << count << " after death in state " << state;
        const DWORD outcome = WaitForSingleObject(mutex, 0);
        ASSERT_TRUE(outcome == WAIT_OBJECT_0 || outcome == WAIT_ABANDONED) << outcome;
        const long abandoned = static_cast<long>(board->abandoned - abandonedBefore) + (outcome == WAIT_ABANDONED);
        EXPECT_TRUE(allows(state, 1, abandoned)) << abandoned << " abandonments after death in state " << state;
        EXPECT_TRUE(ReleaseMutex(mutex));
        CloseHandle(mutex);
        CloseHandle(semaphore);
    }
    for (auto& helper : helpers)
        helper.reset();
    EXPECT_EQ(OpenSemaphoreW(SYNCHRONIZE, FALSE, semaphoreName.c_str()), nullptr);
    EXPECT_EQ(OpenMutexW(SYNCHRONIZE, FALSE, mutexName.c_str()), nullptr);
}
