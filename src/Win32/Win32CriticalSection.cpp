// Win32CriticalSection: one platform call per operation.
#include "CorvoCriticalSection.h"
#include "CorvoPlatform.h"

#include <new>

namespace Vesk {
namespace Corvo {

namespace {

CRITICAL_SECTION* platform(unsigned char* storage)
{
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}

} // namespace

Win32CriticalSection::Win32CriticalSection()
{
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof m_criticalSection && alignof(CRITICAL_SECTION) <= 8,
                  "the storage of Win32CriticalSection must hold a CRITICAL_SECTION");
    InitializeCriticalSection(new (m_criticalSection) CRITICAL_SECTION);
}

Win32CriticalSection::~Win32CriticalSection() { DeleteCriticalSection(platform(m_criticalSection)); }

void Win32CriticalSection::acquire() { EnterCriticalSection(platform(m_criticalSection)); }

bool Win32CriticalSection::try_acquire()
{
    return TryEnterCriticalSection(platform(m_criticalSection)) != 0;
}

void Win32CriticalSection::release() { LeaveCriticalSection(platform(m_criticalSection)); }

} // namespace Corvo
} // namespace Vesk
