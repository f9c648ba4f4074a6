// Whether a Windows test program runs under Wine, for the rows where Wine
// differs from Windows and the test follows Windows.
#ifndef CORVO_TEST_UNDER_WINE_H
#define CORVO_TEST_UNDER_WINE_H

#include "CorvoPlatform.h"

namespace corvo_test {

inline bool underWine()
{
#ifdef _WIN32
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
#else
    return false;
#endif
}

} // namespace corvo_test

#endif
