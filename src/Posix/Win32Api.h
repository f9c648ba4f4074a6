// The Win32 types and calls that Corvo's platform classes use, implemented
// on POSIX. Only generic POSIX (and Linux where said) code lives in this
// directory. Declarations follow the Win32 names and signatures; the types
// keep their Win32 widths (DWORD is 32 bits, WCHAR holds one UTF-16 unit).
#ifndef CORVO_POSIX_WIN32_API_H
#define CORVO_POSIX_WIN32_API_H

#include <pthread.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <ctime>

// ---------------------------------------------------------------------------
// Types

typedef int BOOL;
typedef unsigned char BYTE;
typedef std::uint16_t WORD;
typedef std::uint32_t DWORD;
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef unsigned int UINT;
typedef char CHAR;
typedef wchar_t WCHAR; // one UTF-16 unit per element, whatever the width
typedef void* HANDLE;
typedef void* LPVOID;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef const CHAR* LPCCH;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef const WCHAR* LPCWCH;
typedef BOOL* LPBOOL;

#define TRUE 1
#define FALSE 0
#define WINAPI

// ---------------------------------------------------------------------------
// Last error: one value per thread, set by the call that fails.

DWORD GetLastError();
void SetLastError(DWORD errorCode);

#define ERROR_SUCCESS 0u
#define ERROR_FILE_NOT_FOUND 2u
#define ERROR_PATH_NOT_FOUND 3u
#define ERROR_ACCESS_DENIED 5u
#define ERROR_GEN_FAILURE 31u
#define ERROR_INVALID_PARAMETER 87u
#define ERROR_SHARING_VIOLATION 32u

// ---------------------------------------------------------------------------
// Critical sections: recursive, owner-counted locks of one process.

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

// ---------------------------------------------------------------------------
// Threads

// The kernel's number of the calling thread.
DWORD GetCurrentThreadId();

// ---------------------------------------------------------------------------
// File attributes and deletion. Read-only is the absence of every write
// permission bit; hidden is a name that starts with a dot, which attributes
// can neither give nor take away.

#define FILE_ATTRIBUTE_READONLY 0x00000001u
#define FILE_ATTRIBUTE_HIDDEN 0x00000002u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu

DWORD GetFileAttributesA(LPCSTR path);
BOOL SetFileAttributesA(LPCSTR path, DWORD attributes);
// Fails with ERROR_SHARING_VIOLATION on a file that this process holds
// open, as on Windows.
BOOL DeleteFileA(LPCSTR path);

// ---------------------------------------------------------------------------
// Directory listing of the C runtime. The pattern is a directory, a '/' and
// a name pattern, in which "*.*" matches every name, as on Windows.

typedef std::uint32_t _fsize_t;

struct _finddata64i32_t
{
    unsigned attrib;
    std::int64_t time_create;
    std::int64_t time_access;
    std::int64_t time_write;
    _fsize_t size;
    char name[260];
};

std::intptr_t _findfirst64i32(const char* pattern, _finddata64i32_t* data);
int _findnext64i32(std::intptr_t handle, _finddata64i32_t* data);
int _findclose(std::intptr_t handle);

// ---------------------------------------------------------------------------
// C runtime pieces with Microsoft's contracts

typedef std::int64_t __time64_t;

__time64_t _time64(__time64_t* destination);
// Local time; the result lives in storage of the calling thread.
struct tm* _localtime64(const __time64_t* time);

// Writes at most count characters. When the text is longer, the buffer
// holds its first count characters with no terminator, and the result is
// negative.
int _vsnprintf(char* buffer, std::size_t count, const char* format, va_list args);

typedef void* _locale_t;
// Writes at most count wide characters, the terminator included; a longer
// text is cut and still terminated, and the result is negative. The format
// reads as on Windows: "%s" and "%c" take wide arguments, "%hs", "%S", "%hc"
// and "%C" narrow ones. The locale is not used.
int _vswprintf_c_l(wchar_t* buffer, std::size_t count, const wchar_t* format, _locale_t locale,
                   va_list args);

// ---------------------------------------------------------------------------
// Code pages

// CP_ACP, the "ANSI" code page, is the character set of the C locale current
// at the call (nl_langinfo(CODESET)); where that is plain ASCII, as in the
// "C" locale, it is Windows-1252, as on a Western Windows system.
#define CP_ACP 0
#define CP_UTF8 65001

// Both calls convert length units of the source; a length of -1 is not
// supported. With an output size of 0 they return the size the conversion
// needs, in units; else the number of units written, or 0 if the output is
// too small. A sequence that cannot be converted becomes U+FFFD (or "?" in a
// character set without it). They fail with 0 on another code page, on flags
// other than 0, a negative or zero length, or a default character or
// used-default flag given.
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH multiByte, int multiByteLength,
                        LPWSTR wide, int wideLength);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideLength,
                        LPSTR multiByte, int multiByteLength, LPCCH defaultChar,
                        LPBOOL usedDefaultChar);

#endif
