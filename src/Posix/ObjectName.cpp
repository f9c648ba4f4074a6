// Object names to file names (Linux).
//
// A desktop session's objects live in the session's directory, where
// "Local" and "Global" are links to that directory and to the machine's:
// so "Local\x" is "x", and "Global\x" an object of its own. No other
// directory exists there, so any other backslash names nothing. The session
// and the machine-wide names get files of their own prefixes. A short name
// keeps a readable file name (letters, digits and "-_." stand for
// themselves, any other UTF-16 unit is '%' and four hexadecimal digits);
// one whose readable form would be long, up to any length, gets a fixed
// length name from a 128-bit hash after a '#', which the readable form never
// holds.
#include "ObjectName.h"
#include "PosixSupport.h"
#include "Win32Handle.h"

#include <cstdio>
#include <cwchar>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

const std::size_t longestReadable = 128;

// Whether name begins with the namespace and a backslash; if so, moves past them.
bool skipNamespace(LPCWSTR& name, const wchar_t* space)
{
    const std::size_t length = std::wcslen(space);
    if (std::wcsncmp(name, space, length) != 0 || name[length] != L'\\')
        return false;
    name += length + 1;
    return true;
}

bool isNamespace(LPCWSTR name)
{
    return std::wcscmp(name, L"Local") == 0 || std::wcscmp(name, L"Global") == 0 ||
           std::wcscmp(name, L"Session") == 0;
}

unsigned unitAt(LPCWSTR name) { return static_cast<unsigned>(*name) & 0xFFFFu; }

std::string readable(LPCWSTR name)
{
    std::string text;
    for (; *name && text.size() <= longestReadable; ++name) {
        const unsigned unit = unitAt(name);
        if ((unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || (unit >= '0' && unit <= '9') ||
            unit == '-' || unit == '_' || unit == '.') {
            text += static_cast<char>(unit);
        } else {
            char escaped[6];
            std::snprintf(escaped, sizeof escaped, "%%%04X", unit);
            text += escaped;
        }
    }
    return text;
}

// FNV-1a on 128 bits over the name's UTF-16 units, low byte first.
std::string hashed(LPCWSTR name)
{
    const unsigned __int128 prime = (static_cast<unsigned __int128>(1) << 88) + 0x13B;
    unsigned __int128 hash = (static_cast<unsigned __int128>(0x6C62272E07BB0142ull) << 64) + 0x62B821756295C58Dull;
    for (; *name; ++name)
        for (unsigned byte : {unitAt(name) & 0xFFu, unitAt(name) >> 8}) {
            hash ^= byte;
            hash *= prime;
        }
    char text[34];
    std::snprintf(text, sizeof text, "#%016llx%016llx", static_cast<unsigned long long>(hash >> 64),
                  static_cast<unsigned long long>(hash));
    return text;
}

} // namespace

bool objectFileName(LPCWSTR name, std::string& fileName)
{
    if (*name == L'\\')
        return fail(ERROR_BAD_PATHNAME, false);
    bool global = false;
    for (;;) {
        if (skipNamespace(name, L"Global"))
            global = true;
        else if (!skipNamespace(name, L"Local"))
            break;
    }
    if (!*name || *name == L'\\')
        return fail(ERROR_INVALID_NAME, false);
    if (std::wcschr(name, L'\\'))
        return fail(ERROR_PATH_NOT_FOUND, false);
    if (isNamespace(name))
        return fail(ERROR_INVALID_HANDLE, false);
    std::string text = readable(name);
    if (text.size() > longestReadable)
        text = hashed(name);
    fileName = (global ? "corvo-global." : "corvo.") + text;
    return true;
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
