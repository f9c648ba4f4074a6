// Threads on pthreads (Linux): a handle that is signalled when the thread
// ends, a suspension count, the thread's number, and Sleep.
//
// POSIX has no way to stop another thread, so SuspendThread sends the thread
// a signal whose handler reports that it has stopped and then waits in
// sigsuspend until ResumeThread has brought the count back to 0 and sent the
// second signal. The stop is synchronous: when SuspendThread returns, the
// thread runs no code of its own until it is resumed. The handler restarts
// the calls that can be restarted (read, write, connect, accept and the
// like); the kernel never restarts poll, select, epoll_wait or the sleeps,
// which return EINTR once the thread is resumed.
#include "Handle.h"
#include "PosixSupport.h"
#include "Win32Thread.h"

#include <semaphore.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

int suspendSignal() { return SIGRTMIN + 6; }
int resumeSignal() { return SIGRTMIN + 7; }

const DWORD maximumSuspendCount = 127;

class ThreadObject : public KernelObject
{
public:
    static constexpr Kind objectKind = Kind::Thread;

    ThreadObject(LPTHREAD_START_ROUTINE start, LPVOID parameter)
        : KernelObject(objectKind), m_start(start), m_parameter(parameter)
    {
        m_monitor.initialise(false);
        abortOnError(sem_init(&m_stopped, 0, 0) == 0 ? 0 : errno, "sem_init");
    }

    // The last reference may be the thread's own, as it ends.
    ~ThreadObject() override
    {
        if (!m_ended)
            pthread_detach(m_thread);
        sem_destroy(&m_stopped);
        m_monitor.destroy();
    }

    // Starts the thread, which keeps its object alive until it ends.
    bool start(const std::shared_ptr<ThreadObject>& self)
    {
        auto* keep = new std::shared_ptr<ThreadObject>(self);
        if (pthread_create(&m_thread, nullptr, &ThreadObject::run, keep) == 0)
            return true;
        delete keep;
        m_ended = true; // nothing to join
        return fail(ERROR_NOT_ENOUGH_MEMORY, false);
    }

    // The thread has ended when it can be joined: only then has the C
    // library given up the robust mutexes that it held, as abandoned. One
    // waiter at a time joins; the others wait for its word.
    WaitOutcome wait(const Deadline& deadline) override
    {
        bool joins = false;
        {
            MonitorLock hold(m_monitor);
            const WaitOutcome outcome = hold.waitFor(deadline, [&] {
                joins = !m_ended && !m_joining;
                m_joining = m_joining || joins;
                return m_ended || joins;
            });
            if (!joins)
                return outcome;
        }
        int result;
        if (deadline.unlimited())
            result = pthread_join(m_thread, nullptr);
        else if (deadline.passed())
            result = pthread_tryjoin_np(m_thread, nullptr);
        else if (CORVO_TIMED_ON_REALTIME) {
            const timespec realtime = deadline.onRealtimeClock();
            result = pthread_timedjoin_np(m_thread, nullptr, &realtime);
        } else
            result = pthread_clockjoin_np(m_thread, nullptr, CLOCK_MONOTONIC, &deadline.when());
        MonitorLock hold(m_monitor);
        m_joining = false;
        m_ended = result == 0;
        hold.notifyAll();
        return m_ended ? WaitOutcome::Acquired : WaitOutcome::TimedOut;
    }

    DWORD suspend()
    {
        std::unique_lock<std::mutex> hold(m_suspension);
        if (m_ending)
            return fail(ERROR_ACCESS_DENIED, static_cast<DWORD>(-1));
        const DWORD previous = m_count.load();
        if (previous == maximumSuspendCount)
            return fail(ERROR_INVALID_PARAMETER, static_cast<DWORD>(-1));
        m_count.store(previous + 1);
        if (previous != 0)
            return previous;
        installHandlers();
        sigval value;
        value.sival_ptr = this;
        abortOnError(pthread_sigqueue(m_thread, suspendSignal(), value), "pthread_sigqueue");
        // The thread may be the caller: it stops at once, and must not stop
        // holding the lock that ResumeThread needs.
        hold.unlock();
        while (sem_wait(&m_stopped) != 0)
            ;
        return previous;
    }

