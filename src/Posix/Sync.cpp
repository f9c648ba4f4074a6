// Mutexes, semaphores and events. Their state lives in the object, or for a
// named mutex or semaphore in memory shared by the processes that use the
// name; either way the handle table and the one wait serve them.
#include "Barrier.h"
#include "Handle.h"
#include "NamedObject.h"
#include "PosixSupport.h"
#include "Win32Sync.h"
#include "Win32Thread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <new>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

// An object's state: its own, or the one of a named block.
template <typename State>
class Placement
{
public:
    explicit Placement(std::unique_ptr<State> own) : m_own(std::move(own)), m_state(m_own.get()) {}
    explicit Placement(std::unique_ptr<NamedBlock> block)
        : m_block(std::move(block)), m_state(static_cast<State*>(m_block->data()))
    {
    }
    ~Placement()
    {
        if (m_own)
            m_own->destroy();
    }

    // Leaves the state where it is for good: the memory stays valid after
    // the object has gone.
    void keep()
    {
        if (m_own)
            m_own.release();
        else
            m_block->keepMapping();
    }
    Placement(const Placement&) = delete;
    Placement& operator=(const Placement&) = delete;

    State& operator*() const { return *m_state; }
    State* operator->() const { return m_state; }

private:
    std::unique_ptr<State> m_own;
    std::unique_ptr<NamedBlock> m_block;
    State* m_state;
};

// A robust, recursive lock: its ownership is the mutex's ownership, and the
// kernel marks it when the owning thread ends, which is what abandonment is.
struct MutexState
{
    pthread_mutex_t mutex;

    // glibc's record of the owning thread: its number, and flag bits above.
    pid_t owner() const { return static_cast<pid_t>(mutex.__data.__owner & 0x3FFFFFFF); }
    bool ownedByCaller() const { return static_cast<DWORD>(owner()) == GetCurrentThreadId(); }
    // A dead owner's number stays until the next wait takes the mutex over.
    bool ownedInThisProcess() const
    {
        return owner() != 0 && syscall(SYS_tgkill, getpid(), owner(), 0) == 0;
    }

    void initialise(bool shared)
    {
        pthread_mutexattr_t attributes;
        abortOnError(pthread_mutexattr_init(&attributes), "pthread_mutexattr_init");
        abortOnError(pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE),
                     "pthread_mutexattr_settype");
        abortOnError(pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST),
                     "pthread_mutexattr_setrobust");
        abortOnError(pthread_mutexattr_setpshared(&attributes, shared ? PTHREAD_PROCESS_SHARED
                                                                      : PTHREAD_PROCESS_PRIVATE),
                     "pthread_mutexattr_setpshared");
        abortOnError(pthread_mutex_init(&mutex, &attributes), "pthread_mutex_init");
        pthread_mutexattr_destroy(&attributes);
    }
    void destroy() { pthread_mutex_destroy(&mutex); }
};

// An object whose state is its own or, for a name, that of a named block.
template <typename StateType, KernelObject::Kind kindOfObject, NamedBlock::Kind kindOfBlock>
class NameableObject : public KernelObject
{
public:
    static constexpr Kind objectKind = kindOfObject;
    static constexpr NamedBlock::Kind blockKind = kindOfBlock;
    typedef StateType State;

    template <typename Where>
    explicit NameableObject(Where where) : KernelObject(objectKind), m_state(std::move(where))
    {
    }

protected:
    Placement<State> m_state;
};

