/// \file
/// Converter: conversions between the text forms of the library (ANSI bytes,
/// UTF-8 in a Utf8String, UTF-16 in std::wstring, UTF-32) and between byte
/// arrays and hexadecimal text.
#ifndef CORVO_CONVERTER_H
#define CORVO_CONVERTER_H

#include "CorvoExport.h"
#include "CorvoUtf8String.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// Conversions between the text forms, all static; nothing is logged.
///
/// Bad Unicode input raises the utfcpp exception that found it
/// (utf8::invalid_utf16, utf8::invalid_code_point, utf8::invalid_utf8,
/// utf8::not_enough_room), which derive from std::exception and not from
/// Exception. A std::wstring holds one UTF-16 unit per element also where
/// wchar_t is 32 bits wide (Linux); an element beyond 16 bits is invalid
/// UTF-16, and a UTF-32 value beyond 32 bits an invalid code point. A
/// Utf8String holds valid UTF-8 unless bytes went in through
/// Utf8String::insert(unsigned int, const char*): such text raises
/// utf8::invalid_utf8 or utf8::not_enough_room here.
class CORVO_API Converter
{
public:
    /// UTF-32 code points, one per element.
    typedef std::basic_string<unsigned long> Utf32String;

    /// ANSI text through Win32LocaleConverter: a NUL byte ends the text, and
    /// text the platform cannot convert gives an empty result. Never throws.
    static Utf8String toUtf8(const std::string& ansi);
    /// Throws utf8::invalid_utf16 for a lone surrogate or an element above
    /// 0xFFFF.
    static Utf8String toUtf8(const std::wstring& utf16);
    /// Throws utf8::invalid_code_point for a surrogate, a value above
    /// U+10FFFF, or one beyond 32 bits.
    static Utf8String toUtf8(const Utf32String& utf32);

    /// UTF-16 units, one per element.
    static std::wstring toUtf16(const Utf8String& utf8);
    /// As toUtf8(const Utf32String&), then to UTF-16.
    static std::wstring toUtf16(const Utf32String& utf32);

    /// Code points, one per element.
    static Utf32String toUtf32(const Utf8String& utf8);
    /// As toUtf8(const std::wstring&), then to UTF-32.
    static Utf32String toUtf32(const std::wstring& utf16);

    /// The length bytes, NULs included, widened as str_to_tstr does: no
    /// character set is decoded.
    static std::wstring convertBytesArrayToString(const unsigned char* bytes,
                                                  unsigned long length);
    /// Two lower-case digits per byte, high nibble first; bytes is not read
    /// when length is 0.
    static std::wstring convertBytesArrayToHexString(const unsigned char* bytes,
                                                     unsigned long length);
    /// Reads pairs of digits of either case into a new[] array that the
    /// caller owns on true (also when empty). An odd last character is
    /// ignored. A character that is no digit gives false, with *bytes null and
    /// length 0; a character above 255 raises the Exception of tstr_to_str
    /// ("Error on conversion tstr_to_str") before either is touched.
    static bool convertHexStringToBytesArray(const std::wstring& hex, unsigned char** bytes,
                                             unsigned int& length);

private:
    static bool getConvertHexToInt(char digit, int& value);
};

} // namespace Corvo
} // namespace Vesk

#endif
