// File attributes, deletion and the C runtime's directory listing, for the
// POSIX layer.
#ifndef CORVO_POSIX_WIN32_FILE_H
#define CORVO_POSIX_WIN32_FILE_H

#include "Win32Base.h"

#include <cstdint>

// File attributes. Read-only is the absence of every write
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

#endif
