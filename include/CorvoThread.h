/// \file
/// A platform thread that runs a function of the caller's, with suspend,
/// resume and a timed wait for its end.
#ifndef CORVO_THREAD_H
#define CORVO_THREAD_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

/// A thread on a function of the caller's. Only start throws; nothing is
/// logged, and pause, resume and join report no failure.
///
/// On Linux pause stops the thread at a signal (SIGRTMIN + 6, resumed by
/// SIGRTMIN + 7; an application must leave these two alone) and returns once
/// it has stopped. A thread paused while it holds a lock (in malloc, say)
/// holds it until it is resumed, on Windows as on Linux.
class CORVO_API Win32Thread
{
public:
    /// The function receives this object's address; its result becomes the
    /// thread's exit code. Nothing runs until start.
    explicit Win32Thread(void* (*function)(void*));
    /// Closes the handle: it neither waits for the thread nor stops it, so
    /// the owner joins first. The object must outlive its thread.
    virtual ~Win32Thread();

    /// Copies are not offered: two objects would close one handle twice.
    ///@{
    Win32Thread(const Win32Thread&) = delete;
    Win32Thread& operator=(const Win32Thread&) = delete;
    ///@}

    /// The thread runs at once. A second start runs a second thread and
    /// closes the handle of the first. Throws Exception "Thread creation
    /// failure".
    void start();
    /// Suspends the thread. Counted: n pauses need n resumes. On Linux a
    /// pause is a signal (SIGRTMIN + 6, resumed by SIGRTMIN + 7) that the
    /// thread must not block; once resumed, a poll, select, epoll_wait,
    /// usleep or nanosleep of its own that the pause interrupted returns
    /// early with EINTR, while read, write, connect, accept, the like and
    /// sleep go on.
    void pause();
    /// Takes back one pause.
    void resume();
    /// Waits for the end of the thread for at most timeout milliseconds
    /// (0xFFFFFFFF, or more, without limit), with no word of which came first.
    void join(const unsigned long& timeout);
    /// Does nothing.
    ///@{
    void initialize();
    void finalize();
    void destroy();
    ///@}

    /// Suspends the calling thread for the milliseconds (0xFFFFFFFF, or more,
    /// without limit).
    static void sleep(unsigned long milliseconds);
    /// The calling thread's platform identifier: the Windows thread id, or
    /// the kernel's thread id (gettid) on Linux.
    static unsigned long long self();

private:
    void* m_handle;
    void* (*m_function)(void*);
};

} // namespace Corvo
} // namespace Vesk

#endif
