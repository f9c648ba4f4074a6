// Critical sections on a recursive pthread mutex: owner-counted like the
// Win32 object, and an uncontended enter and leave stay in user space.
#include "PosixSupport.h"
#include "Win32Sync.h"

using Vesk::Corvo::Posix::abortOnError;

void InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    pthread_mutexattr_t attributes;
    abortOnError(pthread_mutexattr_init(&attributes), "pthread_mutexattr_init");
    abortOnError(pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE),
                   "pthread_mutexattr_settype");
    abortOnError(pthread_mutex_init(&section->mutex, &attributes), "pthread_mutex_init");
    pthread_mutexattr_destroy(&attributes);
}

void DeleteCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_destroy(&section->mutex); }

void EnterCriticalSection(LPCRITICAL_SECTION section)
{
    abortOnError(pthread_mutex_lock(&section->mutex), "pthread_mutex_lock");
}

BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section)
{
    return pthread_mutex_trylock(&section->mutex) == 0 ? TRUE : FALSE;
}

void LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    abortOnError(pthread_mutex_unlock(&section->mutex), "pthread_mutex_unlock");
}
