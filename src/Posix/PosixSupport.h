// Helpers shared by the files of the POSIX layer; class code never sees them.
#ifndef CORVO_POSIX_SUPPORT_H
#define CORVO_POSIX_SUPPORT_H

namespace Vesk {
namespace Corvo {
namespace Posix {

// For calls that cannot fail on objects the layer manages itself (unlocking
// a mutex that this thread holds): a failure is a broken invariant, so it
// stops the process with the name of the call instead of going unnoticed.
void requireSuccess(int result, const char* call);

// Sets the calling thread's last error to the Win32 code for an errno value.
void setLastErrorFromErrno(int error);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
