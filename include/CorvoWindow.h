/// \file
/// A top-level window on the desktop, with its message pump, and the handle
/// types of the window and OpenGL classes.
#ifndef CORVO_WINDOW_H
#define CORVO_WINDOW_H

#include "CorvoBasicTypes.h"
#include "CorvoExport.h"

#include <string>

/// \def CORVO_CALLBACK
/// The calling convention of window procedures (it differs from the default
/// only on 32-bit Windows).
#if defined(_WIN32) && !defined(_WIN64)
#  define CORVO_CALLBACK __stdcall
#else
#  define CORVO_CALLBACK
#endif

namespace Vesk {
namespace Corvo {

/// The platform's handles, opaque to applications: a window (HWND), its
/// device context (HDC) and an OpenGL rendering context (HGLRC).
///@{
typedef void* WindowHandle;
typedef void* DeviceContextHandle;
typedef void* RenderContextHandle;
///@}

/// A top-level window. Only create throws; nothing is logged.
///
/// On Linux a window is an X window on $DISPLAY (Xlib), and the library
/// links libX11 and libGL. The window's X size is the client area: the outer
/// size given to create less the frame that Windows would draw (12 pixels
/// across, 32 down). The window manager's close button reaches WndProc as a
/// sent WM_CLOSE, as on Windows, and the capture that destroys the window also
/// takes the quit message. If the X server goes away, each window is destroyed
/// at its thread's next capture (which returns true) and create throws from
/// then on; the process lives on. For that the library installs a
/// process-wide Xlib I/O error handler at first use, which hands the
/// program's own connections on to the handler that was there before.
class CORVO_API Win32Window
{
public:
    /// Names the given handle; creates nothing.
    explicit Win32Window(WindowHandle display);
    /// Leaves the window as it is: only destroy ends it.
    virtual ~Win32Window();

    /// Registers a window class named by the title and creates a hidden
    /// overlapped window with that caption. width and height are the outer
    /// size, frame included. A title already registered in this process,
    /// whatever its case, or longer than 256 characters, is refused. Throws Exception "Win32Window::Exception: error registering
    /// the class [TITLE]", or "Win32Window::Exception: error creating the
    /// window".
    void create(const long& width, const long& height, std::string title);
    /// Destroys the window, which posts the quit message.
    void destroy();
    /// Shows the window and has it painted.
    void show();
    /// Hides the window.
    void hide();

    /// Pumps the calling thread's messages without waiting: once, or until a
    /// quit or close message has gone through (spinning meanwhile). True when
    /// one did.
    bool capture(bool once);

    /// The window's handle.
    WindowHandle getDisplay() const;

    /// The window procedure of every class that create registers: a close
    /// destroys the window, and its destruction posts the quit message.
    static SIntPtr_t CORVO_CALLBACK WndProc(WindowHandle window, unsigned int message,
                                            IntPtr_t wParam, SIntPtr_t lParam);

private:
    // The platform's WNDCLASSEXW as create filled it, held as raw storage
    // (the library checks that it fits).
    alignas(8) unsigned char m_windowClass[80];
    WindowHandle m_display;
};

} // namespace Corvo
} // namespace Vesk

#endif
