// The performance counter and the system time (Linux): the counter is the
// monotonic clock in nanoseconds.
#include "Win32Thread.h"

#include <ctime>

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency)
{
    frequency->QuadPart = 1000000000LL;
    return TRUE;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count)
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    count->QuadPart = static_cast<LONGLONG>(now.tv_sec) * 1000000000LL + now.tv_nsec;
    return TRUE;
}

void GetSystemTime(LPSYSTEMTIME time)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    struct tm broken;
    gmtime_r(&now.tv_sec, &broken);
    time->wYear = static_cast<WORD>(broken.tm_year + 1900);
    time->wMonth = static_cast<WORD>(broken.tm_mon + 1);
    time->wDayOfWeek = static_cast<WORD>(broken.tm_wday);
    time->wDay = static_cast<WORD>(broken.tm_mday);
    time->wHour = static_cast<WORD>(broken.tm_hour);
    time->wMinute = static_cast<WORD>(broken.tm_min);
    time->wSecond = static_cast<WORD>(broken.tm_sec);
    time->wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000);
}
