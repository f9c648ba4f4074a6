// Windows, window classes and per-thread message queues on Xlib, for the
// POSIX layer. One X connection serves the process; the events read from
// it go to the queue of the thread that created the window.
#include "Win32Window.h"
#include "PosixSupport.h"
#include "Win32CodePage.h"
#include "Win32Thread.h"
#include "X11Session.h"

#include <X11/Xutil.h>
#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

struct WindowState : X11Window
{
    WNDPROC procedure;
    DWORD thread;
    int width;
    int height;
    bool destroying;
};

struct Queue
{
    // Sent messages go to the window procedure inside PeekMessageW, before
    // any posted one is returned, as Windows delivers them.
    std::deque<MSG> sent;
    std::deque<MSG> messages;
    bool quit = false;
    int exitCode = 0;
};

struct Connection
{
    ::Display* display = nullptr;
    Atom protocols = None;
    Atom deleteWindow = None;
};

// Never destroyed: windows and queues may be in use while statics go.
struct Tables
{
    std::mutex lock;
    // By the upper-case form of the name: class names match whatever their case.
    std::map<std::wstring, WNDPROC> classes;
    std::map<::Window, WindowState> windows;
    std::map<DWORD, Queue> queues;
    ATOM nextAtom = 0xC000;
};

Tables& tables()
{
    static Tables* instance = new Tables;
    return *instance;
}

std::atomic<unsigned long> errorCount{0};

int countError(::Display*, XErrorEvent*)
{
    ++errorCount;
    return 0;
}

// The server going away must not end the process, as Xlib's default I/O
// error handling does: the layer's connection is marked lost, and from then
// on Xlib's calls on it return at once. The handler is process-wide, so a
// connection of the program's own still gets the handler it had.
std::atomic<::Display*> layerDisplay{nullptr};
std::atomic<bool> lost{false};
XIOErrorHandler previousIoErrorHandler = nullptr;

int onIoError(::Display* display)
{
    if (display == layerDisplay)
        return 0;
    return previousIoErrorHandler != nullptr ? previousIoErrorHandler(display) : 0;
}

void onIoErrorExit(::Display*, void*) { lost = true; }

const Connection& connection()
{
    static const Connection instance = [] {
        Connection opened;
        XInitThreads();
        XSetErrorHandler(countError);
        opened.display = XOpenDisplay(nullptr);
        if (opened.display != nullptr) {
            layerDisplay = opened.display;
            previousIoErrorHandler = XSetIOErrorHandler(onIoError);
            XSetIOErrorExitHandler(opened.display, onIoErrorExit, nullptr);
            opened.protocols = XInternAtom(opened.display, "WM_PROTOCOLS", False);
            opened.deleteWindow = XInternAtom(opened.display, "WM_DELETE_WINDOW", False);
        }
        return opened;
    }();
    return instance;
}

HWND handleOf(::Window id) { return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(id)); }

::Window idOf(HWND window) { return static_cast<::Window>(reinterpret_cast<std::uintptr_t>(window)); }

WindowState* find(HWND window)
{
    auto found = tables().windows.find(idOf(window));
    return found == tables().windows.end() ? nullptr : &found->second;
}

// A window that can still be used: once the server has gone, none is,
// though each stays in the table until its thread has destroyed it.
WindowState* live(HWND window) { return lost ? nullptr : find(window); }

// Once, after the server has gone: every window is destroyed on its own
// thread, from its next PeekMessageW, as DestroyWindow would.
void noteLoss()
{
    static bool noted = false;
    if (!lost || noted)
        return;
    noted = true;
    for (const auto& entry : tables().windows)
        if (!entry.second.destroying)
            tables().queues[entry.second.thread].sent.push_back(
                MSG{handleOf(entry.first), WM_DESTROY, 0, 0, 0, POINT{0, 0}});
}

