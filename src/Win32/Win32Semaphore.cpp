// Win32Semaphore: a kernel semaphore, named or not.
#include "CorvoSemaphore.h"
#include "CorvoException.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "CorvoString.h"

namespace Vesk {
namespace Corvo {

namespace {

// Where long is wider than the platform's 32-bit counts, a count that the
// platform can't hold is as invalid as a negative one.
bool fitsPlatform(long count) { return count == static_cast<LONG>(count); }

bool validCounts(long initialCount, long maximumCount)
{
    return initialCount >= 0 && maximumCount >= 1 && fitsPlatform(initialCount) &&
           fitsPlatform(maximumCount);
}

} // namespace

Win32Semaphore::Win32Semaphore(long initialCount, long maximumCount) : m_handle(nullptr)
{
    if (!validCounts(initialCount, maximumCount))
        CORVO_RAISE(Exception, "Invalid parameters!");
    m_handle = CreateSemaphoreW(nullptr, static_cast<LONG>(initialCount),
                                static_cast<LONG>(maximumCount), nullptr);
    if (!m_handle)
        CORVO_RAISE(Exception, "Cannot create Semaphore!");
}

Win32Semaphore::Win32Semaphore(const std::string& name, long initialCount, long maximumCount,
                               bool openExisting)
    : m_handle(nullptr)
{
    if (!validCounts(initialCount, maximumCount))
        CORVO_RAISE(Exception, "Invalid parameters!");
    const std::wstring wide = str_to_tstr(name);
    if (openExisting) {
        if (name.empty())
            CORVO_RAISE(Exception, "Invalid Semaphore name![" + name + "]");
        m_handle = OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, TRUE, wide.c_str());
        if (!m_handle)
            CORVO_RAISE(Exception, "Cannot open Semaphore!");
    } else {
        m_handle = CreateSemaphoreW(nullptr, static_cast<LONG>(initialCount),
                                    static_cast<LONG>(maximumCount),
                                    name.empty() ? nullptr : wide.c_str());
        if (!m_handle)
            CORVO_RAISE(Exception, "Cannot create Semaphore!");
    }
}

Win32Semaphore::~Win32Semaphore()
{
    ReleaseSemaphore(m_handle, 1, nullptr);
    CloseHandle(m_handle);
}

void Win32Semaphore::acquire()
{
    if (WaitForSingleObject(m_handle, INFINITE) != WAIT_OBJECT_0)
        CORVO_RAISE(Exception, "Cannot acquire Semaphore!");
}

bool Win32Semaphore::try_acquire() { return WaitForSingleObject(m_handle, 1) == WAIT_OBJECT_0; }

void Win32Semaphore::release(long count)
{
    if (count < 0)
        CORVO_RAISE(Exception, "Invalid parameters!");
    // A count beyond 32 bits is past any maximum, which the platform refuses
    // without a report.
    if (fitsPlatform(count))
        ReleaseSemaphore(m_handle, static_cast<LONG>(count), nullptr);
}

void Win32Semaphore::release() { ReleaseSemaphore(m_handle, 1, nullptr); }

} // namespace Corvo
} // namespace Vesk
