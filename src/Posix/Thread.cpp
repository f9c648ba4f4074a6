// Thread identity (Linux).
#include "Win32Sync.h"

#include <unistd.h>

namespace {

// The kernel's number is asked once per thread; 0 is no thread's number.
// A child of fork is a new thread with the number of its own: its copy of
// the forking thread's cache is cleared.
thread_local DWORD cachedThreadId = 0;

void forgetThreadIdInChild() { cachedThreadId = 0; }

const int forkHandlerRegistered = pthread_atfork(nullptr, nullptr, forgetThreadIdInChild);

} // namespace

DWORD GetCurrentThreadId()
{
    DWORD id = cachedThreadId;
    if (id == 0) {
        id = static_cast<DWORD>(gettid());
        cachedThreadId = id;
    }
    return id;
}
