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
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    const bool underWine = ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
    return !underWine || std::getenv("DISPLAY") != nullptr;
#else
    return testDisplay() != nullptr;
#endif
}

#define SKIP_WITHOUT_DISPLAY()                                                          \
    if (!haveDisplay())                                                                 \
    GTEST_SKIP() << "no X display: DISPLAY is unset or names no server (run the test " \
                    "through tests/with-xvfb)"

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

TEST(Window, ShowAndHideMapTheWindow)
{
    SKIP_WITHOUT_DISPLAY();
    Win32Window window(nullptr);
    window.create(320, 240, freshTitle("show"));
    const auto handle = window.getDisplay();
    ASSERT_NE(handle, nullptr);
    EXPECT_FALSE(IsWindowVisible(static_cast<HWND>(handle)));
    window.show();
    EXPECT_TRUE(IsWindowVisible(static_cast<HWND>(handle)));
    window.hide();
    EXPECT_FALSE(IsWindowVisible(static_cast<HWND>(handle)));
    EXPECT_EQ(window.getDisplay(), handle);
    EXPECT_TRUE(alive(handle));
    window.destroy();
    EXPECT_FALSE(alive(handle));
    EXPECT_TRUE(window.capture(false));
}

TEST(Window, TheCloseRequestDestroysTheWindowAndEndsThePump)
{
    SKIP_WITHOUT_DISPLAY();
    Win32Window window(nullptr);
    window.create(320, 240, freshTitle("close"));
    window.show();
    requestClose(window.getDisplay());
    EXPECT_TRUE(window.capture(false));
    EXPECT_FALSE(alive(window.getDisplay()));
    // The destruction posted the quit message, which ends the next pump.
    EXPECT_TRUE(window.capture(false));
}

TEST(Window, ASecondCreateWithTheSameTitleIsRefused)
{
    SKIP_WITHOUT_DISPLAY();
    const std::string title = freshTitle("twice");
    Win32Window first(nullptr);
    first.create(200, 100, title);
    Win32Window second(nullptr);
    EXPECT_TRUE(corvo_test::raisedAt<Exception>([&] { second.create(200, 100, title); },
                                                "Win32Window::Exception: error registering the class [" + title + "]",
                                                "src/Win32/Win32Window.cpp", "Vesk::Corvo::Win32Window::create"));
    first.destroy();
    EXPECT_TRUE(first.capture(false));
}

// Every context of the suite shares with the first one, which lives as
// long as the suite.
class GraphicalContext : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        if (!haveDisplay())
            return;
        s_window = new Win32Window(nullptr);
        s_window->create(320, 240, freshTitle("GL"));
        s_window->show();
        s_first = new Win32GraphicalContext(s_window->getDisplay());
    }

    static void TearDownTestSuite()
    {
        delete s_first;
        if (s_window != nullptr)
            s_window->destroy(), s_window->capture(false);
        delete s_window;
    }

    void SetUp() override { SKIP_WITHOUT_DISPLAY(); }

    // Clears the current context's frame to the colour and reads a pixel
    // of it back.
    static std::uint32_t clearAndRead(float red, float green, float blue)
    {
        glClearColor(red, green, blue, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        glFinish();
        unsigned char pixel[4] = {};
        glReadPixels(10, 10, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
        return (std::uint32_t(pixel[0]) << 16) | (std::uint32_t(pixel[1]) << 8) | pixel[2];
    }

    static Win32Window* s_window;
    static Win32GraphicalContext* s_first;
};

Win32Window* GraphicalContext::s_window = nullptr;
Win32GraphicalContext* GraphicalContext::s_first = nullptr;

TEST_F(GraphicalContext, ClearsToAColourThatReadsBack)
{
    s_first->acquire();
    EXPECT_EQ(clearAndRead(1.0f, 0.5f, 0.0f), 0xFF8000u);
    EXPECT_EQ(clearAndRead(0.0f, 0.0f, 1.0f), 0x0000FFu);
    s_first->swapBuffers();
    s_first->release();
}

TEST_F(GraphicalContext, CloneIsAnotherContextOnTheSameWindow)
{
    std::unique_ptr<Win32GraphicalContext> clone(s_first->clone());
    EXPECT_EQ(clone->getWindowHandle(), s_first->getWindowHandle());
    EXPECT_EQ(clone->getDisplay(), clone->getWindowHandle());
    s_first->acquire();
    const HGLRC first = wglGetCurrentContext();
    clone->acquire();
    EXPECT_NE(wglGetCurrentContext(), first);
    EXPECT_EQ(clearAndRead(0.0f, 1.0f, 0.0f), 0x00FF00u);
    clone->release();
}

TEST_F(GraphicalContext, ALaterContextSeesTheObjectsOfTheFirst)
{
    s_first->acquire();
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    const unsigned char texel[4] = {1, 2, 3, 4};
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, texel);
    glFinish();
    s_first->release();

    Win32GraphicalContext later(s_window->getDisplay());
    later.acquire();
    EXPECT_EQ(glIsTexture(texture), GL_TRUE);
    glDeleteTextures(1, &texture);
}

TEST_F(GraphicalContext, ReleaseAndDestructionLeaveNoCurrentContext)
{
    s_first->acquire();
    ASSERT_NE(wglGetCurrentContext(), nullptr);
    s_first->release();
    EXPECT_EQ(wglGetCurrentContext(), nullptr);

    // Even when the context destroyed is not the current one.
    s_first->acquire();
    delete s_first->clone();
    EXPECT_EQ(wglGetCurrentContext(), nullptr);
}

TEST_F(GraphicalContext, DisplaySizeIsTheClientArea)
{
    unsigned long width = 0, height = 0;
    ASSERT_TRUE(s_first->getDisplaySize(width, height));
    RECT area;
    ASSERT_TRUE(GetClientRect(static_cast<HWND>(s_window->getDisplay()), &area));
    EXPECT_EQ(width, static_cast<unsigned long>(area.right));
    EXPECT_EQ(height, static_cast<unsigned long>(area.bottom));
    EXPECT_TRUE(width > 0 && width < 320 && height > 0 && height < 240) << width << "x" << height;

    Win32Window window(nullptr);
    window.create(200, 100, freshTitle("dead"));
    Win32GraphicalContext context(window.getDisplay());
    window.destroy();
    EXPECT_TRUE(window.capture(false));
    width = height = 7;
    EXPECT_FALSE(context.getDisplaySize(width, height));
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(7ul, 7ul));
}

} // namespace
