// The handle table, CloseHandle and WaitForSingleObject: one machinery for
// every kind of kernel object.
#include "Handle.h"
#include "PosixSupport.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <mutex>
#include <vector>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

// Handles are small multiples of 4, as on Windows, so that 0 and
// INVALID_HANDLE_VALUE are never valid and a stale value is recognised
// rather than followed. A freed slot is used again, as Windows does.
//
// Looking a handle up takes no lock: each slot has a word that says whether
// it is open and how many calls are using it. A call counts itself in while
// the slot is open, and the slot's object and rights stay as they are until
// the word falls to 0: closed, and no call inside. Whoever brings it there,
// CloseHandle or the last call out, empties the slot and frees it. The slots
// are in blocks that are never moved or freed, each twice the size of the
// one before, so a slot's place never changes.
class HandleTable
{
public:
    // A line each, so that threads using different handles don't share one.
    struct alignas(64) Slot
    {
        std::atomic<std::uint32_t> state{0};
        DWORD access = 0;
        std::shared_ptr<KernelObject> object;
    };

    HANDLE insert(std::shared_ptr<KernelObject> object, DWORD access)
    {
        std::lock_guard<std::mutex> hold(m_lock);
        std::size_t index;
        if (m_free.empty()) {
            index = m_used++;
            std::atomic<Slot*>& block = m_blocks[blockOf(index)];
            if (!block.load(std::memory_order_relaxed))
                block.store(new Slot[firstBlockSize << blockOf(index)], std::memory_order_release);
        } else {
            index = m_free.back();
            m_free.pop_back();
        }
        Slot& slot = *slotAt(index);
        slot.object = std::move(object);
        slot.access = access;
        slot.state.store(open, std::memory_order_release);
        return reinterpret_cast<HANDLE>((index + 1) * 4);
    }

    // A slot whose object and rights stay as they are until leave; null for
    // a handle that is not open.
    Slot* enter(HANDLE handle, std::size_t& index)
    {
        Slot* slot = slotOf(handle, index);
        if (!slot)
            return nullptr;
        std::uint32_t state = slot->state.load(std::memory_order_relaxed);
        do
            if ((state & open) == 0)
                return nullptr;
        while (!slot->state.compare_exchange_weak(state, state + user, std::memory_order_acquire,
                                                  std::memory_order_relaxed));
        return slot;
    }

    void leave(Slot& slot, std::size_t index)
    {
        if (slot.state.fetch_sub(user, std::memory_order_acq_rel) == user)
            empty(slot, index);
    }

    // The object leaves the table now, or when the last call that uses it
    // ends; it is destroyed when no wait holds it any more.
    bool remove(HANDLE handle)
    {
        std::size_t index;
        Slot* slot = slotOf(handle, index);
        if (!slot)
            return false;
        std::uint32_t state = slot->state.load(std::memory_order_relaxed);
        do
            if ((state & open) == 0)
                return false;
        while (!slot->state.compare_exchange_weak(state, state & ~open, std::memory_order_acq_rel,
                                                  std::memory_order_relaxed));
        if (state == open)
            empty(*slot, index);
        return true;
    }

private:
    static constexpr std::uint32_t open = 1;
    static constexpr std::uint32_t user = 2;
    static constexpr std::size_t firstBlockSize = 64;
    static constexpr std::size_t blockCount = 40; // more handles than memory holds

    // Block k holds the indexes from firstBlockSize * (2^k - 1) on.
    static std::size_t blockOf(std::size_t index)
    {
        return static_cast<std::size_t>(63 - __builtin_clzll(index / firstBlockSize + 1));
    }

    Slot* slotAt(std::size_t index) const
    {
        const std::size_t block = blockOf(index);
        Slot* slots = m_blocks[block].load(std::memory_order_acquire);
        return slots ? slots + (index - firstBlockSize * ((std::size_t{1} << block) - 1)) : nullptr;
    }

    Slot* slotOf(HANDLE handle, std::size_t& index) const
    {
        const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(handle);
        if (value == 0 || value % 4 != 0 || value / 4 > firstBlockSize * ((std::size_t{1} << blockCount) - 1))
            return nullptr;
        index = value / 4 - 1;
        return slotAt(index);
    }

    void empty(Slot& slot, std::size_t index)
    {
        const std::shared_ptr<KernelObject> object = std::move(slot.object); // may go, outside the lock
        std::lock_guard<std::mutex> hold(m_lock);
        m_free.push_back(index);
    }

