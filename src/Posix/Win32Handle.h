// Handles and waits, for the POSIX layer. Every kernel object (mutex,
// semaphore, event, thread, file) is reached through a HANDLE from one table,
// closed by CloseHandle and waited on by WaitForSingleObject.
#ifndef CORVO_POSIX_WIN32_HANDLE_H
#define CORVO_POSIX_WIN32_HANDLE_H

#include "Win32Base.h"

typedef struct _SECURITY_ATTRIBUTES* LPSECURITY_ATTRIBUTES; // only null is accepted

#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0x00000000u
#define WAIT_ABANDONED 0x00000080u
#define WAIT_TIMEOUT 0x00000102u
#define WAIT_FAILED 0xFFFFFFFFu

// Access rights, kept per handle.
#define SYNCHRONIZE 0x00100000u

#define ERROR_NOT_OWNER 288u
#define ERROR_TOO_MANY_POSTS 298u
#define ERROR_NO_SYSTEM_RESOURCES 1450u // the process has 2^24 handles open

// Refusals of an object's name.
#define ERROR_INVALID_NAME 123u
#define ERROR_BAD_PATHNAME 161u

// Fails with ERROR_INVALID_HANDLE on a handle that is closed or was never
// valid; closing a handle never waits. The pseudo-handles of the current
// process (INVALID_HANDLE_VALUE) and thread ((HANDLE)-2) close with success
// and stay usable, as on Windows.
BOOL CloseHandle(HANDLE handle);

// Waits for at most milliseconds: INFINITE waits without limit and 0 only
// polls. A handle without the SYNCHRONIZE right, or of an object that cannot
// be waited on, gives WAIT_FAILED with the last error set.
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

#endif
