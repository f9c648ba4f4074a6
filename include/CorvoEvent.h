/// \file
/// An unnamed event of the platform: one thread signals, others wait with a
/// time-out. Every platform failure is thrown, the destructor's too.
#ifndef CORVO_EVENT_H
#define CORVO_EVENT_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

/// An unnamed event for the threads of one process. Failures throw
/// Exception with the reasons below; nothing is logged. On Linux the event
/// is the library's own kernel object and waits on the monotonic clock.
class CORVO_API Win32Event
{
public:
    /// By default unsignalled and auto-reset: each signal lets one waiter
    /// through. A manual-reset event lets all through until reset. Throws
    /// Exception "Win32Event: Cannot Create Event Handle!".
    explicit Win32Event(bool initiallySignalled = false, bool manualReset = false);
    /// Closes the handle. Throws Exception "Win32Event: Cannot Destroy Event
    /// Handle!" when the platform refuses.
    virtual ~Win32Event() noexcept(false);

    /// Copies are not offered: two objects would close one handle twice.
    ///@{
    Win32Event(const Win32Event&) = delete;
    Win32Event& operator=(const Win32Event&) = delete;
    ///@}

    /// Signals the event. Throws Exception "Win32Event: Cannot Set Event!".
    virtual void signal();
    /// Unsignals the event. Throws Exception "Win32Event: Cannot Reset
    /// Event!".
    virtual void reset();
    /// True if the event was signalled within timeout milliseconds; 0 polls,
    /// and 0xFFFFFFFF (or more) waits without limit. Throws Exception
    /// "Win32Event: Wait failed!" when the wait itself fails.
    virtual bool wait(unsigned long timeout);

private:
    void* m_handle;
};

} // namespace Corvo
} // namespace Vesk

#endif
