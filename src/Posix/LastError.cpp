// The last error of each thread, and the one mapping from errno to it.
#include "PosixSupport.h"

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

} // namespace

DWORD GetLastError() { return lastError; }

void SetLastError(DWORD errorCode) { lastError = errorCode; }

namespace Vesk {
namespace Corvo {
namespace Posix {

DWORD win32ErrorFor(int error)
{
    struct Mapping
    {
        int error;
        DWORD code;
    };
    static const Mapping table[] = {
        {ENOENT, ERROR_FILE_NOT_FOUND},      {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {EACCES, ERROR_ACCESS_DENIED},       {EPERM, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED},       {EROFS, ERROR_ACCESS_DENIED},
        {EBUSY, ERROR_SHARING_VIOLATION},    {EINVAL, ERROR_INVALID_PARAMETER},
        {EBADF, ERROR_INVALID_HANDLE},       {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
        {EEXIST, ERROR_ALREADY_EXISTS},      {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
        {ENOSPC, ERROR_DISK_FULL},           {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
        {EFBIG, ERROR_DISK_FULL}, // beyond the process's file size limit
    };
    for (const Mapping& mapping : table)
        if (mapping.error == error)
            return mapping.code;
    return ERROR_GEN_FAILURE;
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
