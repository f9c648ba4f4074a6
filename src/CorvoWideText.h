// Wide text to UTF-8: the one conversion behind Converter, the POSIX code
// page layer and the log files. Internal to the library.
#ifndef CORVO_WIDE_TEXT_H
#define CORVO_WIDE_TEXT_H

#include <cstddef>
#include <string>

namespace Vesk {
namespace Corvo {

// What becomes of an element that is not well-formed UTF-16.
enum class BadUnit
{
    Replace, // U+FFFD, and the conversion goes on with the next element
    Throw    // utf8::invalid_utf16 with the unit that utf8::utf16to8 names
};

// Appends the UTF-8 form of `length` elements at `text` to `out`.
//
// Every element is one UTF-16 unit, on every platform: a lead surrogate
// followed by a trail surrogate is one code point from 0x10000 up. A lone
// surrogate is bad, and so is an element above 0xFFFF, which a 32-bit
// wchar_t can hold but no UTF-16 unit can; it is not read as a code point,
// so the result is the same on every platform for the same units.
void appendUtf8(std::string& out, const wchar_t* text, std::size_t length, BadUnit bad);

} // namespace Corvo
} // namespace Vesk

#endif
