// Critical sections on a futex word of their own. An uncontended enter is
// one compare-exchange and a recursion count, and only a thread that finds
// the section held goes to the kernel. It doesn't spin first: two threads
// that spin for one section keep its line bouncing between their cores,
// which costs them more than sleeping does.
//
// Leaving takes no atomic read-modify-write for as long as no thread has
// had to sleep on the section: the leaver stores the free word and then
// looks for sleepers, a sleeper counts itself and then looks at the word,
// and the sleeper pays for the barrier pair that makes one of them see the
// other. The first sleeper also marks the section contended for good, and
// from then on it works as a futex lock does, with a leave that exchanges
// the word and learns from it whether anybody sleeps: a section that
// threads fight over would otherwise pay for the barrier at every sleep.
//
// Once its word is free, a leaver touches the section no more: the thread
// that takes it next may destroy it at once, as a read-write lock's
// destructor does. So the sleepers it looks for are counted for the whole
// process, and its wake, on a word that may be gone by then, only names an
// address to the kernel, which at worst wakes a sleeper elsewhere early.
#include "Barrier.h"
#include "Handle.h"
#include "Win32Sync.h"

using namespace Vesk::Corvo::Posix;

namespace {

const std::uint32_t freeState = 0, held = 1, heldAndWaited = 2;

// Threads that are the first to sleep on their section, in any section:
// a leaver may not know yet that the section is contended.
std::atomic<unsigned> firstSleepers{0};

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
        firstSleepers.fetch_add(1, std::memory_order_relaxed);
        section->contended.store(true, std::memory_order_relaxed);
        heavyBarrier();
    }
    // Whoever takes the section this way keeps the mark, since others may
    // still sleep.
    while (section->lock.exchange(heldAndWaited, std::memory_order_acquire) != freeState)
        sleepWhile(section->lock, heldAndWaited, Deadline::after(INFINITE), false);
    if (first)
        firstSleepers.fetch_sub(1, std::memory_order_relaxed);
}

} // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    section->lock.store(freeState, std::memory_order_relaxed);
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
    std::atomic<std::uint32_t>& word = section->lock;
    word.store(freeState, std::memory_order_release);
    lightBarrier();
    if (firstSleepers.load(std::memory_order_relaxed) > 0)
        wakeOne(word, false);
}
