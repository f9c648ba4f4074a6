// Thread identity (Linux).
#include "Win32Api.h"

#include <unistd.h>

DWORD GetCurrentThreadId() { return static_cast<DWORD>(gettid()); }
