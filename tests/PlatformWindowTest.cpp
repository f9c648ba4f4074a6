// The window, GL and code-page calls that the library relies on, called by
// their Win32 names: under Wine against the real API, on Linux against
// Corvo's POSIX layer.
#include "CorvoPlatform.h"
#include "WindowTestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

// The size asked for, the conversion, and an output one unit too small (a
// size of 0 asks for the size).
template <typename Unit, typename Convert>
void expectConversion(Convert convert, const std::basic_string<Unit>& expected)
{
    EXPECT_EQ(convert(nullptr, 0), static_cast<int>(expected.size()));
    std::vector<Unit> output(expected.size() + 1, Unit('#'));
    ASSERT_EQ(convert(output.data(), static_cast<int>(output.size())), static_cast<int>(expected.size()));
    EXPECT_EQ(std::basic_string<Unit>(output.data(), expected.size()), expected);
    if (expected.size() > 1) {
        SetLastError(0);
        EXPECT_EQ(convert(output.data(), static_cast<int>(expected.size()) - 1), 0);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    }
}

// A negative length is a terminated source: the terminator is converted and
// counted too. Each row converts both ways.
TEST(PlatformCodePage, NegativeLengthConvertsTheTerminatorToo)
{
    // The ANSI row needs code page 1252: Wine's under the tests' locale, and
    // the layer's in the "C" locale that the program starts in.
    const struct { UINT codePage; std::string narrow; std::wstring wide; bool terminated; } rows[] = {
        {CP_UTF8, "h\xC3\xA9", L"h\u00E9", true},
        {CP_UTF8, "", L"", true},
        {CP_ACP, "h\xE9", L"h\u00E9", true},
        {CP_UTF8, "h\xC3\xA9", L"h\u00E9", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.narrow + (row.terminated ? " terminated" : ""));
        const int narrowLength = row.terminated ? -1 : int(row.narrow.size());
        const int wideLength = row.terminated ? -1 : int(row.wide.size());
        expectConversion<wchar_t>(
            [&](wchar_t* output, int size) {
                return MultiByteToWideChar(row.codePage, 0, row.narrow.c_str(), narrowLength, output, size);
            },
            row.terminated ? row.wide + L'\0' : row.wide);
        expectConversion<char>(
            [&](char* output, int size) {
                return WideCharToMultiByte(row.codePage, 0, row.wide.c_str(), wideLength, output, size, nullptr, nullptr);
            },
            row.terminated ? row.narrow + '\0' : row.narrow);
    }
    // Refused: a length of 0, which is no source at all, and a size given
    // for an output that isn't there.
    const std::function<int()> refused[] = {
        [] { return MultiByteToWideChar(CP_UTF8, 0, "a", 0, nullptr, 0); },
        [] { return MultiByteToWideChar(CP_UTF8, 0, "a", 1, nullptr, 4); },
        [] { return WideCharToMultiByte(CP_UTF8, 0, L"a", 1, nullptr, 4, nullptr, nullptr); },
    };
    for (const auto& call : refused) {
        SetLastError(0);
        EXPECT_EQ(call(), 0) << &call - refused;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER)) << &call - refused;
    }
}

LRESULT CALLBACK defaultProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return DefWindowProcW(window, message, wParam, lParam);
}

// The atom, or 0 with the last error.
ATOM registerClass(const std::wstring& name)
{
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = defaultProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = name.c_str();
    SetLastError(0);
    return RegisterClassExW(&windowClass);
}

std::wstring wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// Class names are compared without regard to case, and are at most 256
// units long.
TEST(PlatformWindow, ClassNamesIgnoreCaseAndHaveAMaximum)
{
    // A name, and the same class for Windows in another case.
    const std::wstring base = wide(corvo_test::freshTitle("class"));
    for (const auto& row : {std::make_pair(base + L" case", base + L" CASE"),
                            std::make_pair(base + L" \u00E9t\u00E9", base + L" \u00C9T\u00C9")}) {
        EXPECT_NE(registerClass(row.first), 0);
        EXPECT_EQ(registerClass(row.second), 0);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CLASS_ALREADY_EXISTS));
    }
    // The length, and whether it is taken.
    for (const auto& row : {std::make_pair(255u, true), std::make_pair(256u, true), std::make_pair(257u, false)}) {
        SCOPED_TRACE(row.first);
#ifdef _WIN32
        // Wine's atoms hold 255 units; Windows documents 256 as the maximum.
        if (row.first == 256 && corvo_test::underWine())
            continue;
#endif
        std::wstring name = base + L" long ";
        name.resize(row.first, L'x');
        EXPECT_EQ(registerClass(name) != 0, row.second);
        EXPECT_EQ(GetLastError(), row.second ? 0u : static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
}

// A window finds its class whatever the case of the name; ChoosePixelFormat
// gives the closest format, also when no format has all the bits asked for.
TEST(PlatformGl, ChoosePixelFormatTakesTheClosestFormat)
{
    SKIP_WITHOUT_DISPLAY();
    const std::wstring name = wide(corvo_test::freshTitle("pixel format"));
    ASSERT_NE(registerClass(name), 0);
    std::wstring upper = name;
    for (wchar_t& unit : upper)
        unit = unit >= L'a' && unit <= L'z' ? unit - L'a' + L'A' : unit;
    const HWND window = CreateWindowExW(0, upper.c_str(), L"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 200,
                                        100, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(window, nullptr);
    const HDC deviceContext = GetDC(window);
    const struct { const char* what; BYTE colour, depth, alpha, stencil; } rows[] = {
        {"the usual", 32, 16, 0, 0},
        {"more depth than any", 32, 64, 0, 0},
        {"more alpha than any", 32, 16, 64, 0},
        {"more stencil than any", 32, 16, 0, 64},
    };
    for (const auto& row : rows) {
        PIXELFORMATDESCRIPTOR format = {};
        format.nSize = sizeof format;
        format.nVersion = 1;
        format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
        format.iPixelType = PFD_TYPE_RGBA;
        format.cColorBits = row.colour;
        format.cDepthBits = row.depth;
        format.cAlphaBits = row.alpha;
        format.cStencilBits = row.stencil;
        EXPECT_NE(ChoosePixelFormat(deviceContext, &format), 0) << row.what;
    }
    EXPECT_NE(DestroyWindow(window), 0);
}

} // namespace
