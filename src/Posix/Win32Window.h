// Windows, window classes and the message queue (USER32), for the POSIX
// layer, on Xlib.
#ifndef CORVO_POSIX_WIN32_WINDOW_H
#define CORVO_POSIX_WIN32_WINDOW_H

#include "Win32Base.h"

#include <cstdint>

typedef void* HWND;
typedef void* HDC;
typedef void* HICON;
typedef void* HCURSOR;
typedef void* HBRUSH;
typedef void* HMENU;
typedef WORD ATOM;
typedef std::intptr_t INT_PTR;
typedef std::intptr_t LONG_PTR;
typedef std::uintptr_t UINT_PTR;
typedef LONG_PTR LRESULT;
typedef LONG_PTR LPARAM;
typedef UINT_PTR WPARAM;

#define CALLBACK
typedef LRESULT(CALLBACK* WNDPROC)(HWND, UINT, WPARAM, LPARAM);

struct WNDCLASSEXW
{
    UINT cbSize;
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCWSTR lpszMenuName;
    LPCWSTR lpszClassName;
    HICON hIconSm;
};

struct POINT
{
    LONG x;
    LONG y;
};

struct RECT
{
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

struct MSG
{
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};

#define MAKEINTRESOURCEW(id) (reinterpret_cast<LPCWSTR>(static_cast<UINT_PTR>(id)))
#define COLOR_WINDOW 5

#define WS_EX_CLIENTEDGE 0x00000200L
#define WS_OVERLAPPEDWINDOW 0x00CF0000L
#define CW_USEDEFAULT (static_cast<int>(0x80000000))
#define SW_HIDE 0
#define SW_SHOW 5
#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001

#define WM_DESTROY 0x0002
#define WM_SIZE 0x0005
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_QUIT 0x0012
#define WM_SHOWWINDOW 0x0018

#define ERROR_INVALID_WINDOW_HANDLE 1400u
#define ERROR_CANNOT_FIND_WND_CLASS 1407u
#define ERROR_CLASS_ALREADY_EXISTS 1410u

// Stock resources are named, never drawn: the result only has to be valid.
HICON LoadIconW(HINSTANCE instance, LPCWSTR name);
HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name);

// Classes are kept per process by name, whatever its case ("Name" and "NAME"
// are one class); a name registered twice is refused with
// ERROR_CLASS_ALREADY_EXISTS, one of more than 256 units with
// ERROR_INVALID_PARAMETER, and nothing unregisters one.
ATOM RegisterClassExW(const WNDCLASSEXW* windowClass);

// An X window of the client area: the outer size less a nominal frame, as
// GetClientRect reports it. The window name is the caption, and the window
// takes part in the window manager's close protocol. Null, with the last
// error set, when the class is unknown or no X display can be opened (or
// the server has gone).
HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR windowName, DWORD style, int x,
                     int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                     LPVOID parameter);
// Sends WM_DESTROY to the window's procedure, then ends the X window and
// drops its queued messages.
BOOL DestroyWindow(HWND window);
// Maps or unmaps the window; the result tells whether it was visible.
BOOL ShowWindow(HWND window, int command);
BOOL UpdateWindow(HWND window);
BOOL IsWindowVisible(HWND window);
// The client area, from the X window's geometry; FALSE for a dead window.
BOOL GetClientRect(HWND window, RECT* rectangle);
// A window's device context is the window itself here.
HDC GetDC(HWND window);

// Messages of the calling thread. The queue fills from the X connection:
// Expose gives WM_PAINT, a size change WM_SIZE, mapping and unmapping
// WM_SHOWWINDOW. The window manager's WM_DELETE_WINDOW is a sent WM_CLOSE,
// as the close box is on Windows: it goes to the window procedure in here,
// and is never returned. WM_QUIT comes when nothing else is waiting. When
// the X server has gone, each window of the thread is destroyed in here (it
// gets WM_DESTROY), and the window calls fail with
// ERROR_INVALID_WINDOW_HANDLE from then on. No window filter and no range
// are supported: pass null, 0 and 0.
BOOL PeekMessageW(MSG* message, HWND window, UINT filterMin, UINT filterMax, UINT removal);
BOOL TranslateMessage(const MSG* message);
// Calls the procedure of the message's window class.
LRESULT DispatchMessageW(const MSG* message);
// WM_CLOSE destroys the window; everything else is ignored, with 0.
LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
void PostQuitMessage(int exitCode);

#endif
