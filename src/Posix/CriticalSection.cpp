// Critical sections on a futex word of their own: an uncontended enter is
// one compare-exchange and a recursion count, a leave one exchange, and
// only a thread that finds the section held goes to the kernel.
#include "Handle.h"
#include "Win32Sync.h"

using namespace Vesk::Corvo::Posix;

namespace {

const std::uint32_t freeState = 0, held = 1, heldAndWaited = 2;

bool enterAlone(LPCRITICAL_SECTION section, pthread_t self, std::uint32_t& found)
{
    found = freeState;
    if (section->lock.compare_exchange_strong(found, held, std::memory_order_acquire,
                                              std::memory_order_relaxed))
        return true;
    // Only the owner itself can have put its own name there.
    if (section->owner.load(std::memory_order_relaxed) != self)
        return false;
    ++section->recursion;
    return true;
}

void becomeOwner(LPCRITICAL_SECTION section, pthread_t self)
{
    section->owner.store(self, std::memory_order_relaxed);
    section->recursion = 1;
}

} // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    section->lock.store(freeState, std::memory_order_relaxed);
    section->recursion = 0;
    section->owner.store(pthread_t(), std::memory_order_relaxed);
}

void DeleteCriticalSection(LPCRITICAL_SECTION) {}

void EnterCriticalSection(LPCRITICAL_SECTION section)
{
    const pthread_t self = pthread_self();
    std::uint32_t found;
    if (enterAlone(section, self, found)) {
        if (found == freeState)
            becomeOwner(section, self);
        return;
    }
    // Marks the word waited for while asleep on it; whoever takes it this
    // way keeps the mark, since others may still sleep.
    if (found != heldAndWaited)
        found = section->lock.exchange(heldAndWaited, std::memory_order_acquire);
    while (found != freeState) {
        sleepWhile(section->lock, heldAndWaited, Deadline::after(INFINITE), false);
        found = section->lock.exchange(heldAndWaited, std::memory_order_acquire);
    }
    becomeOwner(section, self);
}

BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section)
{
    const pthread_t self = pthread_self();
    std::uint32_t found;
    if (!enterAlone(section, self, found))
        return FALSE;
    if (found == freeState)
        becomeOwner(section, self);
    return TRUE;
}

void LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    if (--section->recursion > 0)
        return;
    section->owner.store(pthread_t(), std::memory_order_relaxed);
    if (section->lock.exchange(freeState, std::memory_order_release) == heldAndWaited)
        wakeOne(section->lock, false);
}
