// Handles, object names and thread suspension, called by their Win32 names:
// under Wine against the real API, on Linux against Corvo's POSIX layer.
#include "CorvoPlatform.h"
#include "HelperProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#  include <signal.h>
#  include <unistd.h>
#endif

using namespace corvo_test;

// The pseudo-handles of the current process (INVALID_HANDLE_VALUE) and
// thread close with success, and a wait on them, which end only with the
// caller, times out; a value that is no handle, or no more, fails both.
TEST(PlatformHandles, PseudoHandlesCloseAndTimeOutOthersFail)
{
    HANDLE closedOnce = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_TRUE(CloseHandle(closedOnce));
    const struct
    {
        HANDLE handle;
        DWORD error; // 0: it closes, and a wait times out
    } rows[] = {{INVALID_HANDLE_VALUE, 0},
                {reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2)), 0},
                {nullptr, ERROR_INVALID_HANDLE},
                {reinterpret_cast<HANDLE>(0x123400), ERROR_INVALID_HANDLE},
                {closedOnce, ERROR_INVALID_HANDLE}};
    for (const auto& row : rows) {
        SetLastError(0);
        EXPECT_EQ(WaitForSingleObject(row.handle, 10), row.error == 0 ? WAIT_TIMEOUT : WAIT_FAILED) << row.handle;
        EXPECT_EQ(GetLastError(), row.error) << row.handle;
        EXPECT_EQ(CloseHandle(row.handle), row.error == 0) << row.handle;
        EXPECT_EQ(GetLastError(), row.error) << row.handle;
    }
}

// Handles closed while another thread uses them: each call finds the object
// or fails with ERROR_INVALID_HANDLE, never anything else, and each object
// goes, its name with it, once its handle is closed and the last call that
// used it has ended, whichever of the two comes last.
TEST(PlatformHandles, ClosingWhileOtherThreadsUseHandlesIsSafe)
{
    const std::string base = uniqueName("closing");
    auto name = [&](int round) { return wide(base + "-" + std::to_string(round)); };
    auto create = [&](int round) { return CreateSemaphoreW(nullptr, 0, 1, name(round).c_str()); };
    const int slots = 8, rounds = 1000;
    std::vector<std::atomic<HANDLE>> semaphores(slots);
    for (int slot = 0; slot < slots; ++slot)
        semaphores[slot] = create(slot - slots);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::thread user([&] {
        while (!done)
            for (auto& semaphore : semaphores)
                if (!ReleaseSemaphore(semaphore, 1, nullptr) && GetLastError() != ERROR_TOO_MANY_POSTS)
                    wrong += GetLastError() != ERROR_INVALID_HANDLE;
                else
                    wrong += WaitForSingleObject(semaphore, 0) == WAIT_FAILED && GetLastError() != ERROR_INVALID_HANDLE;
    });
    for (int round = 0; round < rounds; ++round)
        EXPECT_TRUE(CloseHandle(semaphores[round % slots].exchange(create(round))));
    done = true;
    user.join();
    EXPECT_EQ(wrong, 0);
    for (int round = -slots; round < rounds - slots; ++round)
        if (HANDLE left = OpenSemaphoreW(SYNCHRONIZE, FALSE, name(round).c_str())) {
            ADD_FAILURE() << "semaphore " << round << " outlived its handle";
            CloseHandle(left);
        }
    for (auto& semaphore : semaphores)
        EXPECT_TRUE(CloseHandle(semaphore));
}