// Windows compares class names without regard to case, by its own
// upper-case table; the C.UTF-8 locale's is the same for every letter of
// the BMP whatever the program's locale.
std::wstring classKey(LPCWSTR name)
{
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    std::wstring key(name);
    for (wchar_t& unit : key)
        if (unit < 0xD800 || (unit > 0xDFFF && unit <= 0xFFFF))
            unit = utf8 != nullptr ? towupper_l(static_cast<wint_t>(unit), utf8)
                                   : (unit >= L'a' && unit <= L'z' ? unit - L'a' + L'A' : unit);
    return key;
}

// The longest class name that RegisterClassExW takes.
const std::size_t maxClassName = 256;

// The frame that Windows draws around the client area of an overlapped
// window with a client edge: borders, client edge and caption.
const int frameWidth = 2 * (4 + 2);
const int frameHeight = frameWidth + 20;

int clientExtent(int outer, int frame) { return std::clamp(outer - frame, 1, 32767); }

std::string utf8Of(LPCWSTR text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::vector<char> bytes(static_cast<std::size_t>(std::max(size, 1)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), size, nullptr, nullptr);
    return std::string(bytes.data());
}

void post(const WindowState& window, UINT message, WPARAM wParam, LPARAM lParam)
{
    Queue& queue = tables().queues[window.thread];
    const HWND handle = handleOf(window.id);
    // One WM_PAINT at a time, as Windows keeps it.
    if (message == WM_PAINT)
        for (const MSG& waiting : queue.messages)
            if (waiting.hwnd == handle && waiting.message == WM_PAINT)
                return;
    queue.messages.push_back(MSG{handle, message, wParam, lParam, 0, POINT{0, 0}});
}

// Moves what the X server has sent into the queues; x11Lock held.
void readEvents(const Connection& x)
{
    while (XPending(x.display) > 0) {
        XEvent event;
        XNextEvent(x.display, &event);
        WindowState* window = find(handleOf(event.xany.window));
        if (window == nullptr || window->destroying)
            continue;
        switch (event.type) {
        case Expose:
            if (event.xexpose.count == 0)
                post(*window, WM_PAINT, 0, 0);
            break;
        case ConfigureNotify:
            if (event.xconfigure.width != window->width || event.xconfigure.height != window->height) {
                window->width = event.xconfigure.width;
                window->height = event.xconfigure.height;
                post(*window, WM_SIZE, 0, (window->height << 16) | window->width);
            }
            break;
        case MapNotify:
            post(*window, WM_SHOWWINDOW, TRUE, 0);
            break;
        case UnmapNotify:
            post(*window, WM_SHOWWINDOW, FALSE, 0);
            break;
        case ClientMessage:
            // The close box: Windows sends WM_CLOSE to the procedure, it
            // doesn't post it.
            if (event.xclient.message_type == x.protocols &&
                static_cast<Atom>(event.xclient.data.l[0]) == x.deleteWindow)
                tables().queues[window->thread].sent.push_back(
                    MSG{handleOf(window->id), WM_CLOSE, 0, 0, 0, POINT{0, 0}});
            break;
        default:
            break;
        }
    }
}

bool isMapped(::Display* display, ::Window id)
{
    XWindowAttributes attributes;
    return XGetWindowAttributes(display, id, &attributes) != 0 && attributes.map_state != IsUnmapped;
}

} // namespace

::Display* x11Display() { return connection().display; }

unsigned long x11ErrorCount() { return errorCount; }

bool x11Succeeded(unsigned long errorsBefore)
{
    XSync(x11Display(), False);
    return errorCount == errorsBefore;
}

std::mutex& x11Lock() { return tables().lock; }

X11Window* x11Window(HWND window) { return live(window); }

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

using namespace Vesk::Corvo::Posix;

HICON LoadIconW(HINSTANCE, LPCWSTR name) { return const_cast<WCHAR*>(name); }

HCURSOR LoadCursorW(HINSTANCE, LPCWSTR name) { return const_cast<WCHAR*>(name); }

