// A platform thread that runs a function of the caller's, with suspend,
// resume and a timed wait for its end.
#ifndef CORVO_THREAD_H
#define CORVO_THREAD_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

class CORVO_API Win32Thread
{
public:
    // The function receives this object's address; its result becomes the
    // thread's exit code. Nothing runs until start.
    explicit Win32Thread(void* (*function)(void*));
    // Closes the handle: it neither waits for the thread nor stops it, so
    // the owner joins first. The object must outlive its thread.
    virtual ~Win32Thread();

    // Copies are not offered: two objects would close one handle twice.
    Win32Thread(const Win32Thread&) = delete;
    Win32Thread& operator=(const Win32Thread&) = delete;

    // The thread runs at once. A second start runs a second thread and
    // closes the handle of the first.
    void start();
    // Counted: n pauses need n resumes. On Linux a pause is a signal
    // (SIGRTMIN + 6, resumed by SIGRTMIN + 7) that the thread must not block;
    // once resumed, a poll, select, epoll_wait, usleep or nanosleep of its
    // own that the pause interrupted returns early with EINTR, while read,
    // write, connect, accept, the like and sleep go on.
    void pause();
    void resume();
    // Waits for the end of the thread for at most timeout milliseconds
    // (0xFFFFFFFF, or more, without limit), with no word of which came first.
    void join(const unsigned long& timeout);
    void initialize();
    void finalize();
    void destroy();

    static void sleep(unsigned long milliseconds);
    // The calling thread's platform identifier.
    static unsigned long long self();

private:
    void* m_handle;
    void* (*m_function)(void*);
};

} // namespace Corvo
} // namespace Vesk

#endif
