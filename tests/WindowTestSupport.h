// What the window and GL tests share: the display they run on, and titles
// that no other window of the process has.
#ifndef CORVO_TEST_WINDOW_TEST_SUPPORT_H
#define CORVO_TEST_WINDOW_TEST_SUPPORT_H

#include "CorvoPlatform.h"
#include "UnderWine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#ifndef _WIN32
#  include <X11/Xlib.h>
#endif

namespace corvo_test {

#ifndef _WIN32
// The test's own connection, as another client of the server would be.
inline ::Display* testDisplay()
{
    static ::Display* display = std::getenv("DISPLAY") ? XOpenDisplay(nullptr) : nullptr;
    return display;
}
#endif

inline bool haveDisplay()
{
#ifdef _WIN32
    // Wine draws through X11 too; Windows itself always has a desktop.
    return std::getenv("DISPLAY") != nullptr || !underWine();
#else
    return testDisplay() != nullptr;
#endif
}

// Window classes are never unregistered, so every window needs a title of
// its own.
inline std::string freshTitle(const std::string& base)
{
    static int count = 0;
    return "Corvo " + base + " " + std::to_string(++count);
}

} // namespace corvo_test

#define SKIP_WITHOUT_DISPLAY()          \
    if (!corvo_test::haveDisplay())     \
    GTEST_SKIP() << "no X display: DISPLAY is unset or names no server (run the test through tests/with-xvfb)"

#endif