// Names as a desktop session reads them: "Local\" is the session's own
// namespace, "Global\" the machine's; no other namespace exists, so any
// other backslash names nothing. Names are case-sensitive, the namespaces
// too, and long or awkward names work. A name belongs to one kind.
TEST(PlatformHandles, ObjectNamesFollowTheSessionNamespaces)
{
    const std::wstring x = wide(uniqueName("name"));
    const std::wstring longest = x + std::wstring(260 - x.size(), L'n'); // MAX_PATH
    const std::wstring awkward = x + L" \u00e9:*?<>|\"/%.#-_ \u20ac !@$^&()[]{};',~`=+ 0123456789";
    const struct
    {
        std::wstring first; // a mutex made first, unless empty
        std::wstring second;
        bool semaphore; // the second is a semaphore
        DWORD error; // ERROR_ALREADY_EXISTS: the first one's object; 0: a new one
    } rows[] = {
        {x, L"Local\\" + x, false, ERROR_ALREADY_EXISTS},
        {L"Local\\" + x, x, false, ERROR_ALREADY_EXISTS},
        {x, L"Global\\" + x, false, 0},
        {L"Global\\" + x, L"Local\\Global\\" + x, false, ERROR_ALREADY_EXISTS},
        {L"Global\\" + x, L"Global\\Local\\" + x, false, ERROR_ALREADY_EXISTS},
        {x, x + L"X", false, 0},
        {longest, longest, false, ERROR_ALREADY_EXISTS},
        {longest, longest.substr(0, 259) + L"m", false, 0},
        {awkward, awkward, false, ERROR_ALREADY_EXISTS},
        {L"", x + L"\\y", false, ERROR_PATH_NOT_FOUND},
        {L"", x + L"\\", false, ERROR_PATH_NOT_FOUND},
        {L"", L"Local\\" + x + L"\\y", false, ERROR_PATH_NOT_FOUND},
        {L"", L"local\\" + x, false, ERROR_PATH_NOT_FOUND},
        {L"", L"GLOBAL\\" + x, false, ERROR_PATH_NOT_FOUND},
        {L"", L"\\" + x, false, ERROR_BAD_PATHNAME},
        {L"", L"Local\\", false, ERROR_INVALID_NAME},
        {L"", L"Global\\\\" + x, false, ERROR_INVALID_NAME},
        {L"", L"Global", false, ERROR_INVALID_HANDLE},
        {L"", L"Local\\Local", false, ERROR_INVALID_HANDLE},
        {x, x, true, ERROR_INVALID_HANDLE},
        {L"Local\\" + x, L"Global\\" + x, true, 0},
    };
    for (const auto& row : rows) {
        const std::string label(row.second.begin(), row.second.end());
        HANDLE first = row.first.empty() ? nullptr : CreateMutexW(nullptr, FALSE, row.first.c_str());
        SetLastError(0);
        HANDLE second = row.semaphore ? CreateSemaphoreW(nullptr, 0, 1, row.second.c_str())
                                      : CreateMutexW(nullptr, FALSE, row.second.c_str());
        EXPECT_EQ(GetLastError(), row.error) << label;
        EXPECT_EQ(second != nullptr, row.error == 0 || row.error == ERROR_ALREADY_EXISTS) << label;
        if (!second && !row.semaphore) {
            SetLastError(0);
            EXPECT_EQ(OpenMutexW(SYNCHRONIZE, FALSE, row.second.c_str()), nullptr) << label;
            EXPECT_EQ(GetLastError(), row.error) << label;
        }
        CloseHandle(second);
        CloseHandle(first);
    }
}

#if !defined(_WIN32)
// Linux only: suspension is a signal. Threads start with it unblocked
// whatever their creator blocked, and a read that the suspension
// interrupts goes on once the thread is resumed.
TEST(PlatformHandles, SuspensionWorksWhateverTheCreatorBlockedAndRestartsReads)
{
    CORVO_SKIP_SUSPENSION_UNDER_TSAN();
    static int pipeEnds[2];
    static std::atomic<long> got{-2}, id{0};
    ASSERT_EQ(pipe(pipeEnds), 0);
    HANDLE thread = nullptr;
    std::thread([&] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        thread = CreateThread(
            nullptr, 0,
            [](LPVOID) -> DWORD {
                char byte;
                id = gettid();
                got = read(pipeEnds[0], &byte, 1);
                return 0;
            },
            nullptr, 0, nullptr);
    }).join();
    ASSERT_TRUE(eventually([] { return id && asleep(id); }));
    EXPECT_EQ(SuspendThread(thread), 0u);
    EXPECT_EQ(ResumeThread(thread), 1u);
    ASSERT_EQ(write(pipeEnds[1], "x", 1), 1);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(got, 1);
    CloseHandle(thread);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}
#endif