ATOM RegisterClassExW(const WNDCLASSEXW* windowClass)
{
    if (windowClass == nullptr || windowClass->cbSize != sizeof(WNDCLASSEXW) ||
        windowClass->lpszClassName == nullptr || windowClass->lpfnWndProc == nullptr)
        return fail(ERROR_INVALID_PARAMETER, ATOM(0));
    if (std::char_traits<WCHAR>::length(windowClass->lpszClassName) > maxClassName)
        return fail(ERROR_INVALID_PARAMETER, ATOM(0));
    std::lock_guard<std::mutex> guard(x11Lock());
    if (!tables().classes.emplace(classKey(windowClass->lpszClassName), windowClass->lpfnWndProc).second)
        return fail(ERROR_CLASS_ALREADY_EXISTS, ATOM(0));
    return tables().nextAtom++;
}

HWND CreateWindowExW(DWORD, LPCWSTR className, LPCWSTR windowName, DWORD, int, int, int width,
                     int height, HWND, HMENU, HINSTANCE, LPVOID)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    auto registered = className == nullptr ? tables().classes.end() : tables().classes.find(classKey(className));
    if (registered == tables().classes.end())
        return fail(ERROR_CANNOT_FIND_WND_CLASS, static_cast<HWND>(nullptr));
    const Connection& x = connection();
    if (x.display == nullptr || lost)
        return fail(ERROR_GEN_FAILURE, static_cast<HWND>(nullptr));

    const int screen = DefaultScreen(x.display);
    XSetWindowAttributes attributes = {};
    attributes.event_mask = ExposureMask | StructureNotifyMask;
    attributes.background_pixel = WhitePixel(x.display, screen);
    const int clientWidth = clientExtent(width, frameWidth);
    const int clientHeight = clientExtent(height, frameHeight);
    const ::Window id =
        XCreateWindow(x.display, RootWindow(x.display, screen), 0, 0,
                      static_cast<unsigned>(clientWidth), static_cast<unsigned>(clientHeight), 0,
                      CopyFromParent, InputOutput, CopyFromParent, CWEventMask | CWBackPixel,
                      &attributes);
    std::string caption = windowName == nullptr ? std::string() : utf8Of(windowName);
    Xutf8SetWMProperties(x.display, id, caption.c_str(), caption.c_str(), nullptr, 0, nullptr,
                         nullptr, nullptr);
    Atom deleteWindow = x.deleteWindow;
    XSetWMProtocols(x.display, id, &deleteWindow, 1);
    XFlush(x.display);
    if (lost)
        return fail(ERROR_GEN_FAILURE, static_cast<HWND>(nullptr));

    WindowState window;
    window.id = id;
    window.pixelFormat = 0;
    window.procedure = registered->second;
    window.thread = GetCurrentThreadId();
    window.width = clientWidth;
    window.height = clientHeight;
    window.destroying = false;
    tables().windows.emplace(id, window);
    return handleOf(id);
}

BOOL DestroyWindow(HWND window)
{
    WNDPROC procedure;
    {
        std::lock_guard<std::mutex> guard(x11Lock());
        WindowState* state = find(window);
        if (state == nullptr)
            return fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
        if (state->destroying)
            return TRUE;
        state->destroying = true;
        procedure = state->procedure;
    }
    procedure(window, WM_DESTROY, 0, 0);

    std::lock_guard<std::mutex> guard(x11Lock());
    if (!lost) {
        XDestroyWindow(x11Display(), idOf(window));
        XFlush(x11Display());
    }
    tables().windows.erase(idOf(window));
    const auto isFor = [window](const MSG& m) { return m.hwnd == window; };
    for (auto& entry : tables().queues) {
        std::deque<MSG>& sent = entry.second.sent;
        std::deque<MSG>& messages = entry.second.messages;
        sent.erase(std::remove_if(sent.begin(), sent.end(), isFor), sent.end());
        messages.erase(std::remove_if(messages.begin(), messages.end(), isFor), messages.end());
    }
    return TRUE;
}

