// Win32CriticalSection: one platform call per operation.
#include "CorvoCriticalSection.h"
#include "PlatformSupport.h"

namespace Vesk {
namespace Corvo {

using detail::platformObject;

Win32CriticalSection::Win32CriticalSection()
{
    InitializeCriticalSection(new (platformObject<CRITICAL_SECTION>(m_criticalSection)) CRITICAL_SECTION);
}

Win32CriticalSection::~Win32CriticalSection()
{
    DeleteCriticalSection(platformObject<CRITICAL_SECTION>(m_criticalSection));
}

void Win32CriticalSection::acquire() { EnterCriticalSection(platformObject<CRITICAL_SECTION>(m_criticalSection)); }

bool Win32CriticalSection::try_acquire()
{
    return TryEnterCriticalSection(platformObject<CRITICAL_SECTION>(m_criticalSection)) != 0;
}

void Win32CriticalSection::release() { LeaveCriticalSection(platformObject<CRITICAL_SECTION>(m_criticalSection)); }

} // namespace Corvo
} // namespace Vesk
