// Win32DynamicLibrary: one shared library loaded at run time, and the
// addresses of its symbols.
#ifndef CORVO_DYNAMIC_LIBRARY_H
#define CORVO_DYNAMIC_LIBRARY_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

// The destructor leaves the library loaded: only unload gives it back, so
// symbols fetched before stay valid after the object is gone.
class CORVO_API Win32DynamicLibrary
{
public:
    Win32DynamicLibrary();
    virtual ~Win32DynamicLibrary();

    // Not copied: two objects on one load would leave one with a stale
    // handle after the other's unload.
    Win32DynamicLibrary(const Win32DynamicLibrary&) = delete;
    Win32DynamicLibrary& operator=(const Win32DynamicLibrary&) = delete;

    // The name goes to the platform as given, found by its own search rules.
    // A load over a loaded object replaces the handle and keeps the earlier
    // library in the process.
    void load(const std::string& name);
    void unload();
    // Null when the library has no such symbol.
    void* getSymbol(const std::string& name) const;

private:
    void* m_module;
};

} // namespace Corvo
} // namespace Vesk

#endif
