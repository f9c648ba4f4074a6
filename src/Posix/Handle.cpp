// The handle table, CloseHandle and WaitForSingleObject: one machinery for
// every kind of kernel object.
#include "Handle.h"
#include "Barrier.h"
#include "PosixSupport.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <mutex>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

// Handles are small multiples of 4, as on Windows, so that 0 and
// INVALID_HANDLE_VALUE are never valid and a stale value is recognised
// rather than followed. A freed slot is used again, as Windows does.
//
// Looking a handle up takes no lock and no atomic read-modify-write. Each
// slot has a word that says whether it is open, and whether it is being
// emptied; the slot's object and rights stay as they are until it is. A
// call names the slot in a hazard of its own thread, then checks that the
// slot is open; CloseHandle marks it closed, then looks through every
// thread's hazards. The barrier pair between the two steps on each side
// makes sure that either the call sees the slot closed or the closer sees
// the hazard. Whoever is the last to be done with a closed slot, the closer
// or the last call out, empties it, so the object goes as soon as no call
// uses it. A thread whose hazards are all in use (calls nested four deep)
// or that is ending counts itself in the word instead.
//
// The slots are in blocks of a fixed size that are made as needed and
// never moved or freed, so a slot's place never changes. There are at most
// 2^24 handles, as on Windows.
class HandleTable
{
public:
    // A line each, so that threads using different handles don't share one.
    struct alignas(64) Slot
    {
        std::atomic<std::uint32_t> state{0};
        DWORD access = 0;
        std::uint32_t index = 0; // its own
        std::uint32_t nextFree = 0; // while free, under the table's lock: the next one's index + 1
        std::shared_ptr<KernelObject> object;
    };

    // The slots that one thread is using. Records are never freed: a thread
    // that ends leaves its own to the next thread that needs one.
    struct alignas(64) HazardRecord
    {
        static constexpr int size = 4;
        std::atomic<Slot*> slots[size] = {};
        std::atomic<bool> taken{true};
        HazardRecord* next = nullptr;
    };

    constexpr HandleTable() = default;

    HANDLE insert(std::shared_ptr<KernelObject> object, DWORD access)
    {
        std::lock_guard<std::mutex> hold(m_lock);
        Slot* slot;
        if (m_firstFree != 0) {
            slot = slotAt(m_firstFree - 1);
            m_firstFree = slot->nextFree;
        } else {
            if (m_used == blockSize * blockCount)
                return fail(ERROR_NO_SYSTEM_RESOURCES, nullptr);
            const std::uint32_t index = m_used++;
            std::atomic<Slot*>& block = m_blocks[index / blockSize];
            if (!block.load(std::memory_order_relaxed))
                block.store(new Slot[blockSize], std::memory_order_release);
            slot = slotAt(index);
            slot->index = index;
        }
        slot->object = std::move(object);
        slot->access = access;
        slot->state.store(open, std::memory_order_release);
        return reinterpret_cast<HANDLE>((std::uintptr_t{slot->index} + 1) * 4);
    }

    // A slot whose object and rights stay as they are until leave, and the
    // hazard that holds it (null when the use is counted in the slot); null
    // for a handle that is not open.
    Slot* enter(HANDLE handle, std::atomic<Slot*>*& hazard)
    {
        Slot* slot = slotOf(handle);
        if (!slot)
            return nullptr;
        hazard = freeHazard();
        if (!hazard)
            return enterCounted(*slot) ? slot : nullptr;
        hazard->store(slot, std::memory_order_relaxed);
        lightBarrier();
        if (slot->state.load(std::memory_order_acquire) & open)
            return slot;
        leaveHazard(*slot, *hazard);
        return nullptr;
    }

    void leave(Slot& slot, std::atomic<Slot*>* hazard)
    {
        if (hazard)
            leaveHazard(slot, *hazard);
        else if (slot.state.fetch_sub(user, std::memory_order_acq_rel) == user)
            emptyUnlessHeld(slot);
    }

    bool remove(HANDLE handle)
    {
        Slot* slot = slotOf(handle);
        if (!slot)
            return false;
        std::uint32_t state = slot->state.load(std::memory_order_relaxed);
        do
            if ((state & open) == 0)
                return false;
        while (!slot->state.compare_exchange_weak(state, state & ~open, std::memory_order_acq_rel,
                                                  std::memory_order_relaxed));
        if (state == open)
            emptyUnlessHeld(*slot);
        return true;
    }

private:
    static constexpr std::uint32_t open = 1;
    static constexpr std::uint32_t emptying = 2;
    static constexpr std::uint32_t user = 4;
    static constexpr std::uint32_t blockSize = 1024;
    static constexpr std::uint32_t blockCount = 16384;

    Slot* slotAt(std::uint32_t index) const
    {
        Slot* block = m_blocks[index / blockSize].load(std::memory_order_acquire);
        return block ? block + index % blockSize : nullptr;
    }

    Slot* slotOf(HANDLE handle) const
    {
        const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(handle);
        if (value == 0 || value % 4 != 0 || value / 4 > blockSize * blockCount)
            return nullptr;
        return slotAt(static_cast<std::uint32_t>(value / 4 - 1));
    }

