// Pieces of a log line that the file policies share.
#include "ZimLogLine.h"

#include "CorvoWideText.h"

#include <cwchar>

namespace Vesk {
namespace Zim {
namespace LogLine {

std::string wideToUtf8(const std::wstring& text)
{
    std::string bytes;
    Corvo::appendUtf8(bytes, text.c_str(), std::wcslen(text.c_str()), Corvo::BadUnit::Replace);
    return bytes;
}

} // namespace LogLine
} // namespace Zim
} // namespace Vesk
