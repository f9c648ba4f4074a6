/// \file
/// Win32DynamicLibrary: one shared library loaded at run time, and the
/// addresses of its symbols.
#ifndef CORVO_DYNAMIC_LIBRARY_H
#define CORVO_DYNAMIC_LIBRARY_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// One shared library (a DLL on Windows, a shared object on Linux).
///
/// The destructor leaves the library loaded: only unload gives it back, so
/// symbols fetched before stay valid after the object is gone. Every failure
/// throws Exception.
class CORVO_API Win32DynamicLibrary
{
public:
    /// Nothing loaded.
    Win32DynamicLibrary();
    /// Leaves the library loaded.
    virtual ~Win32DynamicLibrary();

    /// Not copied: two objects on one load would leave one with a stale
    /// handle after the other's unload.
    ///@{
    Win32DynamicLibrary(const Win32DynamicLibrary&) = delete;
    Win32DynamicLibrary& operator=(const Win32DynamicLibrary&) = delete;
    ///@}

    /// The name goes to the platform as given, found by its own search rules:
    /// on Windows the program's directory first, on Linux dlopen's rules
    /// (LD_LIBRARY_PATH, the loader's cache), so give a path there. A load
    /// over a loaded object replaces the handle and keeps the earlier library
    /// in the process. An empty name is refused. Logs "Loading [NAME]" at
    /// LogDebug, before trying.
    /// Throws Exception "Error occurred when trying to load [NAME]".
    void load(const std::string& name);
    /// Gives the library back. Throws Exception "Error occurred when trying
    /// to unload a dynamic library" when nothing is loaded or the platform
    /// refuses.
    void unload();
    /// The address of the symbol; null when the library has no such symbol.
    /// Throws Exception "Library is not loaded and the system cannot
    /// retrieve the [NAME] symbol" when nothing is loaded.
    void* getSymbol(const std::string& name) const;

private:
    void* m_module;
};

} // namespace Corvo
} // namespace Vesk

#endif
