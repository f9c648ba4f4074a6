// Kernel objects behind HANDLEs: the one table of handles, and the one way
// of waiting that every kind of object shares. Only the layer sees this.
#ifndef CORVO_POSIX_HANDLE_H
#define CORVO_POSIX_HANDLE_H

#include "Win32Handle.h"

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>

namespace Vesk {
namespace Corvo {
namespace Posix {

// A point on the monotonic clock by which a wait ends, or none at all.
class Deadline
{
public:
    // INFINITE gives no deadline; 0 one that has passed already (a poll).
    // Neither reads the clock.
    static Deadline after(DWORD milliseconds);

    bool unlimited() const { return m_unlimited; }
    const timespec& when() const { return m_when; }
    bool passed() const;
    // The same point on the realtime clock, as it reads now.
    timespec onRealtimeClock() const;

private:
    bool m_unlimited = true;
    bool m_poll = false;
    timespec m_when{};
};

// ThreadSanitizer doesn't see pthread's calls that take a clock, so in that
// build timed locks and joins go through the realtime forms, which it does.
#if defined(__SANITIZE_THREAD__)
#  define CORVO_TIMED_ON_REALTIME 1
#else
#  define CORVO_TIMED_ON_REALTIME 0
#endif

enum class WaitOutcome
{
    Acquired,
    Abandoned, // acquired, from an owner that ended without giving it back
    TimedOut,
    Failed // the last error says why
};

class KernelObject
{
public:
    enum class Kind
    {
        Mutex,
        Semaphore,
        Event,
        Thread,
        File
    };

    explicit KernelObject(Kind kind) : m_kind(kind) {}
    virtual ~KernelObject() = default;
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;

    Kind kind() const { return m_kind; }

    // Takes the object for the calling thread once it is signalled, or gives
    // up at the deadline. Objects that cannot be waited on keep this one.
    virtual WaitOutcome wait(const Deadline& deadline);

private:
    const Kind m_kind;
};

// Enters an object in the handle table with the given access rights; a null
// object gives a null handle and leaves the last error as it is.
HANDLE makeHandle(std::shared_ptr<KernelObject> object, DWORD access);

// The object behind a handle, for the holder's scope: the handle's slot in
// the table stays as it is until then, even if the handle is closed
// meanwhile, so the object lives on without a count of its own. Empty, with
// the last error set to ERROR_INVALID_HANDLE or ERROR_ACCESS_DENIED, unless
// the handle is open, of the kind asked for (any, without one) and has
// every one of the rights asked for.
class HeldObject
{
public:
    HeldObject(HANDLE handle, DWORD access) { hold(handle, nullptr, access); }
    HeldObject(HANDLE handle, KernelObject::Kind kind, DWORD access) { hold(handle, &kind, access); }
    ~HeldObject();
    HeldObject(const HeldObject&) = delete;
    HeldObject& operator=(const HeldObject&) = delete;

    explicit operator bool() const { return m_object != nullptr; }
    KernelObject& operator*() const { return *m_object; }
    KernelObject* operator->() const { return m_object; }
    // Shares the object, for a caller that keeps it past the holder.
    std::shared_ptr<KernelObject> share() const;

private:
    void hold(HANDLE handle, const KernelObject::Kind* kind, DWORD access);

    void* m_slot = nullptr;
    void* m_hazard = nullptr;
    KernelObject* m_object = nullptr;
};

template <typename Object>
class Held : public HeldObject
{
public:
    Held(HANDLE handle, DWORD access) : HeldObject(handle, Object::objectKind, access) {}

    Object& operator*() const { return static_cast<Object&>(HeldObject::operator*()); }
    Object* operator->() const { return &**this; }
};

// The same check, giving the object itself, which stays alive while the
// caller holds it even if the handle is closed.
template <typename Object>
std::shared_ptr<Object> lookUp(HANDLE handle, DWORD access)
{
    const Held<Object> held(handle, access);
    return held ? std::static_pointer_cast<Object>(held.share()) : nullptr;
}

// Waits are built on futex words, which a process can be killed in the
// middle of using without leaving them broken: a sleeper is only a place in
// the kernel's queue, and a dead one is simply gone from it.
static_assert(sizeof(std::atomic<std::uint32_t>) == 4 && std::atomic<std::uint32_t>::is_always_lock_free,
              "a futex is a plain 32-bit word");

// Sleeps while word holds expected, until a wake, the deadline or a signal;
// false only once the deadline has passed. A word in memory shared with
// other processes is slept on for a slice at most: a process killed between
// its change of the state and its wake can't leave a sleeper behind for
// longer than that.
bool sleepWhile(std::atomic<std::uint32_t>& word, std::uint32_t expected, const Deadline& deadline,
                bool shared);
// Wakes every sleeper on word, or one.
void wakeAll(std::atomic<std::uint32_t>& word, bool shared);
void wakeOne(std::atomic<std::uint32_t>& word, bool shared);

// A lock and a sequence number that counts the changes of the state it
// guards, in the object or, for a named one, in memory shared between
// processes. The lock is robust: a process that dies holding it leaves it
// usable, since it is only ever held for a few instructions that keep the
// guarded state whole; the next holder then wakes every sleeper, in case
// the dead one changed the state without doing so.
struct Monitor
{
    pthread_mutex_t lock;
    std::atomic<std::uint32_t> sequence; // the futex word sleepers wait on
    std::uint32_t sleepers; // under the lock; a killed sleeper stays counted, which costs wakes only
    bool shared;

    void initialise(bool sharedWithProcesses);
    void destroy();
};

// Holds a monitor's lock for a scope.
class MonitorLock
{
public:
    explicit MonitorLock(Monitor& monitor);
    ~MonitorLock();
    MonitorLock(const MonitorLock&) = delete;
    MonitorLock& operator=(const MonitorLock&) = delete;

    // Waits until `take` succeeds (it tests the state and, if it can, takes
    // what the caller waits for) or the deadline passes. Wake-ups that find
    // nothing to take, spurious ones included, wait again.
    template <typename Take>
    WaitOutcome waitFor(const Deadline& deadline, Take take)
    {
        while (!take())
            if (!waitForChange(deadline))
                return take() ? WaitOutcome::Acquired : WaitOutcome::TimedOut;
        return WaitOutcome::Acquired;
    }

    // Wakes every waiter: each re-checks the state.
    void notifyAll();

private:
    bool waitForChange(const Deadline& deadline);

    Monitor& m_monitor;
};

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
