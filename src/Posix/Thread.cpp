// Thread identity (Linux).
#include "Win32Sync.h"

#include <unistd.h>

DWORD GetCurrentThreadId() { return static_cast<DWORD>(gettid()); }
