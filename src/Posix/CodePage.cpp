// Code-page conversion on iconv. UTF-16 travels as UTF-16LE bytes between
// iconv and the WCHAR units of the callers.
#include "PosixSupport.h"
#include "Win32CodePage.h"

#include <iconv.h>
#include <langinfo.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <string>

namespace {

const char* const UTF16 = "UTF-16LE";

// The iconv name of a code page; empty for one that is not supported.
std::string charsetOf(UINT codePage)
{
    if (codePage == CP_UTF8)
        return "UTF-8";
    if (codePage != CP_ACP)
        return std::string();
    const std::string codeset = nl_langinfo(CODESET);
    // Text from Windows is read as on a Western system, where the C locale
    // would otherwise limit it to 7 bits.
    return codeset == "ANSI_X3.4-1968" ? "WINDOWS-1252" : codeset;
}

// Converts size bytes at input from one character set to another. What cannot
// be converted becomes replacement, and the conversion goes on step bytes
// further (one unit of the source). False if iconv does not know a set.
bool transcode(const std::string& to, const std::string& from, const char* input,
               std::size_t size, std::size_t step, const std::string& replacement,
               std::string& output)
{
    iconv_t converter = iconv_open(to.c_str(), from.c_str());
    if (converter == reinterpret_cast<iconv_t>(-1))
        return false;
    char* in = const_cast<char*>(input);
    std::size_t inLeft = size;
    char chunk[256];
    while (inLeft != 0) {
        char* out = chunk;
        std::size_t outLeft = sizeof chunk;
        const std::size_t result = iconv(converter, &in, &inLeft, &out, &outLeft);
        const int error = errno;
        output.append(chunk, static_cast<std::size_t>(out - chunk));
        if (result != static_cast<std::size_t>(-1) || error == E2BIG)
            continue;
        // EILSEQ, or EINVAL for a sequence cut off by the end of the input.
        output += replacement;
        const std::size_t skipped = error == EINVAL ? inLeft : std::min(step, inLeft);
        in += skipped;
        inLeft -= skipped;
    }
    // What a stateful set needs to end in its initial state.
    for (;;) {
        char* out = chunk;
        std::size_t outLeft = sizeof chunk;
        const std::size_t result = iconv(converter, nullptr, nullptr, &out, &outLeft);
        const int error = errno;
        output.append(chunk, static_cast<std::size_t>(out - chunk));
        if (result != static_cast<std::size_t>(-1) || error != E2BIG)
            break;
    }
    Vesk::Corvo::Posix::abortOnError(iconv_close(converter) == 0 ? 0 : errno, "iconv_close");
    return true;
}

// The Win32 way of handing a result over: its size when asked with an
// output size of 0, else the result if it fits, else 0.
template <typename Unit>
int deliver(const std::basic_string<Unit>& result, Unit* output, int outputSize)
{
    if (result.size() > static_cast<std::size_t>(INT_MAX))
        return 0;
    const int size = static_cast<int>(result.size());
    if (outputSize == 0)
        return size;
    if (size > outputSize)
        return 0;
    result.copy(output, result.size());
    return size;
}

} // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH multiByte, int multiByteLength,
                        LPWSTR wide, int wideLength)
{
    const std::string charset = charsetOf(codePage);
    std::string bytes;
    if (charset.empty() || flags != 0 || multiByteLength <= 0 || wideLength < 0 ||
        !transcode(UTF16, charset, multiByte, static_cast<std::size_t>(multiByteLength), 1,
                   "\xFD\xFF", bytes))
        return 0;
    std::wstring units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        units += static_cast<WCHAR>(static_cast<unsigned char>(bytes[i]) |
                                    static_cast<unsigned char>(bytes[i + 1]) << 8);
    return deliver(units, wide, wideLength);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideLength,
                        LPSTR multiByte, int multiByteLength, LPCCH defaultChar,
                        LPBOOL usedDefaultChar)
{
    const std::string charset = charsetOf(codePage);
    if (charset.empty() || flags != 0 || wideLength <= 0 || multiByteLength < 0 ||
        defaultChar != nullptr || usedDefaultChar != nullptr)
        return 0;
    std::string units;
    for (int i = 0; i < wideLength; ++i) {
        // A value beyond 16 bits, possible where wchar_t is wider, is no
        // UTF-16 unit.
        const std::uint32_t value = static_cast<std::uint32_t>(wide[i]);
        const std::uint32_t unit = value > 0xFFFF ? 0xFFFD : value;
        units += static_cast<char>(unit & 0xFF);
        units += static_cast<char>(unit >> 8);
    }
    std::string replacement;
    std::string bytes;
    if (!transcode(charset, UTF16, "\xFD\xFF", 2, 2, "?", replacement) ||
        !transcode(charset, UTF16, units.data(), units.size(), 2, replacement, bytes))
        return 0;
    return deliver(bytes, multiByte, multiByteLength);
}
