// Code-page conversion on iconv. UTF-16 travels as UTF-16LE bytes from
// iconv to the WCHAR units of the callers; WCHAR units go to UTF-8 through
// appendUtf8, whose rule for what is not UTF-16 holds here too.
#include "CorvoWideText.h"
#include "PosixSupport.h"
#include "Win32CodePage.h"

#include <iconv.h>
#include <langinfo.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <cwchar>
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

// How far a conversion skips past what it cannot convert: one unit of the
// source, a byte or a whole UTF-8 sequence.
std::size_t oneByte(const char*, std::size_t) { return 1; }

std::size_t oneSequence(const char* at, std::size_t left)
{
    std::size_t length = 1;
    while (length < left && (static_cast<unsigned char>(at[length]) & 0xC0) == 0x80)
        ++length;
    return length;
}

// Converts size bytes at input from one character set to another. What cannot
// be converted becomes replacement, and the conversion goes on past one unit
// of the source. False if iconv does not know a set.
bool transcode(const std::string& to, const std::string& from, const char* input,
               std::size_t size, std::size_t (*unit)(const char*, std::size_t),
               const std::string& replacement, std::string& output)
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
        const std::size_t skipped = error == EINVAL ? inLeft : std::min(unit(in, inLeft), inLeft);
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
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_PARAMETER, 0);
    const int size = static_cast<int>(result.size());
    if (outputSize == 0)
        return size;
    if (size > outputSize)
        return Vesk::Corvo::Posix::fail(ERROR_INSUFFICIENT_BUFFER, 0);
    result.copy(output, result.size());
    return size;
}

// The source's length in units, its terminator included when the caller
// gave a negative length; 0 for arguments that both calls refuse, with the
// last error set.
std::size_t sourceLength(const std::string& charset, DWORD flags, const void* source,
                         int length, std::size_t terminated, const void* output, int outputSize)
{
    if (flags != 0)
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_FLAGS, std::size_t(0));
    if (charset.empty() || source == nullptr || length == 0 || outputSize < 0 || (!output && outputSize != 0))
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_PARAMETER, std::size_t(0));
    return length < 0 ? terminated + 1 : static_cast<std::size_t>(length);
}

} // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH multiByte, int multiByteLength,
                        LPWSTR wide, int wideLength)
{
    const std::string charset = charsetOf(codePage);
    const std::size_t length =
        sourceLength(charset, flags, multiByte, multiByteLength,
                     multiByteLength < 0 && multiByte != nullptr ? std::strlen(multiByte) : 0, wide,
                     wideLength);
    std::string bytes;
    if (length == 0)
        return 0;
    if (!transcode(UTF16, charset, multiByte, length, oneByte, "\xFD\xFF", bytes))
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_PARAMETER, 0);
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
    if (defaultChar != nullptr || usedDefaultChar != nullptr)
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_PARAMETER, 0);
    const std::size_t length = sourceLength(charset, flags, wide, wideLength,
                                            wideLength < 0 && wide != nullptr ? std::wcslen(wide) : 0,
                                            multiByte, multiByteLength);
    if (length == 0)
        return 0;
    std::string utf8;
    Vesk::Corvo::appendUtf8(utf8, wide, length, Vesk::Corvo::BadUnit::Replace);
    if (charset == "UTF-8")
        return deliver(utf8, multiByte, multiByteLength);
    std::string replacement;
    std::string bytes;
    if (!transcode(charset, "UTF-8", "\xEF\xBF\xBD", 3, oneSequence, "?", replacement) ||
        !transcode(charset, "UTF-8", utf8.data(), utf8.size(), oneSequence, replacement, bytes))
        return Vesk::Corvo::Posix::fail(ERROR_INVALID_PARAMETER, 0);
    return deliver(bytes, multiByte, multiByteLength);
}
