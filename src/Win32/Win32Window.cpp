// Win32Window: a window class per title, one window of it, and the pump of
// the calling thread's message queue.
#include "CorvoWindow.h"
#include "CorvoException.h"
#include "CorvoRaise.h"
#include "CorvoString.h"
#include "PlatformSupport.h"

namespace Vesk {
namespace Corvo {

namespace {

// IDI_APPLICATION and IDC_ARROW, spelt for the wide calls whatever the
// build's character set.
const LPCWSTR stockApplicationIcon = MAKEINTRESOURCEW(32512);
const LPCWSTR stockArrow = MAKEINTRESOURCEW(32512);

// The procedure registered with the platform, with the platform's exact
// signature, so that no function pointer is called through another type.
LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return Win32Window::WndProc(window, message, wParam, lParam);
}

} // namespace

Win32Window::Win32Window(WindowHandle display) : m_windowClass(), m_display(display) {}

Win32Window::~Win32Window() {}

void Win32Window::create(const long& width, const long& height, std::string title)
{
    const std::wstring wideTitle = str_to_tstr(title);

    // The record keeps pointing at the title after this call; only
    // RegisterClassExW reads the name, and it copies it.
    WNDCLASSEXW* windowClass = new (detail::platformObject<WNDCLASSEXW>(m_windowClass)) WNDCLASSEXW();
    windowClass->cbSize = sizeof(WNDCLASSEXW);
    windowClass->style = 0;
    windowClass->lpfnWndProc = windowProcedure;
    windowClass->cbClsExtra = 0;
    windowClass->cbWndExtra = 0;
    windowClass->hInstance = GetModuleHandleW(nullptr);
    windowClass->hIcon = LoadIconW(nullptr, stockApplicationIcon);
    windowClass->hCursor = LoadCursorW(nullptr, stockArrow);
    windowClass->hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
    windowClass->lpszMenuName = nullptr;
    windowClass->lpszClassName = wideTitle.c_str();
    windowClass->hIconSm = LoadIconW(nullptr, stockApplicationIcon);

    if (RegisterClassExW(windowClass) == 0)
        CORVO_RAISE(Exception, "Win32Window::Exception: error registering the class [" +
                                   tstr_to_str(wideTitle) + "]");

    m_display = CreateWindowExW(WS_EX_CLIENTEDGE, wideTitle.c_str(), wideTitle.c_str(),
                                WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                                static_cast<int>(width), static_cast<int>(height), nullptr,
                                nullptr, GetModuleHandleW(nullptr), nullptr);
    if (m_display == nullptr)
        CORVO_RAISE(Exception, "Win32Window::Exception: error creating the window");
}

void Win32Window::destroy() { DestroyWindow(static_cast<HWND>(m_display)); }

void Win32Window::show()
{
    ShowWindow(static_cast<HWND>(m_display), SW_SHOW);
    UpdateWindow(static_cast<HWND>(m_display));
}

void Win32Window::hide()
{
    ShowWindow(static_cast<HWND>(m_display), SW_HIDE);
    UpdateWindow(static_cast<HWND>(m_display));
}

bool Win32Window::capture(bool once)
{
    bool result = false;
    MSG message;
    for (;;) {
        if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == WM_QUIT || message.message == WM_CLOSE)
                result = true;
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        if (once || result)
            return result;
    }
}

WindowHandle Win32Window::getDisplay() const { return m_display; }

SIntPtr_t CORVO_CALLBACK Win32Window::WndProc(WindowHandle window, unsigned int message,
                                              IntPtr_t wParam, SIntPtr_t lParam)
{
    switch (message) {
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    case WM_CLOSE:
        DestroyWindow(static_cast<HWND>(window));
        return 0;
    default:
        return DefWindowProcW(static_cast<HWND>(window), message, wParam, lParam);
    }
}

} // namespace Corvo
} // namespace Vesk