    __attribute__((noinline)) bool enterCounted(Slot& slot)
    {
        std::uint32_t state = slot.state.load(std::memory_order_relaxed);
        do
            if ((state & open) == 0)
                return false;
        while (!slot.state.compare_exchange_weak(state, state + user, std::memory_order_acquire,
                                                 std::memory_order_relaxed));
        return true;
    }

    void leaveHazard(Slot& slot, std::atomic<Slot*>& hazard)
    {
        hazard.store(nullptr, std::memory_order_release);
        lightBarrier();
        if (slot.state.load(std::memory_order_relaxed) == 0)
            emptyUnlessHeld(slot);
    }

    // For a slot that is closed and that no call counts itself in: empties
    // it unless a hazard still holds it, whose thread then comes here in
    // turn as it lets go.
    __attribute__((noinline)) void emptyUnlessHeld(Slot& slot)
    {
        heavyBarrier();
        for (HazardRecord* record = m_records.load(std::memory_order_acquire); record; record = record->next)
            for (const std::atomic<Slot*>& hazard : record->slots)
                if (hazard.load(std::memory_order_acquire) == &slot)
                    return;
        std::uint32_t closed = 0;
        if (!slot.state.compare_exchange_strong(closed, emptying, std::memory_order_acquire,
                                                std::memory_order_relaxed))
            return; // emptied by another, or even used again
        const std::shared_ptr<KernelObject> object = std::move(slot.object); // may go, outside the lock
        std::lock_guard<std::mutex> hold(m_lock);
        slot.nextFree = m_firstFree;
        m_firstFree = slot.index + 1;
    }

    std::atomic<Slot*>* freeHazard();
    __attribute__((noinline)) HazardRecord* takeRecord();

    std::mutex m_lock; // guards the making of blocks, m_used and the free list
    std::atomic<Slot*> m_blocks[blockCount] = {};
    std::uint32_t m_used = 0;
    std::uint32_t m_firstFree = 0; // the first free slot's index + 1, or 0 for none
    std::atomic<HazardRecord*> m_records{nullptr};
};

// The calling thread's record, taken at its first call and given back as
// it ends; a thread that has given its record back counts its uses.
struct ThreadHazards
{
    ~ThreadHazards();
};

thread_local HandleTable::HazardRecord* threadRecord __attribute__((tls_model("initial-exec"))) = nullptr;
thread_local bool threadEnded __attribute__((tls_model("initial-exec"))) = false;
thread_local ThreadHazards threadHazards;

// Made before any code runs, and with nothing to destroy: threads may close
// handles while the process exits.
HandleTable handles;

ThreadHazards::~ThreadHazards()
{
    if (threadRecord)
        threadRecord->taken.store(false, std::memory_order_release);
    threadRecord = nullptr;
    threadEnded = true;
}

HandleTable::HazardRecord* HandleTable::takeRecord()
{
    if (threadEnded)
        return nullptr;
    static_cast<void>(&threadHazards); // gives the record back when the thread ends
    HazardRecord* record;
    for (record = m_records.load(std::memory_order_acquire); record; record = record->next) {
        bool taken = false;
        if (record->taken.compare_exchange_strong(taken, true, std::memory_order_acquire))
            break;
    }
    if (!record) {
        record = new HazardRecord;
        record->next = m_records.load(std::memory_order_relaxed);
        while (!m_records.compare_exchange_weak(record->next, record, std::memory_order_release,
                                                std::memory_order_relaxed)) {
        }
    }
    threadRecord = record;
    return record;
}

std::atomic<HandleTable::Slot*>* HandleTable::freeHazard()
{
    HazardRecord* record = threadRecord;
    if (!record && !(record = takeRecord()))
        return nullptr;
    for (std::atomic<Slot*>& hazard : record->slots)
        if (!hazard.load(std::memory_order_relaxed))
            return &hazard;
    return nullptr;
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
    return object ? handles.insert(std::move(object), access) : nullptr;
}

void HeldObject::hold(HANDLE handle, const KernelObject::Kind* kind, DWORD access)
{
    std::atomic<HandleTable::Slot*>* hazard = nullptr;
    HandleTable::Slot* slot = handles.enter(handle, hazard);
    if (!slot) {
        fail(ERROR_INVALID_HANDLE, false);
        return;
    }
    m_slot = slot;
    m_hazard = hazard;
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
        handles.leave(*static_cast<HandleTable::Slot*>(m_slot),
                        static_cast<std::atomic<HandleTable::Slot*>*>(m_hazard));
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

namespace {

// The current process's handle (INVALID_HANDLE_VALUE) and the current
// thread's, which need no closing; each is signalled only once it has ended.
bool isPseudoHandle(HANDLE handle)
{
    const std::intptr_t currentProcess = -1, currentThread = -2;
    const std::intptr_t value = reinterpret_cast<std::intptr_t>(handle);
    return value == currentProcess || value == currentThread;
}

} // namespace

BOOL CloseHandle(HANDLE handle)
{
    if (isPseudoHandle(handle))
        return TRUE;
    return handles.remove(handle) ? TRUE : fail(ERROR_INVALID_HANDLE, FALSE);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    if (isPseudoHandle(handle)) {
        // Waiting for its own end, the caller can only time out, or never
        // return if it gave no limit.
        const Deadline deadline = Deadline::after(milliseconds);
        std::atomic<std::uint32_t> never{0};
        while (sleepWhile(never, 0, deadline, false)) {
        }
        return WAIT_TIMEOUT;
    }
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
