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

#  include <fstream>
#endif

using corvo_test::uniqueName;

namespace {

std::wstring wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

struct CloseRow
{
    HANDLE handle;
    BOOL closed;
    DWORD error; // when not closed
};

} // namespace

// The pseudo-handles of the current process (INVALID_HANDLE_VALUE) and
// thread close with success; a value that is no handle, or no more, fails.
TEST(PlatformHandles, CloseHandleAcceptsPseudoHandlesAndRefusesOthers)
{
    HANDLE closedOnce = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_NE(closedOnce, nullptr);
    ASSERT_TRUE(CloseHandle(closedOnce));
    const CloseRow rows[] = {
        {INVALID_HANDLE_VALUE, TRUE, 0},
        {reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2)), TRUE, 0},
        {nullptr, FALSE, ERROR_INVALID_HANDLE},
        {reinterpret_cast<HANDLE>(0x123400), FALSE, ERROR_INVALID_HANDLE},
        {closedOnce, FALSE, ERROR_INVALID_HANDLE},
    };
    for (const CloseRow& row : rows) {
        SetLastError(0);
        EXPECT_EQ(CloseHandle(row.handle), row.closed) << row.handle;
        if (!row.closed) {
            EXPECT_EQ(GetLastError(), row.error) << row.handle;
        }
    }
}

