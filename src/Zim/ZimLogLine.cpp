// Pieces of a log line that the file policies share.
#include "ZimLogLine.h"

#include "CorvoPlatform.h"

#include <iterator>
#include <sstream>

#include <utf8.h>

namespace Vesk {
namespace Zim {
namespace LogLine {

std::string threadNumber()
{
    std::ostringstream number;
    number << static_cast<unsigned long long>(GetCurrentThreadId());
    return number.str();
}

std::string wideToUtf8(const std::wstring& text)
{
    std::string bytes;
    std::back_insert_iterator<std::string> out(bytes);
    for (const wchar_t* p = text.c_str(); *p; ++p) {
        unsigned long unit = static_cast<unsigned long>(*p);
        if (unit >= 0xD800 && unit <= 0xDBFF && p[1] >= 0xDC00 && p[1] <= 0xDFFF) {
            unit = 0x10000 + ((unit - 0xD800) << 10) + (static_cast<unsigned long>(*++p) - 0xDC00);
        } else if ((unit >= 0xD800 && unit <= 0xDFFF) || unit > 0x10FFFF) {
            unit = 0xFFFD;
        }
        out = utf8::append(static_cast<utf8::uint32_t>(unit), out);
    }
    return bytes;
}

} // namespace LogLine
} // namespace Zim
} // namespace Vesk
