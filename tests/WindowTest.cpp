// Win32Window and Win32GraphicalContext on a real display: a private Xvfb
// (tests/with-xvfb) on Linux, Wine's X11 desktop under Windows.
#include "CorvoGraphicalContext.h"
#include "CorvoPlatform.h"
#include "CorvoWindow.h"
#include "TestSupport.h"
#include "WindowTestSupport.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#ifndef _WIN32
#  include <GL/glx.h>
#  include <X11/Xlib.h>
#  include <X11/Xutil.h>
#  include <fcntl.h>
#  include <signal.h>
#  include <spawn.h>
#  include <sys/wait.h>
#  include <unistd.h>

#  include <functional>
#  include <vector>

extern char** environ;
#endif

using Vesk::Corvo::Exception;
using Vesk::Corvo::Win32GraphicalContext;
using Vesk::Corvo::Win32Window;
using corvo_test::freshTitle;

namespace {

#ifndef _WIN32
using corvo_test::testDisplay;

::Window xWindowOf(Vesk::Corvo::WindowHandle window)
{
    return static_cast<::Window>(reinterpret_cast<std::uintptr_t>(window));
}
#endif

// What the user's click on the close box sends: the window manager's
// WM_DELETE_WINDOW on X11 (a handle of the layer is the X window), and on
// Windows the system command, whose default handling sends WM_CLOSE.
void requestClose(Vesk::Corvo::WindowHandle window)
{
#ifdef _WIN32
    PostMessageW(static_cast<HWND>(window), WM_SYSCOMMAND, SC_CLOSE, 0);
#else
    ::Display* display = testDisplay();
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = xWindowOf(window);
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
    Win32Window second(nullptr);
    EXPECT_TRUE(corvo_test::raisedAt<Exception>([&] { second.create(200, 100, title); },
                                                "Win32Window::Exception: error registering the class [" + title + "]",
                                                "src/Win32/Win32Window.cpp", "Vesk::Corvo::Win32Window::create"));
    // The caption reaches the server, where the window manager reads it.
#ifdef _WIN32
    wchar_t caption[64] = {};
    GetWindowTextW(handle, caption, 64);
    EXPECT_EQ(std::wstring(caption), std::wstring(title.begin(), title.end()));
#else
    char* name = nullptr;
    ASSERT_NE(XFetchName(testDisplay(), xWindowOf(handle), &name), 0);
    EXPECT_STREQ(name, title.c_str());
    XFree(name);
#endif
    EXPECT_TRUE(alive(handle));
    // The close request destroys the window, whose destruction posts the
    // quit message, and the same pump takes it: the next one finds nothing.
    requestClose(handle);
    EXPECT_TRUE(window.capture(false));
    EXPECT_FALSE(alive(handle));
    EXPECT_FALSE(window.capture(true));
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

#ifndef _WIN32
// Windows clears the thread's current context whoever made it current: here
// a context that another part of the program made current with GLX, on a
// connection of its own.
TEST(GraphicalContext, ReleaseClearsAContextThatGlxMadeCurrent)
{
    SKIP_WITHOUT_DISPLAY();
    Win32Window window(nullptr);
    window.create(320, 240, freshTitle("foreign GL"));
    auto context = std::make_unique<Win32GraphicalContext>(window.getDisplay());
    ::Display* display = testDisplay();
    XWindowAttributes attributes;
    ASSERT_NE(XGetWindowAttributes(display, xWindowOf(window.getDisplay()), &attributes), 0);
    XVisualInfo wanted = {};
    wanted.visualid = XVisualIDFromVisual(attributes.visual);
    int count = 0;
    XVisualInfo* visual = XGetVisualInfo(display, VisualIDMask, &wanted, &count);
    ASSERT_NE(visual, nullptr);
    const GLXContext foreign = glXCreateContext(display, visual, nullptr, True);
    XFree(visual);
    ASSERT_NE(foreign, nullptr);
    const auto makeForeignCurrent = [&] {
        return glXMakeCurrent(display, xWindowOf(window.getDisplay()), foreign) && glXGetCurrentContext() == foreign;
    };

    ASSERT_TRUE(makeForeignCurrent());
    context->release();
    EXPECT_EQ(glXGetCurrentContext(), nullptr);
    ASSERT_TRUE(makeForeignCurrent());
    context.reset();
    EXPECT_EQ(glXGetCurrentContext(), nullptr);
    glXDestroyContext(display, foreign);
    window.destroy();
    EXPECT_TRUE(window.capture(false));
}

// Runs the body in a child, this program run again for the current test
// alone on a private Xvfb with the given screen ("640x480x16"), whose
// process CORVO_TEST_XVFB names to the child.
void onOwnXvfb(const char* screen, const std::function<void()>& body)
{
    if (std::getenv("CORVO_TEST_XVFB") != nullptr)
        return body();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string fd = std::to_string(ends[1]);
    const char* const xvfb[] = {"Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen, "-nolisten", "tcp", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t server = -1;
    const bool started = posix_spawnp(&server, "Xvfb", &actions, nullptr, const_cast<char**>(xvfb), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    // The number comes once the server accepts connections; the end of the
    // pipe if it dies first.
    std::string number;
    char digit = 0;
    while (started && read(ends[0], &digit, 1) == 1 && digit != '\n')
        number += digit;
    close(ends[0]);
    int status = -1;
    if (digit == '\n' && !number.empty()) {
        // getenv takes the first DISPLAY, which is the server's.
        std::vector<std::string> variables{"DISPLAY=:" + number, "CORVO_TEST_XVFB=" + std::to_string(server)};
        std::vector<char*> envp;
        for (std::string& variable : variables)
            envp.push_back(variable.data());
        for (char** variable = environ; *variable != nullptr; ++variable)
            envp.push_back(*variable);
        envp.push_back(nullptr);
        const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
        const std::string filter = std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name();
        char program[] = "/proc/self/exe";
        char* const argv[] = {program, const_cast<char*>(filter.c_str()), nullptr};
        pid_t child = -1;
        if (posix_spawn(&child, program, nullptr, nullptr, argv, envp.data()) == 0 && waitpid(child, &status, 0) == child)
            status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
    }
    if (started) {
        ::kill(server, SIGKILL);
        waitpid(server, nullptr, 0);
    }
    if (status == -1)
        GTEST_SKIP() << "Xvfb could not be started";
    EXPECT_EQ(status, 0);
}

// Windows' ChoosePixelFormat gives the closest format the display has: on a
// 16-bit display, 5 and 6 bits for the 8 asked for.
TEST(GraphicalContext, TakesTheClosestFormatOfA16BitDisplay)
{
    onOwnXvfb("640x480x16", [] {
        Win32Window window(nullptr);
        window.create(320, 240, freshTitle("16-bit"));
        window.show();
        Win32GraphicalContext context(window.getDisplay());
        context.acquire();
        EXPECT_EQ(clearAndRead(1.0f, 0.0f, 1.0f), 0xFF00FFu);
        context.release();
        window.destroy();
    });
}

// The server going away must not end the program: its windows are destroyed
// (which ends the pump), and the window and GL calls fail from then on.
TEST(Window, OutlivesItsXServer)
{
    onOwnXvfb("640x480x24", [] {
        Win32Window window(nullptr);
        window.create(320, 240, freshTitle("lost"));
        window.show();
        const HWND handle = static_cast<HWND>(window.getDisplay());
        Win32GraphicalContext context(handle);
        context.acquire();
        ::kill(std::atoi(std::getenv("CORVO_TEST_XVFB")), SIGKILL);
        EXPECT_TRUE(window.capture(false));
        EXPECT_FALSE(alive(handle));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
        unsigned long width = 0, height = 0;
        EXPECT_FALSE(context.getDisplaySize(width, height));
        EXPECT_TRUE(corvo_test::raisedAt<Exception>([&] { Win32GraphicalContext again(handle); },
                                                    "Error trying to choose the Pixel Format",
                                                    "src/Win32/Win32GraphicalContext.cpp",
                                                    "Vesk::Corvo::Win32GraphicalContext::Win32GraphicalContext"));
        Win32Window second(nullptr);
        EXPECT_TRUE(corvo_test::raisedAt<Exception>([&] { second.create(200, 100, freshTitle("lost")); },
                                                    "Win32Window::Exception: error creating the window",
                                                    "src/Win32/Win32Window.cpp", "Vesk::Corvo::Win32Window::create"));
        context.release();
        EXPECT_FALSE(window.capture(true));
    });
}
#endif

} // namespace
