// Critical sections on a futex word of their own: an uncontended enter is
// one compare-exchange and a recursion count, a leave a plain store and a
// look at the count of sleepers, and only a thread that finds the section
// held for longer than a short spin goes to the kernel. Leaving and going
// to sleep are the two sides of the barrier pair: the leaver stores the
// free word and then looks for sleepers, a sleeper counts itself and then
// looks at the word, and the sleeper pays for the barrier that makes one of
// them see the other.
#include "Barrier.h"
#include "Handle.h"
#include "PosixSupport.h"
#include "Win32Sync.h"

using namespace Vesk::Corvo::Posix;

namespace {

const std::uint32_t freeState = 0, held = 1;

// Long enough for a holder on another core to leave a short section, short
// against the cost of sleeping.
const int spinLimit = 200;

bool take(LPCRITICAL_SECTION section)
{
    std::uint32_t found = freeState;
    return section->lock.compare_exchange_strong(found, held, std::memory_order_acquire,
                                                 std::memory_order_relaxed);
}

bool enterAlone(LPCRITICAL_SECTION section, pthread_t self)
{
    if (take(section)) {
        section->owner.store(self, std::memory_order_relaxed);
        section->recursion = 1;
        return true;
    }
    // Only the owner itself can have put its own name there.
    if (section->owner.load(std::memory_order_relaxed) != self)
        return false;
    ++section->recursion;
    return true;
}

bool spinToTake(LPCRITICAL_SECTION section)
{
    for (int spin = 0; spin < spinLimit; ++spin) {
        if (section->lock.load(std::memory_order_relaxed) == freeState && take(section))
            return true;
        pauseWhileSpinning();
    }
    return false;
}

void sleepToTake(LPCRITICAL_SECTION section)
{
    section->sleepers.fetch_add(1, std::memory_order_relaxed);
    heavyBarrier();
    while (!take(section))
        sleepWhile(section->lock, held, Deadline::after(INFINITE), false);
    section->sleepers.fetch_sub(1, std::memory_order_relaxed);
}

} // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    section->lock.store(freeState, std::memory_order_relaxed);
    section->sleepers.store(0, std::memory_order_relaxed);
    section->recursion = 0;
    section->owner.store(pthread_t(), std::memory_order_relaxed);
}

void DeleteCriticalSection(LPCRITICAL_SECTION) {}

void EnterCriticalSection(LPCRITICAL_SECTION section)
{
    const pthread_t self = pthread_self();
    if (enterAlone(section, self))
        return;
    if (!spinToTake(section))
        sleepToTake(section);
    section->owner.store(self, std::memory_order_relaxed);
    section->recursion = 1;
}

BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section)
{
    return enterAlone(section, pthread_self()) ? TRUE : FALSE;
}

void LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    if (--section->recursion > 0)
        return;
    section->owner.store(pthread_t(), std::memory_order_relaxed);
    section->lock.store(freeState, std::memory_order_release);
    lightBarrier();
    if (section->sleepers.load(std::memory_order_relaxed) > 0)
        wakeOne(section->lock, false);
}
