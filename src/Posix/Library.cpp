// Shared libraries through the dynamic loader. dlopen counts its loads as
// LoadLibrary does, so each load is given back by one FreeLibrary.
#include "PosixSupport.h"
#include "Win32Library.h"

#include <dlfcn.h>

#include <string>

HMODULE LoadLibraryW(LPCWSTR fileName)
{
    if (fileName == nullptr)
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_PARAMETER, HMODULE(nullptr));
    std::string name;
    for (const WCHAR* unit = fileName; *unit != 0; ++unit)
        name += static_cast<char>(*unit & 0xFF);
    // dlopen takes no name as the program itself; LoadLibrary finds no module.
    if (name.empty())
        return Vesk::Corvo::Posix::fail(ERROR_MOD_NOT_FOUND, HMODULE(nullptr));
    HMODULE module = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
        return Vesk::Corvo::Posix::fail(ERROR_MOD_NOT_FOUND, HMODULE(nullptr));
    return module;
}

BOOL FreeLibrary(HMODULE module)
{
    if (module == nullptr || dlclose(module) != 0)
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_HANDLE, FALSE);
    return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR procName)
{
    if (module == nullptr)
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_HANDLE, FARPROC(nullptr));
    dlerror();
    void* address = dlsym(module, procName);
    if (address == nullptr)
        return Vesk::Corvo::Posix::fail(ERROR_PROC_NOT_FOUND, FARPROC(nullptr));
    return reinterpret_cast<FARPROC>(address);
}

HMODULE GetModuleHandleW(LPCWSTR moduleName)
{
    static char program;
    if (moduleName != nullptr)
        return Vesk::Corvo::Posix::fail(ERROR_GEN_FAILURE, static_cast<HMODULE>(nullptr));
    return &program;
}
