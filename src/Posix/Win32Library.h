// Loading shared libraries at run time, for the POSIX layer.
#ifndef CORVO_POSIX_WIN32_LIBRARY_H
#define CORVO_POSIX_WIN32_LIBRARY_H

#include "Win32Base.h"

#include <cstdint>

#define ERROR_MOD_NOT_FOUND 126u
#define ERROR_PROC_NOT_FOUND 127u

typedef std::intptr_t (*FARPROC)();

// The name is taken as given, each unit as one byte, and found by the
// dynamic loader's own search rules. Null on failure; an empty name is no
// module (ERROR_MOD_NOT_FOUND), not the program as dlopen takes it.
HMODULE LoadLibraryW(LPCWSTR fileName);
// 0 on failure, a null module included.
BOOL FreeLibrary(HMODULE module);
// Null for a symbol that the library does not have.
FARPROC GetProcAddress(HMODULE module, LPCSTR procName);
// Only the program's own module (a null name) is known: a fixed handle that
// names it, the one that window classes are registered for.
HMODULE GetModuleHandleW(LPCWSTR moduleName);

#endif
