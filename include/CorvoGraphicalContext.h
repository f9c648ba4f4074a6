/// \file
/// An OpenGL rendering context on a window, double-buffered, sharing its
/// objects with the first context of the process.
#ifndef CORVO_GRAPHICAL_CONTEXT_H
#define CORVO_GRAPHICAL_CONTEXT_H

#include "CorvoExport.h"
#include "CorvoWindow.h"

namespace Vesk {
namespace Corvo {

/// An OpenGL context on a Win32Window (WGL on Windows, GLX on Linux).
///
/// The library makes the context; a program that draws calls OpenGL itself
/// and must link it (`-lGL` on Linux, `-lopengl32` on Windows, or CMake's
/// `OpenGL::GL`). Only the constructor throws; nothing is logged. On Linux
/// GLX shares objects only when a context is created, so a second or later
/// context is created again with the first as its share list before it is
/// first made current.
class CORVO_API Win32GraphicalContext
{
public:
    /// Sets a 32-bit RGBA, 16-bit depth, double-buffered pixel format on the
    /// window, or the closest one the display has (5-6-5 colour on a 16-bit
    /// display), and creates a context on it, not current. Throws Exception
    /// when a step fails: "Error trying to choose the Pixel Format", "Error
    /// trying to set pixel format", "Error trying to create gl context".
    explicit Win32GraphicalContext(WindowHandle window);
    /// Clears the calling thread's current context, whichever it is (one that
    /// the program made current with GLX itself too), and deletes this one.
    virtual ~Win32GraphicalContext();

    /// Each object deletes its own rendering context, so a copy would delete
    /// it twice: use clone for a second context.
    ///@{
    Win32GraphicalContext(const Win32GraphicalContext&) = delete;
    Win32GraphicalContext& operator=(const Win32GraphicalContext&) = delete;
    ///@}

    /// Makes this context current on the calling thread; a failure is not
    /// reported.
    void acquire();
    /// Leaves the calling thread with no current context.
    void release();
    /// Shows the back buffer.
    void swapBuffers();

    /// A new context on the same window, owned by the caller; throws as the
    /// constructor does.
    Win32GraphicalContext* clone();

    /// The window, as an untyped pointer.
    void* getWindowHandle();
    /// The window.
    WindowHandle getDisplay();
    /// The window's client area; false, with both untouched, on failure.
    bool getDisplaySize(unsigned long& width, unsigned long& height);

private:
    WindowHandle m_window;
    DeviceContextHandle m_deviceContext;
    RenderContextHandle m_renderContext;

    // The first context built in the process, which the later ones share
    // their objects with. Set once, never cleared.
    static RenderContextHandle s_firstContext;
};

} // namespace Corvo
} // namespace Vesk

#endif