class MutexObject
    : public NameableObject<MutexState, KernelObject::Kind::Mutex, NamedBlock::Kind::Mutex>
{
public:
    using NameableObject::NameableObject;

    // An owner keeps its robust lock in a list of the thread's, which the C
    // library and the kernel follow when the thread locks, unlocks or ends:
    // the memory of a mutex that is closed while owned must stay valid.
    ~MutexObject() override
    {
        if (m_state->ownedInThisProcess())
            m_state.keep();
    }

    WaitOutcome wait(const Deadline& deadline) override
    {
        pthread_mutex_t& mutex = m_state->mutex;
        int result;
        if (deadline.unlimited())
            result = pthread_mutex_lock(&mutex);
        else if (deadline.passed())
            result = pthread_mutex_trylock(&mutex);
        else if (CORVO_TIMED_ON_REALTIME) {
            const timespec realtime = deadline.onRealtimeClock();
            result = pthread_mutex_timedlock(&mutex, &realtime);
        } else
            result = pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &deadline.when());
        switch (result) {
        case 0:
            return WaitOutcome::Acquired;
        case EOWNERDEAD:
            abortOnError(pthread_mutex_consistent(&mutex), "pthread_mutex_consistent");
            return WaitOutcome::Abandoned;
        case EBUSY:
        case ETIMEDOUT:
            return WaitOutcome::TimedOut;
        default:
            errno = result;
            return failFromErrno(WaitOutcome::Failed);
        }
    }

    BOOL release()
    {
        if (!m_state->ownedByCaller())
            return fail(ERROR_NOT_OWNER, FALSE);
        abortOnError(pthread_mutex_unlock(&m_state->mutex), "pthread_mutex_unlock");
        return TRUE;
    }
};

struct SemaphoreState
{
    Monitor monitor;
    LONG count;
    LONG maximum;

    void destroy() { monitor.destroy(); }
};

class SemaphoreObject
    : public NameableObject<SemaphoreState, KernelObject::Kind::Semaphore, NamedBlock::Kind::Semaphore>
{
public:
    using NameableObject::NameableObject;

    WaitOutcome wait(const Deadline& deadline) override
    {
        MonitorLock hold(m_state->monitor);
        return hold.waitFor(deadline, [this] { return m_state->count > 0 && (--m_state->count, true); });
    }

    BOOL release(LONG count, LONG* previous)
    {
        if (count < 1)
            return fail(ERROR_INVALID_PARAMETER, FALSE);
        MonitorLock hold(m_state->monitor);
        if (count > m_state->maximum - m_state->count)
            return fail(ERROR_TOO_MANY_POSTS, FALSE);
        if (previous)
            *previous = m_state->count;
        m_state->count += count;
        hold.notifyAll();
        return TRUE;
    }
};

// The state is a futex word of its own, so that resetting an event, setting
// one that is set or that nobody waits on, and waiting on a set one take no
// lock and no system call. A waiter counts itself before it looks at the
// state, and a setter stores the state before it looks for waiters, so one
// of them sees the other; it sleeps only while the word still reads unset.
// Until a waiter has first had to sleep, the setter's store and look are
// ordered by the barrier pair, for which that waiter pays; from then on the
// setter exchanges the word, as an event that threads wait on is set often
// and the barrier would cost every sleeper. A waiter may skip the barrier
// only once one has been passed since the last setter that could still use
// the pair looked, which is what the third mode says.
class EventObject : public KernelObject
{
public:
    static constexpr Kind objectKind = Kind::Event;

    EventObject(bool manualReset, bool signalled)
        : KernelObject(objectKind), m_manualReset(manualReset), m_signalled(signalled ? 1 : 0)
    {
    }

    WaitOutcome wait(const Deadline& deadline) override
    {
        if (take())
            return WaitOutcome::Acquired;
        m_waiters.fetch_add(1);
        if (m_mode.load() != exchanging) {
            m_mode.store(changing);
            heavyBarrier();
            m_mode.store(exchanging);
        }
        WaitOutcome outcome = WaitOutcome::Acquired;
        while (!take())
            if (!sleepWhile(m_signalled, 0, deadline, false)) {
                outcome = take() ? WaitOutcome::Acquired : WaitOutcome::TimedOut;
                break;
            }
        m_waiters.fetch_sub(1);
        return outcome;
    }

