// The Win32 calls that the library makes, called by their own names, where
// the library relies on more than its own tests show. Under Wine this checks
// what the classes expect of the real API; on Linux the same checks hold
// Corvo's POSIX layer to it.
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

// Size query, then the conversion into a buffer of exactly that size.
std::string toUtf8(const std::wstring& wide)
{
    const int length = static_cast<int>(wide.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '#');
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, &bytes[0], size, nullptr, nullptr), size);
    return bytes;
}

} // namespace

// The locale converter's two calls: the ANSI text to UTF-16, then to UTF-8.
TEST(Platform, CodePageConversionsNeedRoomForAllAndAddNothing)
{
    WCHAR wide[6] = {L'*', L'*', L'*', L'*', L'*', L'*'};
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab\0\xE9", 4, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab\0\xE9", 4, wide, 3), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab\0\xE9", 4, wide, 6), 4);
    EXPECT_EQ(std::wstring(wide, 6), std::wstring(L"ab\0\x00E9**", 6));
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "\x80\x9F", 2, wide, 6), 2);
    EXPECT_EQ(std::wstring(wide, 2), (std::wstring{0x20AC, 0x178}));
    char narrow[1];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\x00E9", 1, narrow, 1, nullptr, nullptr), 0);
    // Pairs join; a lone surrogate is replaced, not refused.
    EXPECT_EQ(toUtf8(std::wstring{0xD83D, 0xDE00}), "\xF0\x9F\x98\x80");
    EXPECT_EQ(toUtf8(std::wstring{0xD800, L'a'}), "\xEF\xBF\xBD" "a");
}

#if !defined(_WIN32)
// Linux only: the ANSI code page is the C locale's character set.
TEST(Platform, AnsiCodePageFollowsTheCLocale)
{
    const std::string previous = std::setlocale(LC_CTYPE, nullptr);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    WCHAR wide[2] = {};
    const int size = MultiByteToWideChar(CP_ACP, 0, "\xC3\xA9", 2, wide, 2);
    std::setlocale(LC_CTYPE, previous.c_str());
    EXPECT_EQ(std::wstring(wide, static_cast<std::size_t>(size)), std::wstring(1, 0xE9));
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
