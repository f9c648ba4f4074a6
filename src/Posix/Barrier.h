// Barriers for Dekker's shape, where one side stores to a word and then
// loads another that the other side stores to, and each must see the
// other's store or be seen. A full fence on each side costs as much as an
// atomic read-modify-write; here the side that runs on every call (a
// handle lookup, leaving a critical section) passes only a compiler
// barrier, and the side that runs rarely (closing a handle, a thread about
// to sleep) makes every running thread of the process pass a full one, by
// membarrier. Where the kernel can't do that, both sides fence.
#ifndef CORVO_POSIX_BARRIER_H
#define CORVO_POSIX_BARRIER_H

#include <atomic>

namespace Vesk {
namespace Corvo {
namespace Posix {

// Set once, while the library loads, before any other thread can use it.
extern bool processWideBarriers;

// On the frequent side, between its store and its load.
inline void lightBarrier()
{
#if defined(__SANITIZE_THREAD__)
    __sync_synchronize(); // ThreadSanitizer knows neither membarrier nor fences
#else
    if (processWideBarriers)
        std::atomic_signal_fence(std::memory_order_seq_cst);
    else
        std::atomic_thread_fence(std::memory_order_seq_cst);
#endif
}

// On the rare side, between its store and its load: once it returns, every
// other thread has passed a full barrier since the call began.
void heavyBarrier();

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