// Handles closed while other threads use them: each call finds the object
// or fails with ERROR_INVALID_HANDLE, never anything else.
TEST(PlatformHandles, ClosingWhileOtherThreadsUseHandlesIsSafe)
{
    const int handleCount = 8, rounds = 2000;
    std::vector<std::atomic<HANDLE>> events(handleCount);
    for (auto& event : events)
        event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::thread user([&] {
        while (!done)
            for (auto& event : events)
                if (!SetEvent(event) && GetLastError() != ERROR_INVALID_HANDLE)
                    ++wrong;
    });
    for (int round = 0; round < rounds; ++round) {
        std::atomic<HANDLE>& event = events[round % handleCount];
        const HANDLE old = event.exchange(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        EXPECT_TRUE(CloseHandle(old));
    }
    done = true;
    user.join();
    EXPECT_EQ(wrong, 0);
    for (auto& event : events)
        EXPECT_TRUE(CloseHandle(event));
}

namespace {

enum class Outcome
{
    New,  // a new object
    Same, // the first row's object (ERROR_ALREADY_EXISTS)
    Fails
};

struct NameRow
{
    std::wstring first; // made first, as a mutex, unless empty
    std::wstring second;
    bool semaphore; // the second is a semaphore
    Outcome outcome;
    DWORD error; // when it fails
};

} // namespace

// Names as a desktop session reads them: "Local\" is the session's own
// namespace, "Global\" the machine's; no other namespace exists, so any
// other backslash names nothing. Names are case-sensitive, the namespaces
// too, and long or awkward names work. A name belongs to one kind.
TEST(PlatformHandles, ObjectNamesFollowTheSessionNamespaces)
{
    const std::wstring x = wide(uniqueName("name"));
    const std::size_t maxPath = 260; // MAX_PATH
    const std::wstring longest = x + std::wstring(maxPath - x.size(), L'n');
    std::wstring otherLongest = longest;
    otherLongest.back() = L'm';
    const std::wstring awkward = x + L" \u00e9:*?<>|\"/%.#-_ \u20ac !@$^&()[]{};',~`=+ 0123456789";
    const std::vector<NameRow> rows = {
        {x, L"Local\\" + x, false, Outcome::Same, 0},
        {L"Local\\" + x, x, false, Outcome::Same, 0},
        {x, L"Global\\" + x, false, Outcome::New, 0},
        {L"Global\\" + x, L"Local\\Global\\" + x, false, Outcome::Same, 0},
        {L"Global\\" + x, L"Global\\Local\\" + x, false, Outcome::Same, 0},
        {x, x + L"X", false, Outcome::New, 0},
        {longest, longest, false, Outcome::Same, 0},
        {longest, otherLongest, false, Outcome::New, 0},
        {awkward, awkward, false, Outcome::Same, 0},
        {L"", x + L"\\y", false, Outcome::Fails, ERROR_PATH_NOT_FOUND},
        {L"", x + L"\\", false, Outcome::Fails, ERROR_PATH_NOT_FOUND},
        {L"", L"Local\\" + x + L"\\y", false, Outcome::Fails, ERROR_PATH_NOT_FOUND},
        {L"", L"local\\" + x, false, Outcome::Fails, ERROR_PATH_NOT_FOUND},
        {L"", L"GLOBAL\\" + x, false, Outcome::Fails, ERROR_PATH_NOT_FOUND},
        {L"", L"\\" + x, false, Outcome::Fails, ERROR_BAD_PATHNAME},
        {L"", L"Local\\", false, Outcome::Fails, ERROR_INVALID_NAME},
        {L"", L"Global\\\\" + x, false, Outcome::Fails, ERROR_INVALID_NAME},
        {L"", L"Global", false, Outcome::Fails, ERROR_INVALID_HANDLE},
        {L"", L"Local\\Local", false, Outcome::Fails, ERROR_INVALID_HANDLE},
        {x, x, true, Outcome::Fails, ERROR_INVALID_HANDLE},
        {L"Local\\" + x, L"Global\\" + x, true, Outcome::New, 0},
    };
    for (const NameRow& row : rows) {
        const std::string label(row.second.begin(), row.second.end());
        HANDLE first = nullptr;
        if (!row.first.empty()) {
            first = CreateMutexW(nullptr, FALSE, row.first.c_str());
            ASSERT_NE(first, nullptr) << label;
        }
        SetLastError(0);
        HANDLE second = row.semaphore ? CreateSemaphoreW(nullptr, 0, 1, row.second.c_str())
                                      : CreateMutexW(nullptr, FALSE, row.second.c_str());
        const DWORD error = GetLastError();
        switch (row.outcome) {
        case Outcome::New:
            EXPECT_NE(second, nullptr) << label;
            EXPECT_EQ(error, 0u) << label;
            break;
        case Outcome::Same:
            EXPECT_NE(second, nullptr) << label;
            EXPECT_EQ(error, ERROR_ALREADY_EXISTS) << label;
            break;
        case Outcome::Fails:
            EXPECT_EQ(second, nullptr) << label;
            EXPECT_EQ(error, row.error) << label;
            if (!row.semaphore) {
                SetLastError(0);
                EXPECT_EQ(OpenMutexW(SYNCHRONIZE, FALSE, row.second.c_str()), nullptr) << label;
                EXPECT_EQ(GetLastError(), row.error) << label;
            }
            break;
        }
        if (second)
            CloseHandle(second);
        if (first)
            CloseHandle(first);
    }
}

#if !defined(_WIN32)
namespace {

struct Reader
{
    int pipeEnds[2];
    std::atomic<long> got{-2};
    std::atomic<pid_t> id{0};
};

DWORD WINAPI readOneByte(LPVOID parameter)
{
    Reader& reader = *static_cast<Reader*>(parameter);
    reader.id = gettid();
    char byte;
    reader.got = read(reader.pipeEnds[0], &byte, 1);
    return 0;
}

// Whether the thread is blocked in read(2), by the kernel's own account.
bool inRead(pid_t thread)
{
    std::ifstream syscall("/proc/self/task/" + std::to_string(thread) + "/syscall");
    long number = -1;
    return syscall >> number && number == 0;
}

} // namespace

// Linux only: suspension is a signal. Threads start with it unblocked
// whatever their creator blocked, and a read that the suspension
// interrupts goes on once the thread is resumed.
TEST(PlatformHandles, SuspensionWorksWhateverTheCreatorBlockedAndRestartsReads)
{
#  if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "ThreadSanitizer defers the suspend signal";
#  endif
    Reader reader;
    ASSERT_EQ(pipe(reader.pipeEnds), 0);
    HANDLE thread = nullptr;
    std::thread([&] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        thread = CreateThread(nullptr, 0, readOneByte, &reader, 0, nullptr);
    }).join();
    ASSERT_NE(thread, nullptr);
    while (reader.id == 0 || !inRead(reader.id))
        std::this_thread::yield();
    EXPECT_EQ(SuspendThread(thread), 0u);
    EXPECT_EQ(ResumeThread(thread), 1u);
    ASSERT_EQ(write(reader.pipeEnds[1], "x", 1), 1);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(reader.got, 1);
    CloseHandle(thread);
    close(reader.pipeEnds[0]);
    close(reader.pipeEnds[1]);
}
#endif
