// Critical sections, mutexes, semaphores and events, for the POSIX layer.
#ifndef CORVO_POSIX_WIN32_SYNC_H
#define CORVO_POSIX_WIN32_SYNC_H

#include "Win32Handle.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>

// Recursive, owner-counted locks of one process.
struct CRITICAL_SECTION
{
    std::atomic<std::uint32_t> lock; // 0 free, 1 held, 2 held and maybe waited for: a futex word
    std::atomic<bool> contended; // once a thread has had to sleep here
    std::uint32_t recursion; // the owner's
    std::atomic<pthread_t> owner;
};
typedef CRITICAL_SECTION* LPCRITICAL_SECTION;

void InitializeCriticalSection(LPCRITICAL_SECTION section);
void DeleteCriticalSection(LPCRITICAL_SECTION section);
void EnterCriticalSection(LPCRITICAL_SECTION section);
BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section);
void LeaveCriticalSection(LPCRITICAL_SECTION section);

#define MUTEX_ALL_ACCESS 0x001F0001u
#define SEMAPHORE_MODIFY_STATE 0x00000002u
#define SEMAPHORE_ALL_ACCESS 0x001F0003u
#define EVENT_MODIFY_STATE 0x00000002u
#define EVENT_ALL_ACCESS 0x001F0003u

// Named mutexes and semaphores are shared by every process that uses the
// name: creating one with a name that exists attaches to it (the last error
// is then ERROR_ALREADY_EXISTS), and the object goes away with its last
// handle in any process, also when the processes that held it were killed.
// A process killed in any call, a wait included, leaves the object whole for
// the others.
// A mutex whose owning thread ends, or whose process dies, is abandoned: the
// next wait gets WAIT_ABANDONED and owns it. Mutexes are recursive for their
// owner. Only FALSE is accepted as the initial owner; inheritance is not
// supported and the flag is ignored.
HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name);
HANDLE OpenMutexW(DWORD desiredAccess, BOOL inheritHandle, LPCWSTR name);
// Fails with ERROR_NOT_OWNER when the calling thread does not own the mutex.
BOOL ReleaseMutex(HANDLE mutex);

HANDLE CreateSemaphoreW(LPSECURITY_ATTRIBUTES attributes, LONG initialCount, LONG maximumCount,
                        LPCWSTR name);
HANDLE OpenSemaphoreW(DWORD desiredAccess, BOOL inheritHandle, LPCWSTR name);
// Fails with ERROR_INVALID_PARAMETER for a count below 1 and with
// ERROR_TOO_MANY_POSTS for a rise past the maximum; neither changes the count.
BOOL ReleaseSemaphore(HANDLE semaphore, LONG releaseCount, LONG* previousCount);

// Events have no name here.
HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                    LPCWSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

#endif
