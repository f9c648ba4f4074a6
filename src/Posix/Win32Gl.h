// Pixel formats and OpenGL contexts (GDI32 and OPENGL32), for the POSIX
// layer, on GLX.
#ifndef CORVO_POSIX_WIN32_GL_H
#define CORVO_POSIX_WIN32_GL_H

#include "Win32Base.h"
#include "Win32Window.h"

typedef void* HGLRC;

struct PIXELFORMATDESCRIPTOR
{
    WORD nSize;
    WORD nVersion;
    DWORD dwFlags;
    BYTE iPixelType;
    BYTE cColorBits;
    BYTE cRedBits;
    BYTE cRedShift;
    BYTE cGreenBits;
    BYTE cGreenShift;
    BYTE cBlueBits;
    BYTE cBlueShift;
    BYTE cAlphaBits;
    BYTE cAlphaShift;
    BYTE cAccumBits;
    BYTE cAccumRedBits;
    BYTE cAccumGreenBits;
    BYTE cAccumBlueBits;
    BYTE cAccumAlphaBits;
    BYTE cDepthBits;
    BYTE cStencilBits;
    BYTE cAuxBuffers;
    BYTE iLayerType;
    BYTE bReserved;
    DWORD dwLayerMask;
    DWORD dwVisibleMask;
    DWORD dwDamageMask;
};

#define PFD_DOUBLEBUFFER 0x00000001
#define PFD_DRAW_TO_WINDOW 0x00000004
#define PFD_SUPPORT_OPENGL 0x00000020
#define PFD_TYPE_RGBA 0
#define PFD_MAIN_PLANE 0

#define ERROR_BUSY 170u
#define ERROR_INVALID_PIXEL_FORMAT 2000u

// A format is a GLX framebuffer configuration of the window's own visual,
// numbered from 1 in the server's list. As on Windows, the closest one is
// chosen: double-buffered if asked, then with as few of the colour, depth,
// alpha and stencil bits asked for missing as the display allows, then with
// as few beyond them. 0 when the window's visual has none (or no GLX).
int ChoosePixelFormat(HDC deviceContext, const PIXELFORMATDESCRIPTOR* format);
// A window takes one format for good: setting the same one again succeeds,
// another fails.
BOOL SetPixelFormat(HDC deviceContext, int format, const PIXELFORMATDESCRIPTOR* descriptor);

// A context of the window's format; null when it has none.
HGLRC wglCreateContext(HDC deviceContext);
// Clears the calling thread's current context first if it is this one.
BOOL wglDeleteContext(HGLRC context);
// Null and null leave the calling thread with no current context, also one
// that the program made current with GLX itself.
BOOL wglMakeCurrent(HDC deviceContext, HGLRC context);
// GLX shares objects only from the creation of a context, so the second
// context is created again with the first as its share list; it must not
// have been made current before.
BOOL wglShareLists(HGLRC first, HGLRC second);
HGLRC wglGetCurrentContext();
HDC wglGetCurrentDC();
BOOL SwapBuffers(HDC deviceContext);

#endif
