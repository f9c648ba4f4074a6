// The pieces of Microsoft's C runtime that the library uses, with their
// Windows contracts where those differ from the C library's.
#include "Win32Runtime.h"

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

__time64_t _time64(__time64_t* destination)
{
    const __time64_t now = static_cast<__time64_t>(std::time(nullptr));
    if (destination)
        *destination = now;
    return now;
}

struct tm* _localtime64(const __time64_t* time)
{
    static thread_local struct tm broken;
    const std::time_t value = static_cast<std::time_t>(*time);
    return localtime_r(&value, &broken);
}

int _vsnprintf(char* buffer, std::size_t count, const char* format, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(buffer, count, format, args);
    if (length >= 0 && static_cast<std::size_t>(length) >= count && count != 0) {
        // vsnprintf gave up the last place to its terminator; Windows fills
        // all count places and writes none.
        std::vector<char> whole(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(whole.data(), whole.size(), format, again);
        std::memcpy(buffer, whole.data(), count);
    }
    va_end(again);
    if (length < 0 || static_cast<std::size_t>(length) > count)
        return -1;
    return length;
}

namespace {

// Rewrites a Windows wide format for the C library, where "%s" and "%c" are
// narrow: the Windows wide forms gain an 'l', the narrow ones lose their 'h'
// or their capital.
std::wstring posixWideFormat(const wchar_t* format)
{
    std::wstring result;
    for (const wchar_t* p = format; *p; ++p) {
        result += *p;
        if (*p != L'%')
            continue;
        if (p[1] == L'%') {
            result += *++p;
            continue;
        }
        // Flags, width and precision pass unchanged.
        while (p[1] && std::wcschr(L"-+ #0123456789.*", p[1]))
            result += *++p;
        const wchar_t conversion = p[1];
        if (conversion == L's' || conversion == L'c') {
            result += L'l';
        } else if (conversion == L'S' || conversion == L'C') {
            result += static_cast<wchar_t>(conversion - L'A' + L'a');
            ++p;
        } else if (conversion == L'h' && (p[2] == L's' || p[2] == L'c')) {
            ++p;
        }
    }
    return result;
}

} // namespace

int _vswprintf_c_l(wchar_t* buffer, std::size_t count, const wchar_t* format, _locale_t,
                   va_list args)
{
    const int length = std::vswprintf(buffer, count, posixWideFormat(format).c_str(), args);
    // On a text that does not fit, the C library leaves the buffer
    // unterminated.
    if (length < 0 && count != 0)
        buffer[count - 1] = L'\0';
    return length;
}
