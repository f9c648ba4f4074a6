#include "Barrier.h"
#include "PosixSupport.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

long membarrier(int command) { return syscall(SYS_membarrier, command, 0, 0); }

// The expedited form interrupts only the CPUs that run a thread of this
// process, and must be asked for once; a child of fork inherits the request.
bool registerForBarriers()
{
#if defined(__SANITIZE_THREAD__)
    return false;
#else
    return membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) == 0;
#endif
}

} // namespace

bool processWideBarriers = false;

namespace {
// Before main, and before a library that loads this one runs its code.
__attribute__((constructor)) void startBarriers() { processWideBarriers = registerForBarriers(); }
} // namespace

void heavyBarrier()
{
    if (!processWideBarriers) {
        __sync_synchronize();
        return;
    }
    if (membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED) != 0)
        abortOnError(errno, "membarrier");
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
