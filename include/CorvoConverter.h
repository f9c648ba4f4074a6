// Converter: conversions between the text forms of the library (ANSI bytes,
// UTF-8 in a Utf8String, UTF-16 in std::wstring, UTF-32) and between byte
// arrays and hexadecimal text.
#ifndef CORVO_CONVERTER_H
#define CORVO_CONVERTER_H

#include "CorvoExport.h"
#include "CorvoUtf8String.h"

#include <string>

namespace Vesk {
namespace Corvo {

// Bad Unicode input raises the utfcpp exception that found it
// (utf8::invalid_utf16, utf8::invalid_code_point, utf8::invalid_utf8,
// utf8::not_enough_room), which derive from std::exception and not from
// Exception. A std::wstring holds one UTF-16 unit per element also where
// wchar_t is 32 bits wide; an element beyond 16 bits is invalid UTF-16, and a
// UTF-32 value beyond 32 bits an invalid code point.
class CORVO_API Converter
{
public:
    typedef std::basic_string<unsigned long> Utf32String;

    // Through Win32LocaleConverter: a NUL byte ends the text.
    static Utf8String toUtf8(const std::string& ansi);
    static Utf8String toUtf8(const std::wstring& utf16);
    static Utf8String toUtf8(const Utf32String& utf32);

    static std::wstring toUtf16(const Utf8String& utf8);
    static std::wstring toUtf16(const Utf32String& utf32);

    static Utf32String toUtf32(const Utf8String& utf8);
    static Utf32String toUtf32(const std::wstring& utf16);

    // The length bytes, NULs included, widened as str_to_tstr does: no
    // character set is decoded.
    static std::wstring convertBytesArrayToString(const unsigned char* bytes,
                                                  unsigned long length);
    // Two lower-case digits per byte, high nibble first; bytes is not read
    // when length is 0.
    static std::wstring convertBytesArrayToHexString(const unsigned char* bytes,
                                                     unsigned long length);
    // Reads pairs of digits of either case into a new[] array that the
    // caller owns on true (also when empty). An odd last character is
    // ignored. A character that is no digit gives false, with *bytes null and
    // length 0; a character above 255 raises the Exception of tstr_to_str
    // before either is touched.
    static bool convertHexStringToBytesArray(const std::wstring& hex, unsigned char** bytes,
                                             unsigned int& length);

private:
    static bool getConvertHexToInt(char digit, int& value);
};

} // namespace Corvo
} // namespace Vesk

#endif
