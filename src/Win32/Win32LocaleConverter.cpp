// Win32LocaleConverter: each platform conversion runs twice, once for the
// size and once into a buffer of that size. Results are not examined: a
// failed conversion leaves the zero-filled buffer, and so an empty text.
#include "CorvoLocaleConverter.h"
#include "CorvoPlatform.h"

#include <vector>

namespace Vesk {
namespace Corvo {

Win32LocaleConverter::~Win32LocaleConverter() {}

Utf8String Win32LocaleConverter::ansiToUtf8(const std::string& text)
{
    return Utf16ToUtf8(ansiToUtf16(text));
}

std::wstring Win32LocaleConverter::ansiToUtf16(const std::string& text)
{
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    // One unit more than needed, so that the text is terminated whatever
    // the platform wrote.
    std::vector<WCHAR> buffer(static_cast<std::size_t>(size) + 1, 0);
    MultiByteToWideChar(CP_ACP, 0, text.data(), length, buffer.data(), size);
    return std::wstring(buffer.data());
}

Utf8String Win32LocaleConverter::Utf16ToUtf8(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::vector<char> buffer(static_cast<std::size_t>(size) + 1, 0);
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, buffer.data(), size, nullptr, nullptr);
    return Utf8String(buffer.data());
}

} // namespace Corvo
} // namespace Vesk
