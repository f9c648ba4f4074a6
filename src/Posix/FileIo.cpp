// File handles on descriptors: CreateFileW, ReadFile, WriteFile, the file
// pointer and the file size.
#include "FileObject.h"
#include "PosixSupport.h"
#include "SerialSettings.h"
#include "Win32FileIo.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

using namespace Vesk::Corvo::Posix;

namespace {

void appendUtf8(std::string& text, unsigned long codePoint)
{
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += static_cast<char>(0xC0 | (codePoint >> 6));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0 | (codePoint >> 12));
        text += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | (codePoint >> 18));
        text += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
        text += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

// The bytes of a wide name: see CreateFileW.
std::string narrowName(LPCWSTR name)
{
    std::string path;
    for (; *name; ++name) {
        const unsigned long unit = static_cast<unsigned long>(*name) & 0xFFFFu;
        const unsigned long next = static_cast<unsigned long>(name[1]) & 0xFFFFu;
        if (unit >= 0xFF80)
            path += static_cast<char>(unit & 0xFF);
        else if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            appendUtf8(path, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
            ++name;
        } else
            appendUtf8(path, unit);
    }
    return path;
}

// COMn is the n-th serial port, "COM/some/tty" that tty; other names are
// paths.
std::string devicePath(const std::string& name)
{
    if (name.size() < 4 || strncasecmp(name.c_str(), "COM", 3) != 0)
        return name;
    const std::string rest = name.substr(3);
    if (rest[0] == '/')
        return rest;
    if (rest[0] == '0' || rest.size() > 3 || rest.find_first_not_of("0123456789") != std::string::npos)
        return name;
    return "/dev/ttyS" + std::to_string(std::atoi(rest.c_str()) - 1);
}

bool openFlags(DWORD access, DWORD disposition, int& flags)
{
    flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const bool reads = (access & GENERIC_READ) != 0;
    const bool writes = (access & GENERIC_WRITE) != 0;
    flags |= reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY;
    switch (disposition) {
    case CREATE_NEW:
        flags |= O_CREAT | O_EXCL;
        return true;
    case CREATE_ALWAYS:
        flags |= O_CREAT | O_TRUNC;
        return true;
    case OPEN_EXISTING:
        return true;
    case OPEN_ALWAYS:
        flags |= O_CREAT;
        return true;
    case TRUNCATE_EXISTING:
        flags |= O_TRUNC;
        return true;
    default:
        return false;
    }
}

// Opens without emptying (the caller does that once it has checked the
// file) and tells whether the file was made by this call: a disposition
// that may create tries the existing file first.
int openPath(const std::string& path, int flags, bool& created)
{
    const auto openWith = [&](int with) { return retryOnInterrupt([&] { return ::open(path.c_str(), with, 0666); }); };
    flags &= ~O_TRUNC;
    if (!(flags & O_CREAT) || (flags & O_EXCL)) {
        const int descriptor = openWith(flags);
        created = descriptor >= 0 && (flags & O_EXCL);
        return descriptor;
    }
    for (;;) {
        int descriptor = openWith(flags & ~O_CREAT);
        if (descriptor >= 0 || errno != ENOENT)
            return descriptor;
        descriptor = openWith(flags | O_EXCL);
        created = descriptor >= 0;
        if (descriptor >= 0 || errno != EEXIST)
            return descriptor;
    }
}

// Every byte, in as many calls as it takes: a read of a regular file only
// stops short at its end, one of a device after one call.
BOOL transfer(HANDLE file, DWORD access, DWORD count, LPDWORD done, LPOVERLAPPED overlapped,
              ssize_t (*call)(int, char*, std::size_t), char* at)
{
    if (done)
        *done = 0;
    if (overlapped || !done)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    const Held<FileObject> object(file, access);
    if (!object)
        return FALSE;
    const bool reading = access == GENERIC_READ;
    while (*done < count) {
        const ssize_t moved = retryOnInterrupt([&] { return call(object->descriptor(), at + *done, count - *done); });
        if (moved < 0)
            return failFromErrno(FALSE);
        // What an unplugged serial adapter's driver gives a read: the
        // request cancelled.
        if (moved == 0 && reading && !object->regular() && lineGone(object->descriptor()))
            return fail(ERROR_OPERATION_ABORTED, FALSE);
        *done += static_cast<DWORD>(moved);
        if (moved == 0 || (reading && !object->regular()))
            break;
    }
    return TRUE;
}

