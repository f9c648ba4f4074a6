// Critical sections on a futex word of their own. An uncontended enter is
// one compare-exchange and a recursion count, and only a thread that finds
// the section held goes to the kernel. It doesn't spin first: two threads
// that spin for one section keep its line bouncing between their cores,
// which costs them more than sleeping does.
//
// Leaving takes no atomic read-modify-write for as long as no thread has
// had to sleep on the section: the leaver stores the free word and then
// looks at a count of sleepers, a sleeper counts itself and then looks at
// the word, and the sleeper pays for the barrier pair that makes one of
// them see the other. The first sleeper also marks the section contended
// for good, and from then on it works as a futex lock does, with a leave
// that exchanges the word and learns from it whether anybody sleeps: a
// section that threads fight over would otherwise pay for the barrier at
// every sleep.
#include "Barrier.h"
#include "Handle.h"
#include "Win32Sync.h"

using namespace Vesk::Corvo::Posix;

namespace {

const std::uint32_t freeState = 0, held = 1, heldAndWaited = 2;

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

void sleepToTake(LPCRITICAL_SECTION section)
{
    // Until every leaver sees the section contended, one may still leave
    // with a plain store: it then finds this thread counted, and wakes it.
    const bool first = !section->contended.load(std::memory_order_relaxed);
    if (first) {
        section->sleepers.fetch_add(1, std::memory_order_relaxed);
        section->contended.store(true, std::memory_order_relaxed);
        heavyBarrier();
    }
    // Whoever takes the section this way keeps the mark, since others may
    // still sleep.
    while (section->lock.exchange(heldAndWaited, std::memory_order_acquire) != freeState)
        sleepWhile(section->lock, heldAndWaited, Deadline::after(INFINITE), false);
    if (first)
        section->sleepers.fetch_sub(1, std::memory_order_relaxed);
}

} // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    section->lock.store(freeState, std::memory_order_relaxed);
    section->sleepers.store(0, std::memory_order_relaxed);
    section->contended.store(false, std::memory_order_relaxed);
    section->recursion = 0;
    section->owner.store(pthread_t(), std::memory_order_relaxed);
}

void DeleteCriticalSection(LPCRITICAL_SECTION) {}

void EnterCriticalSection(LPCRITICAL_SECTION section)
{
    const pthread_t self = pthread_self();
    if (enterAlone(section, self))
        return;
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
    if (section->contended.load(std::memory_order_relaxed)) {
        if (section->lock.exchange(freeState, std::memory_order_release) == heldAndWaited)
            wakeOne(section->lock, false);
        return;
    }
    section->lock.store(freeState, std::memory_order_release);
    lightBarrier();
    if (section->sleepers.load(std::memory_order_relaxed) > 0)
        wakeOne(section->lock, false);
}
