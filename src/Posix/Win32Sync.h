// Critical sections and threads, for the POSIX layer.
#ifndef CORVO_POSIX_WIN32_SYNC_H
#define CORVO_POSIX_WIN32_SYNC_H

#include "Win32Base.h"

#include <pthread.h>

// Recursive, owner-counted locks of one process.
struct CRITICAL_SECTION
{
    pthread_mutex_t mutex;
};
typedef CRITICAL_SECTION* LPCRITICAL_SECTION;

void InitializeCriticalSection(LPCRITICAL_SECTION section);
void DeleteCriticalSection(LPCRITICAL_SECTION section);
void EnterCriticalSection(LPCRITICAL_SECTION section);
BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section);
void LeaveCriticalSection(LPCRITICAL_SECTION section);

// The kernel's number of the calling thread.
DWORD GetCurrentThreadId();

#endif