ssize_t readSome(int descriptor, char* at, std::size_t count) { return ::read(descriptor, at, count); }

ssize_t writeSome(int descriptor, char* at, std::size_t count) { return ::write(descriptor, at, count); }

} // namespace

FileObject::~FileObject() { ::close(m_descriptor); }

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                   DWORD, HANDLE)
{
    int flags = 0;
    if (!name || attributes || !openFlags(access, disposition, flags))
        return fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    const std::string path = devicePath(narrowName(name));
    bool created = false;
    const int descriptor = openPath(path, flags, created);
    if (descriptor < 0)
        return errno == EEXIST ? fail(ERROR_FILE_EXISTS, INVALID_HANDLE_VALUE) : failFromErrno(INVALID_HANDLE_VALUE);
    // The read-only attribute binds root too, and is checked before
    // anything is emptied.
    const bool changes = (access & GENERIC_WRITE) != 0 || (flags & O_TRUNC) != 0;
    struct stat status;
    if (fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode) ||
        (!created && changes && S_ISREG(status.st_mode) && !(status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)))) {
        ::close(descriptor);
        return fail(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
    }
    if (!created && (flags & O_TRUNC) && S_ISREG(status.st_mode) && ftruncate(descriptor, 0) != 0) {
        ::close(descriptor);
        return failFromErrno(INVALID_HANDLE_VALUE);
    }
    // Opened without waiting for a modem's carrier; used blocking.
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    const HANDLE file = makeHandle(std::make_shared<FileObject>(descriptor, S_ISREG(status.st_mode)),
                                   access & (GENERIC_READ | GENERIC_WRITE));
    if (!file)
        return INVALID_HANDLE_VALUE;
    // The two dispositions that may create say which they did.
    const bool mayCreate = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
    SetLastError(mayCreate && !created ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return file;
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED overlapped)
{
    return transfer(file, GENERIC_READ, count, done, overlapped, readSome, static_cast<char*>(buffer));
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED overlapped)
{
    // write(2) only reads the buffer.
    return transfer(file, GENERIC_WRITE, count, done, overlapped, writeSome,
                    const_cast<char*>(static_cast<const char*>(buffer)));
}

DWORD SetFilePointer(HANDLE file, LONG distance, PLONG high, DWORD method)
{
    const Held<FileObject> object(file, 0);
    if (!object)
        return INVALID_SET_FILE_POINTER;
    const int descriptor = object->descriptor();
    long long move = distance;
    if (high)
        move = static_cast<long long>(static_cast<unsigned long long>(static_cast<DWORD>(*high)) << 32 |
                                      static_cast<DWORD>(distance));
    long long base = 0;
    struct stat status;
    if (method == FILE_CURRENT)
        base = lseek(descriptor, 0, SEEK_CUR);
    else if (method == FILE_END)
        base = fstat(descriptor, &status) == 0 ? status.st_size : -1;
    else if (method != FILE_BEGIN)
        return fail(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    if (base < 0)
        return failFromErrno(INVALID_SET_FILE_POINTER);
    long long target = 0;
    if (__builtin_add_overflow(base, move, &target))
        return fail(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    if (target < 0)
        return fail(ERROR_NEGATIVE_SEEK, INVALID_SET_FILE_POINTER);
    if (!high && target > 0xFFFFFFFFLL)
        return fail(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    if (lseek(descriptor, target, SEEK_SET) < 0)
        return failFromErrno(INVALID_SET_FILE_POINTER);
    if (high)
        *high = static_cast<LONG>(target >> 32);
    const DWORD low = static_cast<DWORD>(target);
    if (low == INVALID_SET_FILE_POINTER)
        SetLastError(ERROR_SUCCESS);
    return low;
}

DWORD GetFileSize(HANDLE file, LPDWORD high)
{
    const Held<FileObject> object(file, 0);
    if (!object)
        return INVALID_FILE_SIZE;
    struct stat status;
    if (fstat(object->descriptor(), &status) != 0)
        return failFromErrno(INVALID_FILE_SIZE);
    const unsigned long long size = static_cast<unsigned long long>(status.st_size);
    if (high)
        *high = static_cast<DWORD>(size >> 32);
    const DWORD low = static_cast<DWORD>(size);
    if (low == INVALID_FILE_SIZE)
        SetLastError(ERROR_SUCCESS);
    return low;
}
