// The Win32 base types and the thread's last error, for the POSIX layer.
// The types keep their Win32 widths: DWORD is 32 bits, and WCHAR holds one
// UTF-16 unit per element, whatever the width of wchar_t.
#ifndef CORVO_POSIX_WIN32_BASE_H
#define CORVO_POSIX_WIN32_BASE_H

#include <cstddef>
#include <cstdint>

typedef int BOOL;
typedef unsigned char BYTE;
typedef std::uint16_t WORD;
typedef std::uint32_t DWORD;
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef std::int64_t LONGLONG;
typedef unsigned int UINT;
typedef char CHAR;
typedef wchar_t WCHAR;
typedef void* HANDLE;
typedef void* HMODULE;
typedef HMODULE HINSTANCE;
typedef void* LPVOID;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef const CHAR* LPCCH;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef const WCHAR* LPCWCH;
typedef BOOL* LPBOOL;
typedef DWORD* LPDWORD;
typedef LONG* PLONG;

#define TRUE 1
#define FALSE 0
#define WINAPI

// One value per thread, set by the call that fails.
DWORD GetLastError();
void SetLastError(DWORD errorCode);

#define ERROR_SUCCESS 0u
#define ERROR_FILE_NOT_FOUND 2u
#define ERROR_PATH_NOT_FOUND 3u
#define ERROR_TOO_MANY_OPEN_FILES 4u
#define ERROR_ACCESS_DENIED 5u
#define ERROR_INVALID_HANDLE 6u
#define ERROR_NOT_ENOUGH_MEMORY 8u
#define ERROR_GEN_FAILURE 31u
#define ERROR_SHARING_VIOLATION 32u
#define ERROR_INVALID_PARAMETER 87u
#define ERROR_DISK_FULL 112u
#define ERROR_ALREADY_EXISTS 183u
#define ERROR_FILENAME_EXCED_RANGE 206u

#endif
