// Win32Window and Win32GraphicalContext on a real display: a private Xvfb
// (tests/with-xvfb) on Linux, Wine's X11 desktop under Windows.
#include "CorvoGraphicalContext.h"
#include "CorvoPlatform.h"
#include "CorvoWindow.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#ifndef _WIN32
#  include <X11/Xlib.h>
#endif

using Vesk::Corvo::Exception;
using Vesk::Corvo::Win32GraphicalContext;
using Vesk::Corvo::Win32Window;

namespace {

#ifndef _WIN32
// The test's own connection, as another client of the server would be.
::Display* testDisplay()
{
    static ::Display* display = std::getenv("DISPLAY") ? XOpenDisplay(nullptr) : nullptr;
    return display;
}
#endif

bool haveDisplay()
{
#ifdef _WIN32
    // Wine draws through X11 too; Windows itself always has a desktop.
    return std::getenv("DISPLAY") != nullptr || !GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version");
#else
    return testDisplay() != nullptr;
#endif
}

#define SKIP_WITHOUT_DISPLAY() \
    if (!haveDisplay())         \
    GTEST_SKIP() << "no X display: DISPLAY is unset or names no server (run the test through tests/with-xvfb)"

// Window classes are never unregistered, so every window needs a title of
// its own.
std::string freshTitle(const std::string& base)
{
    static int count = 0;
    return "Corvo " + base + " " + std::to_string(++count);
}

// What the user's click on the close box sends: the window manager's
// WM_DELETE_WINDOW on X11 (a handle of the layer is the X window), WM_CLOSE
// on Windows.
void requestClose(Vesk::Corvo::WindowHandle window)
{
#ifdef _WIN32
    PostMessageW(static_cast<HWND>(window), WM_CLOSE, 0, 0);
#else
    ::Display* display = testDisplay();
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = static_cast<::Window>(reinterpret_cast<std::uintptr_t>(window));
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, event.xclient.window, False, NoEventMask, &event);
    XFlush(display);
#endif
}

bool alive(Vesk::Corvo::WindowHandle window)
{
    RECT area;
    return GetClientRect(static_cast<HWND>(window), &area) != 0;
}

TEST(Window, CaptureOnceTakesOneMessageOrNone)
{
    // A new thread's queue is empty.
    std::thread([] {
        Win32Window pump(nullptr);
        EXPECT_FALSE(pump.capture(true));
        PostQuitMessage(0);
        EXPECT_TRUE(pump.capture(true));
        EXPECT_FALSE(pump.capture(true));
    }).join();
}

TEST(Window, LivesFromCreateToTheCloseRequestAndOwnsItsTitle)
{
    SKIP_WITHOUT_DISPLAY();
    const std::string title = freshTitle("show");
    Win32Window window(nullptr);
    window.create(320, 240, title);
    const HWND handle = static_cast<HWND>(window.getDisplay());
    ASSERT_NE(handle, nullptr);
    EXPECT_FALSE(IsWindowVisible(handle));
    window.show();
    EXPECT_TRUE(IsWindowVisible(handle));
    window.hide();
    EXPECT_FALSE(IsWindowVisible(handle));
    EXPECT_EQ(window.getDisplay(), handle);
    Win32Window second(nullptr);
    EXPECT_TRUE(corvo_test::raisedAt<Exception>([&] { second.create(200, 100, title); },
                                                "Win32Window::Exception: error registering the class [" + title + "]",
                                                "src/Win32/Win32Window.cpp", "Vesk::Corvo::Win32Window::create"));
    EXPECT_TRUE(alive(handle));
    requestClose(handle);
    EXPECT_TRUE(window.capture(false));
    EXPECT_FALSE(alive(handle));
    // The destruction posted the quit message, which ends the next pump.
    EXPECT_TRUE(window.capture(false));
}

// Clears the current context's frame to the colour and reads a pixel of it
// back.
std::uint32_t clearAndRead(float red, float green, float blue)
{
    glClearColor(red, green, blue, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glFinish();
    unsigned char pixel[4] = {};
    glReadPixels(10, 10, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    return (std::uint32_t(pixel[0]) << 16) | (std::uint32_t(pixel[1]) << 8) | pixel[2];
}

TEST(GraphicalContext, DrawsAndSharesWithTheFirstContext)
{
    SKIP_WITHOUT_DISPLAY();
    Win32Window window(nullptr);
    window.create(320, 240, freshTitle("GL"));
    window.show();
    // The process's first context: every later one shares its objects.
    auto first = std::make_unique<Win32GraphicalContext>(window.getDisplay());
    first->acquire();
    EXPECT_EQ(clearAndRead(1.0f, 0.5f, 0.0f), 0xFF8000u);
    first->swapBuffers();
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture); // the name becomes a texture object
    glFinish();
    const HGLRC firstContext = wglGetCurrentContext();
    first->release();
    EXPECT_EQ(wglGetCurrentContext(), nullptr);

    // A clone is a later context on the same window, sharing the objects of
    // the first.
    std::unique_ptr<Win32GraphicalContext> clone(first->clone());
    EXPECT_EQ(clone->getWindowHandle(), first->getWindowHandle());
    EXPECT_EQ(clone->getDisplay(), clone->getWindowHandle());
    clone->acquire();
    EXPECT_NE(wglGetCurrentContext(), firstContext);
    EXPECT_EQ(glIsTexture(texture), GL_TRUE);
    EXPECT_EQ(clearAndRead(0.0f, 1.0f, 0.0f), 0x00FF00u);
    glDeleteTextures(1, &texture);

    // Destroying a context that isn't current still leaves none current.
    first->acquire();
    clone.reset();
    EXPECT_EQ(wglGetCurrentContext(), nullptr);

    // The client area: inside the size that the window was made with.
    unsigned long width = 0, height = 0;
    ASSERT_TRUE(first->getDisplaySize(width, height));
    EXPECT_TRUE(width > 0 && width < 320 && height > 0 && height < 240) << width << "x" << height;
    window.destroy();
    EXPECT_TRUE(window.capture(false));
    width = height = 7;
    EXPECT_FALSE(first->getDisplaySize(width, height));
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(7ul, 7ul));
}

} // namespace
