// Pieces of a log line that the file policies share.
#include "ZimLogLine.h"

#include "CorvoPlatform.h"
#include "CorvoWideText.h"

#include <cwchar>
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
    Corvo::appendUtf8(bytes, text.c_str(), std::wcslen(text.c_str()), Corvo::BadUnit::Replace);
    return bytes;
}

} // namespace LogLine
} // namespace Zim
} // namespace Vesk
