// The handle, wait, thread and time calls of the platform, by their Win32
// names: under Wine against the real API, on Linux against Corvo's layer.
#include "CorvoPlatform.h"
#include "HelperProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace {

std::wstring wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

DWORD WINAPI returnSeven(LPVOID) { return 7; }

DWORD WINAPI takeAndEnd(LPVOID mutex)
{
    WaitForSingleObject(static_cast<HANDLE>(mutex), INFINITE);
    return 0;
}

} // namespace

TEST(PlatformKernel, ClosedAndInvalidHandlesFailCleanly)
{
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    ASSERT_NE(event, nullptr);
    EXPECT_TRUE(CloseHandle(event));
    for (HANDLE handle : {event, static_cast<HANDLE>(nullptr), reinterpret_cast<HANDLE>(0x7FFC)}) {
        SetLastError(0);
        EXPECT_FALSE(CloseHandle(handle));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    }
}

TEST(PlatformKernel, WaitsTimeOutAndReportTheirResult)
{
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForSingleObject(event, 30), WAIT_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(25));
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(SetEvent(event)); // not counted
    EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    CloseHandle(event);
}

TEST(PlatformKernel, SemaphoreCountsAndRightsPerHandle)
{
    EXPECT_EQ(CreateSemaphoreW(nullptr, 2, 1, nullptr), nullptr);
    const std::wstring name = wide(corvo_test::uniqueName("platform-semaphore"));
    HANDLE created = CreateSemaphoreW(nullptr, 0, 2, name.c_str());
    ASSERT_NE(created, nullptr);
    HANDLE opened = OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, TRUE, name.c_str());
    ASSERT_NE(opened, nullptr);
    LONG previous = -1;
    EXPECT_TRUE(ReleaseSemaphore(opened, 2, &previous));
    EXPECT_EQ(previous, 0);
    EXPECT_FALSE(ReleaseSemaphore(opened, 1, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_POSTS);
    // A release of 0 changes nothing (Windows refuses it, Wine lets it pass).
    ReleaseSemaphore(created, 0, nullptr);
    EXPECT_EQ(WaitForSingleObject(opened, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(WaitForSingleObject(created, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(created, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(created, 0), WAIT_TIMEOUT);
    CloseHandle(opened);
    CloseHandle(created);
}

TEST(PlatformKernel, MutexOwnershipNamesAndAbandonment)
{
    const std::wstring name = wide(corvo_test::uniqueName("platform-mutex"));
    HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
    ASSERT_NE(mutex, nullptr);
    HANDLE again = CreateMutexW(nullptr, FALSE, name.c_str());
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(CreateSemaphoreW(nullptr, 0, 1, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
    // A thread that ends holding the mutex abandons it to the next waiter.
    HANDLE thread = CreateThread(nullptr, 0, &takeAndEnd, again, 0, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0); // recursive
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(ReleaseMutex(again));
    EXPECT_FALSE(ReleaseMutex(mutex));
    CloseHandle(thread);
    CloseHandle(again);
    CloseHandle(mutex);
    EXPECT_EQ(OpenMutexW(SYNCHRONIZE, TRUE, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST(PlatformKernel, ThreadsEndSignalledAndSuspensionIsCounted)
{
    HANDLE thread = CreateThread(nullptr, 0, &returnSeven, nullptr, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
    CloseHandle(thread);

    CORVO_SKIP_SUSPENSION_UNDER_TSAN();
    static std::atomic<bool> stop;
    stop = false;
    thread = CreateThread(nullptr, 0, [](LPVOID) -> DWORD {
        while (!stop)
            Sleep(1);
        return 0;
    }, nullptr, 0, nullptr);
    EXPECT_EQ(SuspendThread(thread), 0u);
    EXPECT_EQ(SuspendThread(thread), 1u);
    EXPECT_EQ(ResumeThread(thread), 2u);
    EXPECT_EQ(ResumeThread(thread), 1u);
    EXPECT_EQ(ResumeThread(thread), 0u);
    stop = true;
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    CloseHandle(thread);
}

TEST(PlatformKernel, CounterAndSystemTime)
{
    LARGE_INTEGER frequency, first, second;
    EXPECT_TRUE(QueryPerformanceFrequency(&frequency));
    EXPECT_GT(frequency.QuadPart, 0);
    QueryPerformanceCounter(&first);
    QueryPerformanceCounter(&second);
    EXPECT_LE(first.QuadPart, second.QuadPart);
    SYSTEMTIME now;
    GetSystemTime(&now);
    EXPECT_GE(now.wYear, 2024);
    EXPECT_LT(now.wHour, 24);
    EXPECT_LT(now.wMilliseconds, 1000);
}
