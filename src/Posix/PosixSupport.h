// Helpers shared by the files of the POSIX layer; class code never sees them.
#ifndef CORVO_POSIX_SUPPORT_H
#define CORVO_POSIX_SUPPORT_H

#include "Win32Base.h"

#include <cerrno>

namespace Vesk {
namespace Corvo {
namespace Posix {

// The Win32 code for an errno value, through the layer's one table.
DWORD win32ErrorFor(int error);

// A failing call's way out: sets the calling thread's last error from errno,
// as the failed POSIX call left it, and gives back the call's failure value.
template <typename Result>
Result failFromErrno(Result failure)
{
    SetLastError(win32ErrorFor(errno));
    return failure;
}

// The same for a failure that the layer itself detects.
template <typename Result>
Result fail(DWORD code, Result failure)
{
    SetLastError(code);
    return failure;
}

// Runs a system call again while a signal interrupts it: the Win32 calls it
// stands in for are not interrupted by anything.
template <typename Call>
auto retryOnInterrupt(Call call) -> decltype(call())
{
    decltype(call()) result;
    do
        result = call();
    while (result == -1 && errno == EINTR);
    return result;
}

// For pthread calls (which return an error number) that cannot fail on
// objects the layer manages itself, such as unlocking a mutex that this
// thread holds: a failure is a broken invariant, so it stops the process
// with the name of the call instead of going unnoticed.
void abortOnError(int error, const char* call);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