    void set(bool signalled)
    {
        if (!signalled) {
            m_signalled.store(0, std::memory_order_release);
            return;
        }
        if (m_signalled.load() != 0)
            return;
        if (m_mode.load() != paired) {
            if (m_signalled.exchange(1) != 0)
                return;
        } else {
            m_signalled.store(1, std::memory_order_release);
            lightBarrier();
        }
        if (m_waiters.load() > 0)
            wakeAll(m_signalled, false);
    }

private:
    bool take()
    {
        std::uint32_t expected = 1;
        return m_signalled.load() != 0 && (m_manualReset || m_signalled.compare_exchange_strong(expected, 0));
    }

    const bool m_manualReset;
    std::atomic<std::uint32_t> m_signalled;
    std::atomic<unsigned> m_waiters{0};
    // How a setter orders its store and its look: by the barrier pair until
    // a waiter first has to sleep, then by an exchange. Waiters skip their
    // own barrier only once the first one's has ended.
    enum Mode : unsigned { paired, changing, exchanging };
    std::atomic<Mode> m_mode{paired};
};

// The handle of a new object, or, for a name, of the object that the name
// has in any process, made when create is set and there is none.
template <typename Object, typename Initialise>
HANDLE openObject(LPCWSTR name, bool create, DWORD access, Initialise initialise)
{
    typedef typename Object::State State;
    if (create && (!name || !*name)) {
        std::unique_ptr<State> state(new State);
        initialise(*state, false);
        return makeHandle(std::make_shared<Object>(std::move(state)), access);
    }
    if (!name || !*name)
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    bool existed = false;
    std::unique_ptr<NamedBlock> block = NamedBlock::open(
        name, Object::blockKind, sizeof(State), create,
        [&](void* data) { initialise(*new (data) State, true); }, existed);
    if (!block)
        return nullptr;
    HANDLE handle = makeHandle(std::make_shared<Object>(std::move(block)), access);
    if (create)
        SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

} // namespace

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

using namespace Vesk::Corvo::Posix;

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name)
{
    if (attributes || initialOwner)
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    return openObject<MutexObject>(name, true, MUTEX_ALL_ACCESS,
                                   [](MutexState& state, bool shared) { state.initialise(shared); });
}

HANDLE OpenMutexW(DWORD desiredAccess, BOOL, LPCWSTR name)
{
    return openObject<MutexObject>(name, false, desiredAccess, [](MutexState&, bool) {});
}

BOOL ReleaseMutex(HANDLE mutex)
{
    // Ownership is the thread's, not the handle's: no right is asked for.
    const Held<MutexObject> object(mutex, 0);
    return object && object->release();
}

HANDLE CreateSemaphoreW(LPSECURITY_ATTRIBUTES attributes, LONG initialCount, LONG maximumCount,
                        LPCWSTR name)
{
    if (attributes || initialCount < 0 || maximumCount < 1 || initialCount > maximumCount)
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    return openObject<SemaphoreObject>(name, true, SEMAPHORE_ALL_ACCESS,
                                       [=](SemaphoreState& state, bool shared) {
                                           state.monitor.initialise(shared);
                                           state.count = initialCount;
                                           state.maximum = maximumCount;
                                       });
}

HANDLE OpenSemaphoreW(DWORD desiredAccess, BOOL, LPCWSTR name)
{
    return openObject<SemaphoreObject>(name, false, desiredAccess, [](SemaphoreState&, bool) {});
}

BOOL ReleaseSemaphore(HANDLE semaphore, LONG releaseCount, LONG* previousCount)
{
    const Held<SemaphoreObject> object(semaphore, SEMAPHORE_MODIFY_STATE);
    return object && object->release(releaseCount, previousCount);
}

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                    LPCWSTR name)
{
    if (attributes || name)
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    return makeHandle(std::make_shared<EventObject>(manualReset != FALSE, initialState != FALSE),
                      EVENT_ALL_ACCESS);
}

namespace {

BOOL setEvent(HANDLE event, bool signalled)
{
    const Held<EventObject> object(event, EVENT_MODIFY_STATE);
    if (object)
        object->set(signalled);
    return object ? TRUE : FALSE;
}

} // namespace

BOOL SetEvent(HANDLE event) { return setEvent(event, true); }

BOOL ResetEvent(HANDLE event) { return setEvent(event, false); }
