// Pixel formats and OpenGL contexts on GLX, for the POSIX layer. A pixel
// format is a framebuffer configuration, numbered from 1 in the server's
// list; a context handle is a number that is never used twice, so that a
// deleted context stays recognisably dead.
#include "Win32Gl.h"
#include "PosixSupport.h"
#include "X11Session.h"

#include <GL/glx.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

using namespace Vesk::Corvo::Posix;

namespace {

struct Context
{
    GLXContext context;
    GLXFBConfig config;
    int pixelFormat;
    // GLX takes a share list only at creation: once a context has been
    // current it may hold objects, and cannot be created again.
    bool used;
};

struct Contexts
{
    std::map<std::uintptr_t, Context> live;
    std::uintptr_t next = 1;
};

// Never destroyed, like the window tables.
Contexts& contexts()
{
    static Contexts* instance = new Contexts;
    return *instance;
}

thread_local HGLRC currentContext = nullptr;
thread_local HDC currentDeviceContext = nullptr;

Context* find(HGLRC handle)
{
    auto found = contexts().live.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == contexts().live.end() ? nullptr : &found->second;
}

std::vector<GLXFBConfig> serverConfigs(::Display* display)
{
    int count = 0;
    GLXFBConfig* configs = glXGetFBConfigs(display, DefaultScreen(display), &count);
    std::vector<GLXFBConfig> all(configs, configs + (configs == nullptr ? 0 : count));
    if (configs != nullptr)
        XFree(configs);
    return all;
}

int attributeOf(::Display* display, GLXFBConfig config, int attribute)
{
    int value = 0;
    glXGetFBConfigAttrib(display, config, attribute, &value);
    return value;
}

VisualID visualOf(::Display* display, ::Window window)
{
    XWindowAttributes attributes;
    if (XGetWindowAttributes(display, window, &attributes) == 0)
        return 0;
    return XVisualIDFromVisual(attributes.visual);
}

bool hasGlx(::Display* display)
{
    int errorBase = 0, eventBase = 0;
    return display != nullptr && glXQueryExtension(display, &errorBase, &eventBase);
}

GLXContext createContext(::Display* display, GLXFBConfig config, GLXContext shareList)
{
    const unsigned long errorsBefore = x11ErrorCount();
    GLXContext context = glXCreateNewContext(display, config, GLX_RGBA_TYPE, shareList, True);
    if (!x11Succeeded(errorsBefore) && context != nullptr) {
        glXDestroyContext(display, context);
        return nullptr;
    }
    return context;
}

// Leaves the thread with no current context, whoever made it current: a
// context of the layer, or one that the program made current with GLX on a
// connection of its own.
void clearCurrent()
{
    if (glXGetCurrentContext() != nullptr)
        glXMakeCurrent(glXGetCurrentDisplay(), None, nullptr);
    currentContext = nullptr;
    currentDeviceContext = nullptr;
}

// How far a configuration is from the format asked for, to be as small as
// possible: first whether it is double-buffered as asked and free of a
// caveat, then what it lacks of the colour, depth, alpha and stencil bits
// asked for, then what it has beyond them and in accumulation buffers.
std::vector<int> distance(::Display* display, GLXFBConfig config, const PIXELFORMATDESCRIPTOR& format)
{
    const int colour = attributeOf(display, config, GLX_RED_SIZE) +
                       attributeOf(display, config, GLX_GREEN_SIZE) +
                       attributeOf(display, config, GLX_BLUE_SIZE);
    const int have[] = {colour, attributeOf(display, config, GLX_DEPTH_SIZE),
                        attributeOf(display, config, GLX_ALPHA_SIZE),
                        attributeOf(display, config, GLX_STENCIL_SIZE)};
    // Colour bits count red, green and blue, at most 8 each.
    const int wanted[] = {3 * std::min(8, format.cColorBits / 3), format.cDepthBits,
                          format.cAlphaBits, format.cStencilBits};
    const bool doubleBuffered = attributeOf(display, config, GLX_DOUBLEBUFFER) != 0;
    std::vector<int> result{doubleBuffered == ((format.dwFlags & PFD_DOUBLEBUFFER) != 0) ? 0 : 1,
                            attributeOf(display, config, GLX_CONFIG_CAVEAT) == GLX_NONE ? 0 : 1};
    for (int i = 0; i < 4; ++i)
        result.push_back(std::max(0, wanted[i] - have[i]));
    for (int i = 0; i < 4; ++i)
        result.push_back(std::max(0, have[i] - wanted[i]));
    result.push_back(attributeOf(display, config, GLX_ACCUM_RED_SIZE));
    return result;
}

} // namespace

