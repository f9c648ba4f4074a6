// Win32ReadWriteLock: two critical sections and a manual-reset event that is
// signalled exactly while no reader is in. Readers pass through the entry
// section, where a writer waits holding it, so readers that come after a
// writer queue behind it.
#include "CorvoReadWriteLock.h"
#include "PlatformSupport.h"

namespace Vesk {
namespace Corvo {

using detail::platformObject;

Win32ReadWriteLock::Win32ReadWriteLock() : m_readerCount(0)
{
    InitializeCriticalSection(new (platformObject<CRITICAL_SECTION>(m_countSection)) CRITICAL_SECTION);
    InitializeCriticalSection(new (platformObject<CRITICAL_SECTION>(m_entrySection)) CRITICAL_SECTION);
    m_noReadersEvent = CreateEventW(nullptr, TRUE, TRUE, nullptr);
}

Win32ReadWriteLock::~Win32ReadWriteLock()
{
    WaitForSingleObject(m_noReadersEvent, INFINITE);
    // The last reader sets the event before it leaves the count section:
    // once through it, no reader is inside any more, and it can go.
    EnterCriticalSection(platformObject<CRITICAL_SECTION>(m_countSection));
    LeaveCriticalSection(platformObject<CRITICAL_SECTION>(m_countSection));
    CloseHandle(m_noReadersEvent);
    DeleteCriticalSection(platformObject<CRITICAL_SECTION>(m_entrySection));
    DeleteCriticalSection(platformObject<CRITICAL_SECTION>(m_countSection));
}

void Win32ReadWriteLock::readLock()
{
    EnterCriticalSection(platformObject<CRITICAL_SECTION>(m_entrySection));
    EnterCriticalSection(platformObject<CRITICAL_SECTION>(m_countSection));
    if (++m_readerCount == 1)
        ResetEvent(m_noReadersEvent);
    LeaveCriticalSection(platformObject<CRITICAL_SECTION>(m_countSection));
    LeaveCriticalSection(platformObject<CRITICAL_SECTION>(m_entrySection));
}

void Win32ReadWriteLock::readUnlock()
{
    EnterCriticalSection(platformObject<CRITICAL_SECTION>(m_countSection));
    if (--m_readerCount == 0)
        SetEvent(m_noReadersEvent);
    LeaveCriticalSection(platformObject<CRITICAL_SECTION>(m_countSection));
}

void Win32ReadWriteLock::writeLock()
{
    EnterCriticalSection(platformObject<CRITICAL_SECTION>(m_entrySection));
    WaitForSingleObject(m_noReadersEvent, INFINITE);
}

void Win32ReadWriteLock::writeUnlock()
{
    LeaveCriticalSection(platformObject<CRITICAL_SECTION>(m_entrySection));
}

} // namespace Corvo
} // namespace Vesk
