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
#include <shared_mutex>
#include <vector>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

// Handles are small multiples of 4, as on Windows, so that 0 and
// INVALID_HANDLE_VALUE are never valid and a stale value is recognised
// rather than followed. A freed slot is used again, as Windows does.
class HandleTable
{
public:
    HANDLE insert(std::shared_ptr<KernelObject> object, DWORD access)
    {
        std::lock_guard<std::shared_mutex> hold(m_lock);
        std::size_t index;
        if (m_free.empty()) {
            index = m_slots.size();
            m_slots.emplace_back();
        } else {
            index = m_free.back();
            m_free.pop_back();
        }
        m_slots[index] = Slot{std::move(object), access};
        return reinterpret_cast<HANDLE>((index + 1) * 4);
    }

    // Runs use on the slot's object and rights while the handle can't be
    // closed; false for a handle that is not open.
    template <typename Use>
    bool find(HANDLE handle, Use use)
    {
        std::shared_lock<std::shared_mutex> hold(m_lock);
        const Slot* slot = slotOf(handle);
        if (!slot)
            return false;
        use(slot->object, slot->access);
        return true;
    }

    // The object leaves the table; it is destroyed when no wait holds it.
    std::shared_ptr<KernelObject> remove(HANDLE handle)
    {
        std::lock_guard<std::shared_mutex> hold(m_lock);
        Slot* slot = slotOf(handle);
        if (!slot)
            return nullptr;
        std::shared_ptr<KernelObject> object = std::move(slot->object);
        m_free.push_back(static_cast<std::size_t>(slot - m_slots.data()));
        return object;
    }

private:
    struct Slot
    {
        std::shared_ptr<KernelObject> object;
        DWORD access = 0;
    };

    Slot* slotOf(HANDLE handle)
    {
        const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(handle);
        if (value == 0 || value % 4 != 0 || value / 4 > m_slots.size())
            return nullptr;
        Slot& slot = m_slots[value / 4 - 1];
        return slot.object ? &slot : nullptr;
    }

    std::shared_mutex m_lock;
    std::vector<Slot> m_slots;
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

bool withObject(HANDLE handle, KernelObject::Kind kind, DWORD access,
                const std::function<void(const std::shared_ptr<KernelObject>&)>& use)
{
    DWORD error = ERROR_INVALID_HANDLE;
    handles().find(handle, [&](const std::shared_ptr<KernelObject>& object, DWORD granted) {
        if (object->kind() != kind)
            return;
        error = (granted & access) == access ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
        if (error == ERROR_SUCCESS)
            use(object);
    });
    return error == ERROR_SUCCESS || fail(error, false);
}

std::shared_ptr<KernelObject> lookUp(HANDLE handle, KernelObject::Kind kind, DWORD access)
{
    std::shared_ptr<KernelObject> found;
    withObject(handle, kind, access, [&](const std::shared_ptr<KernelObject>& object) { found = object; });
    return found;
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
    // The object may go now, so it goes outside the table's lock.
    return handles().remove(handle) ? TRUE : fail(ERROR_INVALID_HANDLE, FALSE);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    std::shared_ptr<KernelObject> object;
    DWORD access = 0;
    if (!handles().find(handle, [&](const std::shared_ptr<KernelObject>& found, DWORD granted) {
            object = found;
            access = granted;
        }))
        return fail(ERROR_INVALID_HANDLE, WAIT_FAILED);
    if ((access & SYNCHRONIZE) == 0)
        return fail(ERROR_ACCESS_DENIED, WAIT_FAILED);
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
