// The wide string helpers.
#include "CorvoString.h"
#include "CorvoException.h"
#include "CorvoRaise.h"

#include <algorithm>
#include <cstdint>
#include <locale>
#include <sstream>

namespace Vesk {
namespace Corvo {

namespace {

bool isSpace(wchar_t character) { return std::isspace(character, std::locale()); }

// The base values of isNumeric are fixed numbers, not this platform's values
// of the stream flags, so that callers pass the same number everywhere.
bool isNumericBase(int base) { return base == 512 || base == 1024 || base == 2048; }

} // namespace

std::wostream& tendl(std::wostream& out) { return out << std::endl; }

std::wstring str_to_tstr(const std::string& text)
{
    std::wstring result;
    result.reserve(text.size());
    for (const char byte : text) {
        // Through int16_t and uint16_t, so that the high bits beyond 16 stay
        // clear where wchar_t is 32 bits wide.
        const auto extended = static_cast<std::uint16_t>(static_cast<std::int16_t>(
            static_cast<signed char>(byte)));
        result += static_cast<wchar_t>(extended);
    }
    return result;
}

std::string tstr_to_str(const std::wstring& text)
{
    std::string result;
    result.reserve(text.size());
    for (const wchar_t character : text) {
        // Unsigned, so that a negative wchar_t (signed on Linux) counts as
        // above 255.
        if (static_cast<std::uint32_t>(character) > 255)
            CORVO_RAISE(Exception, "Error on conversion tstr_to_str");
        result += static_cast<char>(character);
    }
    return result;
}

std::wstring tstr_to_wstr(const std::wstring& text) { return text; }

std::wstring wstr_to_tstr(const std::wstring& text) { return text; }

std::wstring& operator+(std::wstring& text, const int& value)
{
    std::wostringstream stream;
    stream << value;
    return text += stream.str();
}

std::wstring& trimLeft(std::wstring& text)
{
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isSpace));
    return text;
}

std::wstring& trimRight(std::wstring& text)
{
    text.erase(std::find_if_not(text.rbegin(), text.rend(), isSpace).base(), text.end());
    return text;
}

std::wstring& trim(std::wstring& text) { return trimRight(trimLeft(text)); }

std::wstring trim(const std::wstring& text)
{
    std::wstring copy(text);
    return trim(copy);
}

std::wstring& replaceIn(std::wstring& text, const std::wstring& search,
                        const std::wstring& replacement)
{
    if (search.empty())
        return text;
    std::wstring::size_type position = 0;
    while (position < text.size()) {
        position = text.find(search, position);
        if (position == std::wstring::npos)
            break;
        text.replace(position, search.size(), replacement);
        position += replacement.size();
    }
    return text;
}

bool isNumeric(const std::wstring& text, int base)
{
    if (!isNumericBase(base))
        return false;
    std::wistringstream stream(text);
    double value;
    stream >> value;
    return !stream.fail() && stream.rdbuf()->in_avail() == 0;
}

} // namespace Corvo
} // namespace Vesk
