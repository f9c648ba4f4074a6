// The handle table, CloseHandle and WaitForSingleObject: one machinery for
// every kind of kernel object.
#include "Handle.h"
#include "PosixSupport.h"

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
    deadline.m_when = now();
    deadline.m_when.tv_sec += milliseconds / 1000;
    deadline.m_when.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
    if (deadline.m_when.tv_nsec >= 1000000000L) {
        deadline.m_when.tv_nsec -= 1000000000L;
        ++deadline.m_when.tv_sec;
    }
    return deadline;
}

bool Deadline::passed() const { return !m_unlimited && !before(now(), m_when); }

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

void Monitor::initialise(bool shared)
{
    const int sharing = shared ? PTHREAD_PROCESS_SHARED : PTHREAD_PROCESS_PRIVATE;
    pthread_mutexattr_t lockAttributes;
    abortOnError(pthread_mutexattr_init(&lockAttributes), "pthread_mutexattr_init");
    abortOnError(pthread_mutexattr_setpshared(&lockAttributes, sharing), "pthread_mutexattr_setpshared");
    if (shared)
        abortOnError(pthread_mutexattr_setrobust(&lockAttributes, PTHREAD_MUTEX_ROBUST),
                     "pthread_mutexattr_setrobust");
    abortOnError(pthread_mutex_init(&lock, &lockAttributes), "pthread_mutex_init");
    pthread_mutexattr_destroy(&lockAttributes);

    pthread_condattr_t conditionAttributes;
    abortOnError(pthread_condattr_init(&conditionAttributes), "pthread_condattr_init");
    abortOnError(pthread_condattr_setpshared(&conditionAttributes, sharing), "pthread_condattr_setpshared");
    abortOnError(pthread_condattr_setclock(&conditionAttributes, CLOCK_MONOTONIC),
                 "pthread_condattr_setclock");
    abortOnError(pthread_cond_init(&changed, &conditionAttributes), "pthread_cond_init");
    pthread_condattr_destroy(&conditionAttributes);
}

void Monitor::destroy()
{
    pthread_cond_destroy(&changed);
    pthread_mutex_destroy(&lock);
}

namespace {

// A lock whose last holder died is taken over as it stands.
void recover(int result, pthread_mutex_t& lock, const char* call)
{
    if (result == EOWNERDEAD)
        result = pthread_mutex_consistent(&lock);
    abortOnError(result, call);
}

} // namespace

MonitorLock::MonitorLock(Monitor& monitor) : m_monitor(monitor)
{
    recover(pthread_mutex_lock(&m_monitor.lock), m_monitor.lock, "pthread_mutex_lock");
}

MonitorLock::~MonitorLock()
{
    abortOnError(pthread_mutex_unlock(&m_monitor.lock), "pthread_mutex_unlock");
}

void MonitorLock::notifyAll()
{
    abortOnError(pthread_cond_broadcast(&m_monitor.changed), "pthread_cond_broadcast");
}

bool MonitorLock::waitForChange(const Deadline& deadline)
{
    if (deadline.unlimited()) {
        recover(pthread_cond_wait(&m_monitor.changed, &m_monitor.lock), m_monitor.lock,
                "pthread_cond_wait");
        return true;
    }
    if (deadline.passed())
        return false;
    const int result = pthread_cond_timedwait(&m_monitor.changed, &m_monitor.lock, &deadline.when());
    if (result == ETIMEDOUT)
        return false;
    recover(result, m_monitor.lock, "pthread_cond_timedwait");
    return true;
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
