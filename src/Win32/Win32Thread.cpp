// Win32Thread: a thin holder of a platform thread. The caller's function is
// handed to the platform as it is, with this object as its argument.
#include "CorvoThread.h"
#include "CorvoException.h"
#include "CorvoRaise.h"
#include "PlatformSupport.h"

namespace Vesk {
namespace Corvo {

Win32Thread::Win32Thread(void* (*function)(void*)) : m_handle(nullptr), m_function(function) {}

Win32Thread::~Win32Thread() { CloseHandle(m_handle); }

void Win32Thread::start()
{
    // Both types return in the same register, so the pointer that the
    // function gives back becomes the exit code, cut to its low 32 bits. The
    // cast goes through the one function type that matches every other.
    const LPTHREAD_START_ROUTINE routine =
        reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void (*)()>(m_function));
    HANDLE thread = CreateThread(nullptr, 0, routine, this, 0, nullptr);
    if (m_handle)
        CloseHandle(m_handle);
    m_handle = thread;
    if (!m_handle)
        CORVO_RAISE(Exception, "Thread creation failure");
}

void Win32Thread::pause() { SuspendThread(m_handle); }

void Win32Thread::resume() { ResumeThread(m_handle); }

void Win32Thread::join(const unsigned long& timeout)
{
    WaitForSingleObject(m_handle, detail::platformTimeout(timeout));
}

void Win32Thread::initialize() {}

void Win32Thread::finalize() {}

void Win32Thread::destroy() {}

void Win32Thread::sleep(unsigned long milliseconds) { Sleep(detail::platformTimeout(milliseconds)); }

unsigned long long Win32Thread::self() { return GetCurrentThreadId(); }

} // namespace Corvo
} // namespace Vesk
