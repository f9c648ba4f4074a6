// Win32Event: an unnamed kernel event that reports every platform failure.
#include "CorvoEvent.h"
#include "CorvoException.h"
#include "CorvoRaise.h"
#include "PlatformSupport.h"

namespace Vesk {
namespace Corvo {

// The platform call takes the reset mode first, then the initial state.
Win32Event::Win32Event(bool initiallySignalled, bool manualReset) : m_handle(nullptr)
{
    m_handle = CreateEventW(nullptr, manualReset ? TRUE : FALSE, initiallySignalled ? TRUE : FALSE,
                            nullptr);
    if (!m_handle)
        CORVO_RAISE(Exception, "Win32Event: Cannot Create Event Handle!");
}

Win32Event::~Win32Event() noexcept(false)
{
    if (!CloseHandle(m_handle))
        CORVO_RAISE(Exception, "Win32Event: Cannot Destroy Event Handle!");
}

void Win32Event::signal()
{
    if (!SetEvent(m_handle))
        CORVO_RAISE(Exception, "Win32Event: Cannot Set Event!");
}

void Win32Event::reset()
{
    if (!ResetEvent(m_handle))
        CORVO_RAISE(Exception, "Win32Event: Cannot Reset Event!");
}

bool Win32Event::wait(unsigned long timeout)
{
    const DWORD result = WaitForSingleObject(m_handle, detail::platformTimeout(timeout));
    if (result != WAIT_OBJECT_0 && result != WAIT_TIMEOUT)
        CORVO_RAISE(Exception, "Win32Event: Wait failed!");
    return result == WAIT_OBJECT_0;
}

} // namespace Corvo
} // namespace Vesk
