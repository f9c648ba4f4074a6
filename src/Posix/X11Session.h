// The process's X connection and its windows, shared by the window and GL
// families of the POSIX layer.
#ifndef CORVO_POSIX_X11_SESSION_H
#define CORVO_POSIX_X11_SESSION_H

#include "Win32Window.h"

#include <X11/Xlib.h>

#include <mutex>

namespace Vesk {
namespace Corvo {
namespace Posix {

// The connection to $DISPLAY, opened on first use and kept for the life of
// the process; null when it cannot be opened. X errors don't end the
// process: they are counted (see x11ErrorCount). Nor does the loss of the
// server: the connection stays open but does nothing, and x11Window finds no
// window any more.
::Display* x11Display();
unsigned long x11ErrorCount();
// Waits for the server to handle every request sent so far: true when none
// of them raised an error since errorsBefore.
bool x11Succeeded(unsigned long errorsBefore);

// Guards the layer's tables of windows, queues and contexts.
std::mutex& x11Lock();

// A window as far as GL needs it; call with x11Lock held. Null for a handle
// that names no live window, and for every one once the server has gone.
struct X11Window
{
    ::Window id;
    int pixelFormat;
};
X11Window* x11Window(HWND window);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