int ChoosePixelFormat(HDC deviceContext, const PIXELFORMATDESCRIPTOR* format)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    X11Window* window = x11Window(deviceContext);
    if (window == nullptr || format == nullptr)
        return fail(ERROR_INVALID_HANDLE, 0);
    ::Display* display = x11Display();
    if (!hasGlx(display))
        return fail(ERROR_INVALID_PIXEL_FORMAT, 0);

    // As on Windows, the closest format that the window can take, not only
    // one with every bit asked for: a 16-bit display has no 32-bit colour.
    const VisualID visual = visualOf(display, window->id);
    const std::vector<GLXFBConfig> all = serverConfigs(display);
    int index = 0;
    std::vector<int> best;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const GLXFBConfig config = all[i];
        if (static_cast<VisualID>(attributeOf(display, config, GLX_VISUAL_ID)) != visual ||
            !attributeOf(display, config, GLX_X_RENDERABLE) ||
            !(attributeOf(display, config, GLX_RENDER_TYPE) & GLX_RGBA_BIT) ||
            ((format->dwFlags & PFD_DRAW_TO_WINDOW) &&
             !(attributeOf(display, config, GLX_DRAWABLE_TYPE) & GLX_WINDOW_BIT)))
            continue;
        std::vector<int> away = distance(display, config, *format);
        if (index == 0 || away < best) {
            index = static_cast<int>(i) + 1;
            best = std::move(away);
        }
    }
    return index != 0 ? index : fail(ERROR_INVALID_PIXEL_FORMAT, 0);
}

BOOL SetPixelFormat(HDC deviceContext, int format, const PIXELFORMATDESCRIPTOR*)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    X11Window* window = x11Window(deviceContext);
    if (window == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    if (window->pixelFormat != 0)
        return window->pixelFormat == format ? TRUE : fail(ERROR_INVALID_PIXEL_FORMAT, FALSE);
    ::Display* display = x11Display();
    const std::vector<GLXFBConfig> all = hasGlx(display) ? serverConfigs(display) : std::vector<GLXFBConfig>();
    if (format < 1 || static_cast<std::size_t>(format) > all.size() ||
        static_cast<VisualID>(attributeOf(display, all[format - 1], GLX_VISUAL_ID)) !=
            visualOf(display, window->id))
        return fail(ERROR_INVALID_PIXEL_FORMAT, FALSE);
    window->pixelFormat = format;
    return TRUE;
}

HGLRC wglCreateContext(HDC deviceContext)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    X11Window* window = x11Window(deviceContext);
    if (window == nullptr)
        return fail(ERROR_INVALID_HANDLE, static_cast<HGLRC>(nullptr));
    if (window->pixelFormat == 0)
        return fail(ERROR_INVALID_PIXEL_FORMAT, static_cast<HGLRC>(nullptr));
    ::Display* display = x11Display();
    const GLXFBConfig config = serverConfigs(display).at(window->pixelFormat - 1);
    const GLXContext context = createContext(display, config, nullptr);
    if (context == nullptr)
        return fail(ERROR_INVALID_PIXEL_FORMAT, static_cast<HGLRC>(nullptr));
    const std::uintptr_t handle = contexts().next++;
    contexts().live[handle] = Context{context, config, window->pixelFormat, false};
    return reinterpret_cast<HGLRC>(handle);
}

BOOL wglDeleteContext(HGLRC handle)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    Context* context = find(handle);
    if (context == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    if (currentContext == handle)
        clearCurrent();
    glXDestroyContext(x11Display(), context->context);
    contexts().live.erase(reinterpret_cast<std::uintptr_t>(handle));
    return TRUE;
}

BOOL wglMakeCurrent(HDC deviceContext, HGLRC handle)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    ::Display* display = x11Display();
    if (handle == nullptr) {
        clearCurrent();
        return TRUE;
    }
    Context* context = find(handle);
    X11Window* window = x11Window(deviceContext);
    if (context == nullptr || window == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    if (window->pixelFormat != context->pixelFormat)
        return fail(ERROR_INVALID_PIXEL_FORMAT, FALSE);
    // A failure, such as a context current on another thread, leaves this
    // thread with none, as on Windows.
    const unsigned long errorsBefore = x11ErrorCount();
    if (!glXMakeCurrent(display, window->id, context->context) || !x11Succeeded(errorsBefore)) {
        clearCurrent();
        return fail(ERROR_INVALID_HANDLE, FALSE);
    }
    context->used = true;
    currentContext = handle;
    currentDeviceContext = deviceContext;
    return TRUE;
}

BOOL wglShareLists(HGLRC first, HGLRC second)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    Context* source = find(first);
    Context* target = find(second);
    if (source == nullptr || target == nullptr || source == target)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    if (target->used)
        return fail(ERROR_BUSY, FALSE);
    ::Display* display = x11Display();
    const GLXContext shared = createContext(display, target->config, source->context);
    if (shared == nullptr)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    glXDestroyContext(display, target->context);
    target->context = shared;
    return TRUE;
}

HGLRC wglGetCurrentContext() { return currentContext; }

HDC wglGetCurrentDC() { return currentDeviceContext; }

BOOL SwapBuffers(HDC deviceContext)
{
    std::lock_guard<std::mutex> guard(x11Lock());
    X11Window* window = x11Window(deviceContext);
    if (window == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    glXSwapBuffers(x11Display(), window->id);
    return TRUE;
}
