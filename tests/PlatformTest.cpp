// The platform calls whose behaviour the library relies on beyond what its
// classes' tests show, called by their Win32 names: under Wine against the
// real API, on Linux against Corvo's POSIX layer.
#include "CorvoLocaleConverter.h"
#include "CorvoPlatform.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdarg>
#include <set>
#include <string>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

int formatWide(wchar_t* buffer, std::size_t count, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = _vswprintf_c_l(buffer, count, format, nullptr, args);
    va_end(args);
    return result;
}

} // namespace

#if !defined(_WIN32)
// Linux only: the ANSI code page is the C locale's character set, and a
// UTF-8 one gives surrogate pairs that must join again.
TEST(Platform, AnsiCodePageFollowsTheCLocale)
{
    const std::string previous = std::setlocale(LC_CTYPE, nullptr);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    const Vesk::Corvo::Utf8String text = Vesk::Corvo::Win32LocaleConverter::ansiToUtf8("\xC3\xA9\xF0\x9F\x98\x80");
    std::setlocale(LC_CTYPE, previous.c_str());
    EXPECT_EQ(std::string(text.c_str(), text.bytes()), "\xC3\xA9\xF0\x9F\x98\x80");
}

// The number is kept per thread: a forked child, a new thread, must not go
// on with its parent's.
TEST(Platform, ForkedChildHasAThreadIdOfItsOwn)
{
    const DWORD parent = GetCurrentThreadId();
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    const pid_t child = fork();
    if (child == 0) {
        const DWORD ids[2] = {GetCurrentThreadId(), static_cast<DWORD>(gettid())};
        _exit(write(pipeEnds[1], ids, sizeof ids) == sizeof ids ? 0 : 1);
    }
    DWORD ids[2] = {};
    EXPECT_EQ(read(pipeEnds[0], ids, sizeof ids), static_cast<ssize_t>(sizeof ids));
    waitpid(child, nullptr, 0);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    EXPECT_NE(ids[0], parent);
    EXPECT_EQ(ids[0], ids[1]);
}
#endif

// In a wide format "%s" and "%c" are wide, "%hs" and "%S" narrow.
TEST(Platform, WideFormattingReadsFormatsAsWindowsDoes)
{
    wchar_t buffer[32];
    EXPECT_EQ(formatWide(buffer, 32, L"%s|%hs|%S|%c|%ls|%-3s|%%s", L"w", "n", "N", L'x', L"l", L"p"), 16);
    EXPECT_EQ(std::wstring(buffer), L"w|n|N|x|l|p  |%s");
}

// The rolling log's scan: "*.*" matches names without a dot too.
TEST(Platform, FindListsEveryNameForStarDotStar)
{
    corvo_test::TempDirectory dir("find");
    dir.write("no-dot", "");
    dir.write("with.dot", "");
    std::set<std::string> names;
    _finddata64i32_t entry;
    const std::intptr_t search = _findfirst64i32((dir.path() + "/*.*").c_str(), &entry);
    ASSERT_NE(search, -1);
    do
        names.insert(entry.name);
    while (_findnext64i32(search, &entry) == 0);
    EXPECT_EQ(_findclose(search), 0);
    EXPECT_EQ(names, (std::set<std::string>{".", "..", "no-dot", "with.dot"}));
}
