// The window, GL and code-page calls that the library relies on, called by
// their Win32 names: under Wine against the real API, on Linux against
// Corvo's POSIX layer.
#include "CorvoPlatform.h"
#include "WindowTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A negative length is a terminated source: the terminator is converted and
// counted too. The explicit length of the last rows leaves it out.
struct ToWide
{
    UINT codePage;
    std::string source;
    int length;
    std::wstring converted;
};

struct ToNarrow
{
    UINT codePage;
    std::wstring source;
    int length;
    std::string converted;
};

// The size asked for, the conversion, and an output one unit too small (a
// size of 0 asks for the size).
template <typename Unit, typename Convert>
void expectConversion(Convert convert, const std::basic_string<Unit>& expected, const std::string& row)
{
    SCOPED_TRACE(row);
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

TEST(PlatformCodePage, NegativeLengthConvertsTheTerminatorToo)
{
    // The ANSI rows need code page 1252: Wine's under the tests' locale, and
    // the layer's in the "C" locale that the program starts in.
    const std::vector<ToWide> toWide = {
        {CP_UTF8, std::string("h\xC3\xA9", 3), -1, std::wstring(L"h\u00E9\0", 3)},
        {CP_UTF8, std::string(), -1, std::wstring(1, L'\0')},
        {CP_ACP, std::string("h\xE9", 2), -1, std::wstring(L"h\u00E9\0", 3)},
        {CP_UTF8, std::string("h\xC3\xA9", 3), 3, std::wstring(L"h\u00E9", 2)},
    };
    for (const ToWide& row : toWide)
        expectConversion<wchar_t>(
            [&](wchar_t* output, int size) {
                return MultiByteToWideChar(row.codePage, 0, row.source.c_str(), row.length, output, size);
            },
            row.converted, "to wide: " + row.source + " " + std::to_string(row.length));

    const std::vector<ToNarrow> toNarrow = {
        {CP_UTF8, L"h\u00E9", -1, std::string("h\xC3\xA9\0", 4)},
        {CP_UTF8, L"", -1, std::string(1, '\0')},
        {CP_ACP, L"h\u00E9", -1, std::string("h\xE9\0", 3)},
        {CP_UTF8, L"h\u00E9", 2, std::string("h\xC3\xA9", 3)},
    };
    for (const ToNarrow& row : toNarrow)
        expectConversion<char>(
            [&](char* output, int size) {
                return WideCharToMultiByte(row.codePage, 0, row.source.c_str(), row.length, output, size, nullptr,
                                           nullptr);
            },
            row.converted, "to narrow: " + row.converted + " " + std::to_string(row.length));

    // A length of 0 is no source at all.
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a", 0, nullptr, 0), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
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
    struct Row
    {
        std::wstring registered;
        std::wstring again; // the same class for Windows, whatever its case
    };
    const std::wstring base = wide(corvo_test::freshTitle("class"));
    const std::vector<Row> sameClass = {
        {base + L" case", base + L" CASE"},
        {base + L" \u00E9t\u00E9", base + L" \u00C9T\u00C9"},
    };
    for (const Row& row : sameClass) {
        EXPECT_NE(registerClass(row.registered), 0);
        EXPECT_EQ(registerClass(row.again), 0);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CLASS_ALREADY_EXISTS));
    }

    struct Length
    {
        std::size_t units;
        bool taken;
    };
    for (const Length& row : {Length{255, true}, Length{256, true}, Length{257, false}}) {
        SCOPED_TRACE(row.units);
#ifdef _WIN32
        // Wine's atoms hold 255 units; Windows documents 256 as the maximum.
        if (row.units == 256 && corvo_test::underWine())
            continue;
#endif
        std::wstring name = base + L" long ";
        name.resize(row.units, L'x');
        EXPECT_EQ(registerClass(name) != 0, row.taken);
        EXPECT_EQ(GetLastError(), row.taken ? 0u : static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
}

TEST(PlatformWindow, WindowFindsItsClassWhateverTheCase)
{
    SKIP_WITHOUT_DISPLAY();
    const std::wstring name = wide(corvo_test::freshTitle("Case"));
    ASSERT_NE(registerClass(name), 0);
    std::wstring upper = name;
    for (wchar_t& unit : upper)
        unit = unit >= L'a' && unit <= L'z' ? unit - L'a' + L'A' : unit;
    const HWND window = CreateWindowExW(0, upper.c_str(), L"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 200,
                                        100, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(window, nullptr);
    EXPECT_NE(DestroyWindow(window), 0);
}

// ChoosePixelFormat gives the closest format, also when no format has all
// the bits asked for.
TEST(PlatformGl, ChoosePixelFormatTakesTheClosestFormat)
{
    SKIP_WITHOUT_DISPLAY();
    const std::wstring name = wide(corvo_test::freshTitle("pixel format"));
    ASSERT_NE(registerClass(name), 0);
    const HWND window = CreateWindowExW(0, name.c_str(), L"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 200,
                                        100, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(window, nullptr);
    const HDC deviceContext = GetDC(window);
    struct Row
    {
        const char* what;
        BYTE colour, depth, alpha, stencil;
    };
    const Row rows[] = {
        {"the usual", 32, 16, 0, 0},
        {"more depth than any", 32, 64, 0, 0},
        {"more alpha than any", 32, 16, 64, 0},
        {"more stencil than any", 32, 16, 0, 64},
    };
    for (const Row& row : rows) {
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
