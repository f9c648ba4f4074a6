/// \file
/// Helpers for std::wstring, the form in which the platform classes talk to
/// the operating system: widening and narrowing without any code page,
/// trimming, replacing, a numeric test and an integer append. Nothing logs.
#ifndef CORVO_STRING_H
#define CORVO_STRING_H

#include "CorvoExport.h"

#include <ostream>
#include <string>

namespace Vesk {
namespace Corvo {

/// std::endl for wide streams.
CORVO_API std::wostream& tendl(std::wostream& out);

/// One wide character per byte, embedded NULs included. Each byte is taken as
/// a signed 8-bit value and extended to 16 bits, so 0xE9 becomes 0xFFE9 (not
/// U+00E9) on every platform: this is no decoding of a character set.
CORVO_API std::wstring str_to_tstr(const std::string& text);

/// One byte per wide character. A character above 255 cannot be narrowed and
/// raises Exception "Error on conversion tstr_to_str"; so bytes from 0x80 up
/// do not survive str_to_tstr and back.
CORVO_API std::string tstr_to_str(const std::wstring& text);

/// Copies: the wide form of the platform and std::wstring are one type.
///@{
CORVO_API std::wstring tstr_to_wstr(const std::wstring& text);
CORVO_API std::wstring wstr_to_tstr(const std::wstring& text);
///@}

/// Appends the decimal text of value to text itself and returns text: unlike
/// the usual +, the left operand changes.
CORVO_API std::wstring& operator+(std::wstring& text, const int& value);

/// White space is what the global locale's ctype<wchar_t> calls space at the
/// time of the call. Removes the white space at the start, in place.
CORVO_API std::wstring& trimLeft(std::wstring& text);
/// Removes the white space at the end, in place.
CORVO_API std::wstring& trimRight(std::wstring& text);
/// Removes the white space at both ends, in place.
CORVO_API std::wstring& trim(std::wstring& text);
/// A copy without the white space at both ends.
CORVO_API std::wstring trim(const std::wstring& text);

/// Replaces every occurrence of search, left to right. Inserted text is not
/// searched again, so a replacement that contains search does not grow
/// without end. An empty search changes nothing.
CORVO_API std::wstring& replaceIn(std::wstring& text, const std::wstring& search,
                                  const std::wstring& replacement);

/// Whether the whole of text reads as one decimal floating-point number
/// (leading white space allowed, trailing not). base must be 512, 1024 or
/// 2048 (the Windows values of std::ios_base::dec, oct and hex) on every
/// platform; all three read decimal, and any other base gives false.
CORVO_API bool isNumeric(const std::wstring& text, int base);

} // namespace Corvo
} // namespace Vesk

#endif