    std::mutex m_lock; // guards the making of blocks, m_used and m_free
    std::atomic<Slot*> m_blocks[blockCount] = {};
    std::size_t m_used = 0;
    std::vector<std::size_t> m_free;
};

HandleTable& handles()
{
    // Never destroyed: threads may close handles while the process exits.
    static HandleTable* table = new HandleTable;
    return *table;
}

timespec now()
{
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

bool before(const timespec& a, const timespec& b)
{
    return a.tv_sec < b.tv_sec || (a.tv_sec == b.tv_sec && a.tv_nsec < b.tv_nsec);
}

} // namespace

Deadline Deadline::after(DWORD milliseconds)
{
    Deadline deadline;
    if (milliseconds == INFINITE)
        return deadline;
    deadline.m_unlimited = false;
    deadline.m_poll = milliseconds == 0;
    if (deadline.m_poll)
        return deadline;
    deadline.m_when = now();
    deadline.m_when.tv_sec += milliseconds / 1000;
    deadline.m_when.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
    if (deadline.m_when.tv_nsec >= 1000000000L) {
        deadline.m_when.tv_nsec -= 1000000000L;
        ++deadline.m_when.tv_sec;
    }
    return deadline;
}

bool Deadline::passed() const { return m_poll || (!m_unlimited && !before(now(), m_when)); }

timespec Deadline::onRealtimeClock() const
{
    const timespec monotonic = now();
    timespec realtime;
    clock_gettime(CLOCK_REALTIME, &realtime);
    long long left = (m_when.tv_sec - monotonic.tv_sec) * 1000000000LL + (m_when.tv_nsec - monotonic.tv_nsec);
    if (left < 0)
        left = 0;
    realtime.tv_sec += static_cast<time_t>(left / 1000000000LL);
    realtime.tv_nsec += static_cast<long>(left % 1000000000LL);
    if (realtime.tv_nsec >= 1000000000L) {
        realtime.tv_nsec -= 1000000000L;
        ++realtime.tv_sec;
    }
    return realtime;
}

WaitOutcome KernelObject::wait(const Deadline&)
{
    return fail(ERROR_INVALID_HANDLE, WaitOutcome::Failed);
}

HANDLE makeHandle(std::shared_ptr<KernelObject> object, DWORD access)
{
    return object ? handles().insert(std::move(object), access) : nullptr;
}

void HeldObject::hold(HANDLE handle, const KernelObject::Kind* kind, DWORD access)
{
    HandleTable::Slot* slot = handles().enter(handle, m_index);
    if (!slot) {
        fail(ERROR_INVALID_HANDLE, false);
        return;
    }
    m_slot = slot;
    KernelObject* object = slot->object.get();
    if (kind && object->kind() != *kind)
        fail(ERROR_INVALID_HANDLE, false);
    else if ((slot->access & access) != access)
        fail(ERROR_ACCESS_DENIED, false);
    else
        m_object = object;
}

HeldObject::~HeldObject()
{
    if (m_slot)
        handles().leave(*static_cast<HandleTable::Slot*>(m_slot), m_index);
}

std::shared_ptr<KernelObject> HeldObject::share() const
{
    return m_object ? static_cast<HandleTable::Slot*>(m_slot)->object : nullptr;
}

namespace {

long futex(std::atomic<std::uint32_t>& word, int operation, bool shared, std::uint32_t value,
           const timespec* time)
{
    return syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word),
                   operation | (shared ? 0 : FUTEX_PRIVATE_FLAG), value, time, nullptr,
                   FUTEX_BITSET_MATCH_ANY);
}

// The longest that a sleeper on shared memory goes without looking again.
const long sharedSliceNanoseconds = 100 * 1000000L;

timespec later(timespec time, long nanoseconds)
{
    time.tv_nsec += nanoseconds;
    time.tv_sec += time.tv_nsec / 1000000000L;
    time.tv_nsec %= 1000000000L;
    return time;
}

} // namespace

bool sleepWhile(std::atomic<std::uint32_t>& word, std::uint32_t expected, const Deadline& deadline,
                bool shared)
{
    long result;
    if (deadline.unlimited()) {
        // A relative time-out: the unlimited wait reads no clock.
        const timespec slice = {0, sharedSliceNanoseconds};
        result = futex(word, FUTEX_WAIT, shared, expected, shared ? &slice : nullptr);
    } else {
        if (deadline.passed())
            return false;
        timespec until = deadline.when();
        if (shared) {
            const timespec sliceEnd = later(now(), sharedSliceNanoseconds);
            if (before(sliceEnd, until))
                until = sliceEnd;
        }
        // FUTEX_WAIT_BITSET takes an absolute time on the monotonic clock.
        result = futex(word, FUTEX_WAIT_BITSET, shared, expected, &until);
    }
    return result == 0 || errno != ETIMEDOUT || !deadline.passed();
}

