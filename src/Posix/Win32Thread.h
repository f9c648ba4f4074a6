// Threads and the time services, for the POSIX layer.
#ifndef CORVO_POSIX_WIN32_THREAD_H
#define CORVO_POSIX_WIN32_THREAD_H

#include "Win32Handle.h"

typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID parameter);

#define THREAD_ALL_ACCESS 0x001FFFFFu

// Starts a thread at once; the stack size is the default whatever is asked,
// and only the creation flags 0 are accepted. Its handle is signalled when
// the thread ends.
HANDLE CreateThread(LPSECURITY_ATTRIBUTES attributes, std::size_t stackSize,
                    LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD creationFlags,
                    LPDWORD threadId);

// Suspension is counted: a thread runs while its count is 0. On return from
// SuspendThread the thread is stopped, at a signal handler (SIGRTMIN + 6,
// resumed by SIGRTMIN + 7), so it must not be holding a lock that the
// suspending thread will need: a thread stopped inside malloc, for one,
// stops every other thread that allocates until it is resumed. Only
// threads made by CreateThread can be suspended: they start with both
// signals unblocked, whatever their creator's mask, and must not block them.
// A suspension interrupts the thread's system call: calls that can restart
// do, but poll, select, epoll_wait and the sleeps return EINTR once it is
// resumed. Both calls give the count as it was, or (DWORD)-1 on failure.
DWORD SuspendThread(HANDLE thread);
DWORD ResumeThread(HANDLE thread);

// The kernel's number of the calling thread.
DWORD GetCurrentThreadId();

void Sleep(DWORD milliseconds);

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

// The monotonic clock, in nanoseconds.
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);

struct SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
typedef SYSTEMTIME* LPSYSTEMTIME;

// The time of day in UTC.
void GetSystemTime(LPSYSTEMTIME time);

#endif
