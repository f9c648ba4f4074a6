// An unnamed event of the platform: one thread signals, others wait with a
// time-out. Every platform failure is thrown, the destructor's too.
#ifndef CORVO_EVENT_H
#define CORVO_EVENT_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

class CORVO_API Win32Event
{
public:
    // By default unsignalled and auto-reset: each signal lets one waiter
    // through. A manual-reset event lets all through until reset.
    explicit Win32Event(bool initiallySignalled = false, bool manualReset = false);
    virtual ~Win32Event() noexcept(false);

    // Copies are not offered: two objects would close one handle twice.
    Win32Event(const Win32Event&) = delete;
    Win32Event& operator=(const Win32Event&) = delete;

    virtual void signal();
    virtual void reset();
    // True if the event was signalled within timeout milliseconds; 0 polls,
    // and 0xFFFFFFFF (or more) waits without limit.
    virtual bool wait(unsigned long timeout);

private:
    void* m_handle;
};

} // namespace Corvo
} // namespace Vesk

#endif
