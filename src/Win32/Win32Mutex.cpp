// Win32Mutex: a kernel mutex, named or not.
#include "CorvoMutex.h"
#include "CorvoRaise.h"
#include "CorvoString.h"
#include "CorvoException.h"
#include "CorvoPlatform.h"

namespace Vesk {
namespace Corvo {

namespace {

// Null for the empty name.
HANDLE createMutex(const std::string& name)
{
    const std::wstring wide = str_to_tstr(name);
    return CreateMutexW(nullptr, FALSE, name.empty() ? nullptr : wide.c_str());
}

} // namespace

Win32Mutex::Win32Mutex() : m_handle(nullptr)
{
    m_handle = createMutex(std::string());
    if (!m_handle)
        CORVO_RAISE(Exception, "Cannot create Mutex!");
}

Win32Mutex::Win32Mutex(const std::string& name) : m_handle(nullptr)
{
    m_handle = createMutex(name);
    if (!m_handle)
        CORVO_RAISE(Exception, "Cannot open or create the Mutex!");
}

Win32Mutex::Win32Mutex(const std::string& name, bool openExisting) : m_handle(nullptr)
{
    if (openExisting) {
        if (name.empty())
            CORVO_RAISE(Exception, "Cannot open a nameless existing mutex!");
        m_handle = OpenMutexW(SYNCHRONIZE, TRUE, str_to_tstr(name).c_str());
        if (!m_handle)
            CORVO_RAISE(Exception, "Cannot open Mutex!");
    } else {
        m_handle = createMutex(name);
        if (!m_handle)
            CORVO_RAISE(Exception, "Cannot create Mutex!");
    }
}

Win32Mutex::~Win32Mutex()
{
    ReleaseMutex(m_handle);
    CloseHandle(m_handle);
}

void Win32Mutex::acquire()
{
    if (WaitForSingleObject(m_handle, INFINITE) != WAIT_OBJECT_0)
        CORVO_RAISE(Exception, "Cannot acquire Mutex!");
}

bool Win32Mutex::try_acquire() { return WaitForSingleObject(m_handle, 1) == WAIT_OBJECT_0; }

void Win32Mutex::release() { ReleaseMutex(m_handle); }

} // namespace Corvo
} // namespace Vesk