BOOL ShowWindow(HWND window, int command)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    if (live(window) == nullptr)
        return fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
    ::Display* display = x11Display();
    const bool wasVisible = isMapped(display, idOf(window));
    if (command == SW_HIDE)
        XUnmapWindow(display, idOf(window));
    else
        XMapWindow(display, idOf(window));
    XFlush(display);
    return wasVisible ? TRUE : FALSE;
}

BOOL UpdateWindow(HWND window)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    if (live(window) == nullptr)
        return fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
    XFlush(x11Display());
    return TRUE;
}

BOOL IsWindowVisible(HWND window)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    return live(window) != nullptr && isMapped(x11Display(), idOf(window)) ? TRUE : FALSE;
}

BOOL GetClientRect(HWND window, RECT* rectangle)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    XWindowAttributes attributes;
    if (live(window) == nullptr || XGetWindowAttributes(x11Display(), idOf(window), &attributes) == 0)
        return fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
    *rectangle = RECT{0, 0, attributes.width, attributes.height};
    return TRUE;
}

HDC GetDC(HWND window)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    if (live(window) == nullptr)
        return fail(ERROR_INVALID_WINDOW_HANDLE, static_cast<HDC>(nullptr));
    return window;
}

namespace {

// Calls the procedure with a sent message. A window whose server has gone
// is destroyed instead, which sends it WM_DESTROY.
void deliver(const MSG& sent)
{
    if (sent.message == WM_DESTROY) {
        DestroyWindow(sent.hwnd);
        return;
    }
    WNDPROC procedure = nullptr;
    {
        std::lock_guard<std::mutex> guard(x11Lock());
        if (WindowState* window = find(sent.hwnd))
            procedure = window->procedure;
    }
    if (procedure != nullptr)
        procedure(sent.hwnd, sent.message, sent.wParam, sent.lParam);
}

} // namespace

BOOL PeekMessageW(MSG* message, HWND, UINT, UINT, UINT removal)
{
    const Connection& x = connection();
    for (;;) {
        MSG sent;
        {
            std::lock_guard<std::mutex> guard(x11Lock());
            if (x.display != nullptr && !lost)
                readEvents(x);
            noteLoss();
            std::deque<MSG>& waiting = tables().queues[GetCurrentThreadId()].sent;
            if (waiting.empty())
                break;
            sent = waiting.front();
            waiting.pop_front();
        }
        deliver(sent);
    }
    std::lock_guard<std::mutex> guard(x11Lock());
    Queue& queue = tables().queues[GetCurrentThreadId()];
    if (!queue.messages.empty()) {
        *message = queue.messages.front();
        if (removal & PM_REMOVE)
            queue.messages.pop_front();
        return TRUE;
    }
    if (!queue.quit)
        return FALSE;
    *message = MSG{nullptr, WM_QUIT, static_cast<WPARAM>(queue.exitCode), 0, 0, POINT{0, 0}};
    if (removal & PM_REMOVE)
        queue.quit = false;
    return TRUE;
}

BOOL TranslateMessage(const MSG*) { return FALSE; }

LRESULT DispatchMessageW(const MSG* message)
{
    WNDPROC procedure = nullptr;
    {
        std::lock_guard<std::mutex> guard(x11Lock());
        if (WindowState* window = find(message->hwnd))
            procedure = window->procedure;
    }
    if (message->hwnd == nullptr || procedure == nullptr)
        return 0;
    return procedure(message->hwnd, message->message, message->wParam, message->lParam);
}

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM, LPARAM)
{
    if (message == WM_CLOSE)
        DestroyWindow(window);
    return 0;
}

void PostQuitMessage(int exitCode)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    Queue& queue = tables().queues[GetCurrentThreadId()];
    queue.quit = true;
    queue.exitCode = exitCode;
}
