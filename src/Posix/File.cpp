// File attributes and deletion on stat, chmod and unlink.
#include "PosixSupport.h"
#include "Win32File.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

using Vesk::Corvo::Posix::fail;
using Vesk::Corvo::Posix::failFromErrno;

namespace {

const mode_t writeBits = S_IWUSR | S_IWGRP | S_IWOTH;

bool hiddenName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    const char* name = slash ? slash + 1 : path;
    return name[0] == '.' && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

// Whether any descriptor of this process refers to the file.
bool openInThisProcess(const struct stat& file)
{
    DIR* descriptors = opendir("/proc/self/fd");
    if (!descriptors)
        return false;
    bool found = false;
    while (const dirent* entry = readdir(descriptors)) {
        struct stat target;
        const std::string link = std::string("/proc/self/fd/") + entry->d_name;
        if (entry->d_name[0] != '.' && stat(link.c_str(), &target) == 0 &&
            target.st_dev == file.st_dev && target.st_ino == file.st_ino) {
            found = true;
            break;
        }
    }
    closedir(descriptors);
    return found;
}

} // namespace

DWORD GetFileAttributesA(LPCSTR path)
{
    struct stat status;
    if (stat(path, &status) != 0)
        return failFromErrno(INVALID_FILE_ATTRIBUTES);
    DWORD attributes = 0;
    if ((status.st_mode & writeBits) == 0)
        attributes |= FILE_ATTRIBUTE_READONLY;
    if (hiddenName(path))
        attributes |= FILE_ATTRIBUTE_HIDDEN;
    if (S_ISDIR(status.st_mode))
        attributes |= FILE_ATTRIBUTE_DIRECTORY;
    return attributes ? attributes : FILE_ATTRIBUTE_NORMAL;
}

// Only the read-only bit acts: clearing it gives the owner write permission.
BOOL SetFileAttributesA(LPCSTR path, DWORD attributes)
{
    struct stat status;
    if (stat(path, &status) != 0)
        return failFromErrno(FALSE);
    const mode_t permissions = status.st_mode & 07777;
    const mode_t wanted = (attributes & FILE_ATTRIBUTE_READONLY)
                              ? permissions & ~writeBits
                              : ((permissions & writeBits) ? permissions : permissions | S_IWUSR);
    if (wanted != permissions && chmod(path, wanted) != 0)
        return failFromErrno(FALSE);
    return TRUE;
}

// Windows refuses to delete a file that is open without shared delete
// access, which the C runtime never grants; callers rely on that for the
// files they write.
BOOL DeleteFileA(LPCSTR path)
{
    struct stat status;
    if (lstat(path, &status) != 0)
        return failFromErrno(FALSE);
    if (S_ISDIR(status.st_mode))
        return fail(ERROR_ACCESS_DENIED, FALSE);
    if (openInThisProcess(status))
        return fail(ERROR_SHARING_VIOLATION, FALSE);
    return unlink(path) == 0 ? TRUE : failFromErrno(FALSE);
}
