// Names of kernel objects as Windows reads them in a desktop session, and
// the file in /dev/shm that stands for each (Linux).
#ifndef CORVO_POSIX_OBJECT_NAME_H
#define CORVO_POSIX_OBJECT_NAME_H

#include "Win32Base.h"

#include <string>

namespace Vesk {
namespace Corvo {
namespace Posix {

// The file name, without its directory, for a non-empty object name: "x"
// and "Local\x" give one file, "Global\x" another. False with the last
// error set for a name that Windows refuses: ERROR_PATH_NOT_FOUND for any
// other backslash (a namespace that doesn't exist), ERROR_INVALID_NAME for
// a namespace without a name in it, ERROR_BAD_PATHNAME for a leading
// backslash, ERROR_INVALID_HANDLE for the name of a namespace itself (an
// object of another kind there).
bool objectFileName(LPCWSTR name, std::string& fileName);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
