// Converter. The Unicode forms go through utfcpp (wide text through
// appendUtf8, which reads the units and lets utfcpp encode), whose exceptions pass to
// the caller untouched; nothing here catches.
#include "CorvoConverter.h"
#include "CorvoLocaleConverter.h"
#include "CorvoString.h"
#include "CorvoWideText.h"

#include <cstdint>
#include <iterator>
#include <memory>

namespace Vesk {
namespace Corvo {

namespace {

// utfcpp keeps the low 32 bits of a UTF-32 element. Where unsigned long is
// wider, a value that does not fit would silently become another character,
// so it is refused first, as utfcpp refuses the values it sees as invalid.
void requireUtf32Values(const Converter::Utf32String& text)
{
    for (const unsigned long value : text) {
        if (static_cast<std::uint32_t>(value) != value)
            throw utf8::invalid_code_point(static_cast<utf8::uint32_t>(value));
    }
}

const char* endOf(const Utf8String& text) { return text.c_str() + text.bytes(); }

} // namespace

Utf8String Converter::toUtf8(const std::string& ansi) { return Win32LocaleConverter::ansiToUtf8(ansi); }

Utf8String Converter::toUtf8(const std::wstring& utf16)
{
    std::string bytes;
    appendUtf8(bytes, utf16.data(), utf16.size(), BadUnit::Throw);
    return Utf8String(bytes);
}

Utf8String Converter::toUtf8(const Utf32String& utf32)
{
    requireUtf32Values(utf32);
    std::string bytes;
    utf8::utf32to8(utf32.begin(), utf32.end(), std::back_inserter(bytes));
    return Utf8String(bytes);
}

std::wstring Converter::toUtf16(const Utf8String& utf8)
{
    std::wstring units;
    utf8::utf8to16(utf8.c_str(), endOf(utf8), std::back_inserter(units));
    return units;
}

std::wstring Converter::toUtf16(const Utf32String& utf32) { return toUtf16(toUtf8(utf32)); }

Converter::Utf32String Converter::toUtf32(const Utf8String& utf8)
{
    Utf32String values;
    utf8::utf8to32(utf8.c_str(), endOf(utf8), std::back_inserter(values));
    return values;
}

Converter::Utf32String Converter::toUtf32(const std::wstring& utf16) { return toUtf32(toUtf8(utf16)); }

std::wstring Converter::convertBytesArrayToString(const unsigned char* bytes, unsigned long length)
{
    if (length == 0)
        return std::wstring();
    return str_to_tstr(std::string(reinterpret_cast<const char*>(bytes), length));
}

std::wstring Converter::convertBytesArrayToHexString(const unsigned char* bytes,
                                                     unsigned long length)
{
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * length);
    for (unsigned long i = 0; i < length; ++i) {
        hex += digits[bytes[i] >> 4];
        hex += digits[bytes[i] & 0x0F];
    }
    return str_to_tstr(hex);
}

bool Converter::convertHexStringToBytesArray(const std::wstring& hex, unsigned char** bytes,
                                             unsigned int& length)
{
    const std::string narrow = tstr_to_str(hex);
    const unsigned int count = static_cast<unsigned int>(narrow.size() / 2);
    std::unique_ptr<unsigned char[]> array(new unsigned char[count]);
    for (unsigned int i = 0; i < count; ++i) {
        int high;
        int low;
        if (!getConvertHexToInt(narrow[2 * i], high) || !getConvertHexToInt(narrow[2 * i + 1], low)) {
            *bytes = nullptr;
            length = 0;
            return false;
        }
        array[i] = static_cast<unsigned char>(high * 16 + low);
    }
    *bytes = array.release();
    length = count;
    return true;
}

bool Converter::getConvertHexToInt(char digit, int& value)
{
    value = 0;
    if (digit >= '0' && digit <= '9')
        value = digit - '0';
    else if (digit >= 'A' && digit <= 'F')
        value = digit - 'A' + 10;
    else if (digit >= 'a' && digit <= 'f')
        value = digit - 'a' + 10;
    else
        return false;
    return true;
}

} // namespace Corvo
} // namespace Vesk
