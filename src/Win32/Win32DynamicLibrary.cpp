// Win32DynamicLibrary: the attempt of each load goes to the log before the
// platform is asked, so that a failed load is in the log too.
#include "CorvoDynamicLibrary.h"
#include "CorvoException.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "CorvoString.h"
#include "ZimLogger.h"

namespace Vesk {
namespace Corvo {

Win32DynamicLibrary::Win32DynamicLibrary() : m_module(nullptr) {}

Win32DynamicLibrary::~Win32DynamicLibrary() {}

void Win32DynamicLibrary::load(const std::string& name)
{
    Zim::Logger::getSingleton().log(Zim::LogDebug, "Vesk::Corvo::Win32DynamicLibrary::load",
                                    "Loading [" + name + "]");
    const std::wstring wideName = str_to_tstr(name);
    m_module = static_cast<void*>(LoadLibraryW(wideName.c_str()));
    if (m_module == nullptr)
        CORVO_RAISE(Exception, "Error occurred when trying to load [" + name + "]");
}

void Win32DynamicLibrary::unload()
{
    if (FreeLibrary(static_cast<HMODULE>(m_module)) == 0)
        CORVO_RAISE(Exception, "Error occurred when trying to unload a dynamic library");
    m_module = nullptr;
}

void* Win32DynamicLibrary::getSymbol(const std::string& name) const
{
    if (m_module == nullptr)
        CORVO_RAISE(Exception,
                    "Library is not loaded and the system cannot retrieve the [" + name + "] symbol");
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_module), name.c_str()));
}

} // namespace Corvo
} // namespace Vesk
