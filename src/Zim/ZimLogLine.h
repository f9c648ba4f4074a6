// Pieces of a log line that the file policies share.
#ifndef ZIM_LOG_LINE_H
#define ZIM_LOG_LINE_H

#include <string>

namespace Vesk {
namespace Zim {
namespace LogLine {

// The calling thread's number in decimal: the first column of every line.
std::string threadNumber();

// Wide text as UTF-8, up to its first NUL. The elements are UTF-16 units,
// pairs of surrogates included; where wchar_t is 32 bits an element above
// 0xFFFF is taken as a whole code point. What is neither becomes U+FFFD.
std::string wideToUtf8(const std::wstring& text);

} // namespace LogLine
} // namespace Zim
} // namespace Vesk

#endif
