// Win32GraphicalContext: a WGL context with a fixed double-buffered pixel
// format, sharing its objects with the first context of the process.
#include "CorvoGraphicalContext.h"
#include "CorvoException.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"

namespace Vesk {
namespace Corvo {

namespace {

HDC deviceContextOf(DeviceContextHandle handle) { return static_cast<HDC>(handle); }
HGLRC renderContextOf(RenderContextHandle handle) { return static_cast<HGLRC>(handle); }

} // namespace

RenderContextHandle Win32GraphicalContext::s_firstContext = nullptr;

Win32GraphicalContext::Win32GraphicalContext(WindowHandle window)
    : m_window(window), m_deviceContext(GetDC(static_cast<HWND>(window))), m_renderContext(nullptr)
{
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof(PIXELFORMATDESCRIPTOR);
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.iPixelType = PFD_TYPE_RGBA;
    format.cColorBits = 32;
    format.cDepthBits = 16;
    format.iLayerType = PFD_MAIN_PLANE;

    const int index = ChoosePixelFormat(deviceContextOf(m_deviceContext), &format);
    if (index == 0)
        CORVO_RAISE(Exception, "Error trying to choose the Pixel Format");
    if (SetPixelFormat(deviceContextOf(m_deviceContext), index, &format) == 0)
        CORVO_RAISE(Exception, "Error trying to set pixel format");
    m_renderContext = wglCreateContext(deviceContextOf(m_deviceContext));
    if (m_renderContext == nullptr)
        CORVO_RAISE(Exception, "Error trying to create gl context");

    if (s_firstContext != nullptr)
        wglShareLists(renderContextOf(s_firstContext), renderContextOf(m_renderContext));
    else
        s_firstContext = m_renderContext;
}

Win32GraphicalContext::~Win32GraphicalContext()
{
    if (m_deviceContext != nullptr)
        wglMakeCurrent(nullptr, nullptr);
    wglDeleteContext(renderContextOf(m_renderContext));
}

void Win32GraphicalContext::acquire()
{
    wglMakeCurrent(deviceContextOf(m_deviceContext), renderContextOf(m_renderContext));
}

void Win32GraphicalContext::release() { wglMakeCurrent(nullptr, nullptr); }

void Win32GraphicalContext::swapBuffers() { SwapBuffers(deviceContextOf(m_deviceContext)); }

Win32GraphicalContext* Win32GraphicalContext::clone() { return new Win32GraphicalContext(m_window); }

void* Win32GraphicalContext::getWindowHandle() { return m_window; }

WindowHandle Win32GraphicalContext::getDisplay() { return m_window; }

bool Win32GraphicalContext::getDisplaySize(unsigned long& width, unsigned long& height)
{
    RECT area;
    if (GetClientRect(static_cast<HWND>(m_window), &area) == 0)
        return false;
    width = static_cast<unsigned long>(area.right - area.left);
    height = static_cast<unsigned long>(area.bottom - area.top);
    return true;
}

} // namespace Corvo
} // namespace Vesk
