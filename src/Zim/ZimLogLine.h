// Pieces of a log line that the file policies share.
#ifndef ZIM_LOG_LINE_H
#define ZIM_LOG_LINE_H

#include <string>

namespace Vesk {
namespace Zim {
namespace LogLine {

// Wide text as UTF-8, up to its first NUL, by the rule of appendUtf8
// (CorvoWideText.h): what is not UTF-16 becomes U+FFFD.
std::string wideToUtf8(const std::wstring& text);

} // namespace LogLine
} // namespace Zim
} // namespace Vesk

#endif
