/// \file
/// Win32LocaleConverter: text in the system's ANSI code page to UTF-8, by way
/// of UTF-16, with the platform's own conversions.
#ifndef CORVO_LOCALE_CONVERTER_H
#define CORVO_LOCALE_CONVERTER_H

#include "CorvoExport.h"
#include "CorvoUtf8String.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// The ANSI code page is the platform's current one, which the library never
/// sets; on Linux it is the character set of the C locale, Windows-1252 where
/// that is plain ASCII. Nothing is reported: text the platform cannot convert
/// gives an empty result, and a NUL byte ends the text. Nothing throws.
class CORVO_API Win32LocaleConverter
{
public:
    /// The class holds nothing; its functions are static.
    virtual ~Win32LocaleConverter();

    /// The ANSI text as UTF-8.
    static Utf8String ansiToUtf8(const std::string& text);

private:
    static std::wstring ansiToUtf16(const std::string& text);
    static Utf8String Utf16ToUtf8(const std::wstring& text);
};

} // namespace Corvo
} // namespace Vesk

#endif