void wakeAll(std::atomic<std::uint32_t>& word, bool shared)
{
    futex(word, FUTEX_WAKE, shared, INT_MAX, nullptr);
}

void wakeOne(std::atomic<std::uint32_t>& word, bool shared) { futex(word, FUTEX_WAKE, shared, 1, nullptr); }

void Monitor::initialise(bool sharedWithProcesses)
{
    pthread_mutexattr_t lockAttributes;
    abortOnError(pthread_mutexattr_init(&lockAttributes), "pthread_mutexattr_init");
    abortOnError(pthread_mutexattr_setpshared(&lockAttributes, sharedWithProcesses ? PTHREAD_PROCESS_SHARED
                                                                                   : PTHREAD_PROCESS_PRIVATE),
                 "pthread_mutexattr_setpshared");
    if (sharedWithProcesses)
        abortOnError(pthread_mutexattr_setrobust(&lockAttributes, PTHREAD_MUTEX_ROBUST),
                     "pthread_mutexattr_setrobust");
    abortOnError(pthread_mutex_init(&lock, &lockAttributes), "pthread_mutex_init");
    pthread_mutexattr_destroy(&lockAttributes);
    sequence.store(0, std::memory_order_relaxed);
    sleepers = 0;
    shared = sharedWithProcesses;
}

void Monitor::destroy() { pthread_mutex_destroy(&lock); }

namespace {

// Takes a monitor's lock; true when its last holder died with it, and the
// lock is taken over as it stands.
bool lockMonitor(Monitor& monitor)
{
    const int result = pthread_mutex_lock(&monitor.lock);
    if (result != EOWNERDEAD) {
        abortOnError(result, "pthread_mutex_lock");
        return false;
    }
    abortOnError(pthread_mutex_consistent(&monitor.lock), "pthread_mutex_consistent");
    return true;
}

} // namespace

MonitorLock::MonitorLock(Monitor& monitor) : m_monitor(monitor)
{
    if (lockMonitor(m_monitor))
        notifyAll();
}

MonitorLock::~MonitorLock()
{
    abortOnError(pthread_mutex_unlock(&m_monitor.lock), "pthread_mutex_unlock");
}

void MonitorLock::notifyAll()
{
    m_monitor.sequence.fetch_add(1, std::memory_order_relaxed);
    if (m_monitor.sleepers > 0)
        wakeAll(m_monitor.sequence, m_monitor.shared);
}

bool MonitorLock::waitForChange(const Deadline& deadline)
{
    if (deadline.passed())
        return false;
    // Any change after this look bumps the number, which the sleep sees.
    const std::uint32_t seen = m_monitor.sequence.load(std::memory_order_relaxed);
    ++m_monitor.sleepers;
    abortOnError(pthread_mutex_unlock(&m_monitor.lock), "pthread_mutex_unlock");
    const bool inTime = sleepWhile(m_monitor.sequence, seen, deadline, m_monitor.shared);
    if (lockMonitor(m_monitor))
        notifyAll();
    --m_monitor.sleepers;
    return inTime;
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

using namespace Vesk::Corvo::Posix;

BOOL CloseHandle(HANDLE handle)
{
    const std::intptr_t currentProcess = -1, currentThread = -2;
    const std::intptr_t value = reinterpret_cast<std::intptr_t>(handle);
    if (value == currentProcess || value == currentThread)
        return TRUE;
    return handles().remove(handle) ? TRUE : fail(ERROR_INVALID_HANDLE, FALSE);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    // The slot held keeps the object through the wait.
    const HeldObject object(handle, SYNCHRONIZE);
    if (!object)
        return WAIT_FAILED;
    switch (object->wait(Deadline::after(milliseconds))) {
    case WaitOutcome::Acquired:
        return WAIT_OBJECT_0;
    case WaitOutcome::Abandoned:
        return WAIT_ABANDONED;
    case WaitOutcome::TimedOut:
        return WAIT_TIMEOUT;
    case WaitOutcome::Failed:
        break;
    }
    return WAIT_FAILED;
}