    DWORD resume()
    {
        std::lock_guard<std::mutex> hold(m_suspension);
        const DWORD previous = m_count.load();
        if (previous == 0)
            return 0;
        m_count.store(previous - 1);
        if (previous == 1)
            abortOnError(pthread_kill(m_thread, resumeSignal()), "pthread_kill");
        return previous;
    }

private:
    static void* run(void* keep)
    {
        std::unique_ptr<std::shared_ptr<ThreadObject>> owner(static_cast<std::shared_ptr<ThreadObject>*>(keep));
        ThreadObject& self = **owner;
        // A new thread has its creator's mask, which may block everything.
        sigset_t ours;
        sigemptyset(&ours);
        sigaddset(&ours, suspendSignal());
        sigaddset(&ours, resumeSignal());
        abortOnError(pthread_sigmask(SIG_UNBLOCK, &ours, nullptr), "pthread_sigmask");
        self.m_start(self.m_parameter);
        // From here on the thread is not to be stopped: it may be gone
        // before a signal reaches it.
        std::lock_guard<std::mutex> hold(self.m_suspension);
        self.m_ending = true;
        return nullptr;
    }

    static void onSuspend(int, siginfo_t* information, void*)
    {
        const int savedError = errno;
        ThreadObject* self = static_cast<ThreadObject*>(information->si_value.sival_ptr);
        sem_post(&self->m_stopped);
        sigset_t waiting;
        sigfillset(&waiting);
        sigdelset(&waiting, resumeSignal());
        // The resume signal stays blocked outside sigsuspend, so one that
        // comes before it is not lost.
        while (self->m_count.load() > 0)
            sigsuspend(&waiting);
        errno = savedError;
    }

    static void onResume(int) {}

    static void installHandlers()
    {
        static std::once_flag once;
        std::call_once(once, [] {
            struct sigaction action = {};
            action.sa_flags = SA_RESTART;
            action.sa_handler = &ThreadObject::onResume;
            sigemptyset(&action.sa_mask);
            abortOnError(sigaction(resumeSignal(), &action, nullptr), "sigaction");
            action.sa_flags = SA_RESTART | SA_SIGINFO;
            action.sa_sigaction = &ThreadObject::onSuspend;
            sigaddset(&action.sa_mask, resumeSignal());
            abortOnError(sigaction(suspendSignal(), &action, nullptr), "sigaction");
        });
    }

    const LPTHREAD_START_ROUTINE m_start;
    const LPVOID m_parameter;
    pthread_t m_thread{};

    Monitor m_monitor; // guards m_ended and m_joining
    bool m_ended = false;   // joined
    bool m_joining = false; // a waiter is in pthread_join

    std::mutex m_suspension; // guards the changes of m_count, and m_ending
    std::atomic<DWORD> m_count{0};
    bool m_ending = false;
    sem_t m_stopped;
};

} // namespace

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

using namespace Vesk::Corvo::Posix;

HANDLE CreateThread(LPSECURITY_ATTRIBUTES attributes, std::size_t, LPTHREAD_START_ROUTINE start,
                    LPVOID parameter, DWORD creationFlags, LPDWORD threadId)
{
    if (attributes || !start || creationFlags != 0 || threadId)
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    auto thread = std::make_shared<ThreadObject>(start, parameter);
    return thread->start(thread) ? makeHandle(thread, THREAD_ALL_ACCESS) : nullptr;
}

DWORD SuspendThread(HANDLE thread)
{
    std::shared_ptr<ThreadObject> object = lookUp<ThreadObject>(thread, THREAD_ALL_ACCESS);
    return object ? object->suspend() : static_cast<DWORD>(-1);
}

DWORD ResumeThread(HANDLE thread)
{
    std::shared_ptr<ThreadObject> object = lookUp<ThreadObject>(thread, THREAD_ALL_ACCESS);
    return object ? object->resume() : static_cast<DWORD>(-1);
}

namespace {

// The kernel's number is asked once per thread; 0 is no thread's number.
// A child of fork is a new thread with the number of its own: its copy of
// the forking thread's cache is cleared.
thread_local DWORD cachedThreadId = 0;

void forgetThreadIdInChild() { cachedThreadId = 0; }

const int forkHandlerRegistered = pthread_atfork(nullptr, nullptr, forgetThreadIdInChild);

} // namespace

DWORD GetCurrentThreadId()
{
    DWORD id = cachedThreadId;
    if (id == 0) {
        id = static_cast<DWORD>(gettid());
        cachedThreadId = id;
    }
    return id;
}

void Sleep(DWORD milliseconds)
{
    if (milliseconds == INFINITE)
        for (;;)
            pause();
    timespec left = {static_cast<time_t>(milliseconds / 1000),
                     static_cast<long>(milliseconds % 1000) * 1000000L};
    while (nanosleep(&left, &left) != 0 && errno == EINTR)
        ;
}
