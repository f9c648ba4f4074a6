// The Win32 calls that the library makes, called by their own names. Under
// Wine this checks what the classes expect of the real API; on Linux the
// same checks hold Corvo's POSIX layer to it.
#include "CorvoPlatform.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdarg>
#include <fstream>
#include <future>
#include <set>
#include <string>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

int formatNarrow(char* buffer, std::size_t count, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = _vsnprintf(buffer, count, format, args);
    va_end(args);
    return result;
}

int formatWide(wchar_t* buffer, std::size_t count, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = _vswprintf_c_l(buffer, count, format, nullptr, args);
    va_end(args);
    return result;
}

// Size query, then the conversion into a buffer of exactly that size.
std::wstring toWide(UINT codePage, const std::string& bytes)
{
    const int length = static_cast<int>(bytes.size());
    const int size = MultiByteToWideChar(codePage, 0, bytes.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'#');
    EXPECT_EQ(MultiByteToWideChar(codePage, 0, bytes.data(), length, &wide[0], size), size);
    return wide;
}

std::string toBytes(UINT codePage, const std::wstring& wide)
{
    const int length = static_cast<int>(wide.size());
    const int size =
        WideCharToMultiByte(codePage, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '#');
    EXPECT_EQ(WideCharToMultiByte(codePage, 0, wide.data(), length, &bytes[0], size, nullptr,
                                  nullptr),
              size);
    return bytes;
}

} // namespace

TEST(Platform, CodePageConversionsCountUnitsAndNeedRoomForAll)
{
    WCHAR wide[6] = {L'*', L'*', L'*', L'*', L'*', L'*'};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab\0\xC3\xA9", 5, wide, 3), 0);
    // The NUL is converted like any unit, and nothing is added behind.
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab\0\xC3\xA9", 5, wide, 6), 4);
    EXPECT_EQ(std::wstring(wide, 6), std::wstring(L"ab\0\x00E9**", 6));
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab", 0, nullptr, 0), 0);
    char narrow[1];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\x00E9", 1, narrow, 1, nullptr, nullptr), 0);
}

TEST(Platform, AnsiIs1252AndUtf8CarriesSurrogatePairs)
{
    EXPECT_EQ(toWide(CP_ACP, "\xE9\x80\x9F"), (std::wstring{0xE9, 0x20AC, 0x178}));
    EXPECT_EQ(toBytes(CP_ACP, std::wstring{0xE9, 0x20AC}), "\xE9\x80");
    // What 1252 lacks, and a lone surrogate, become one '?' each.
    EXPECT_EQ(toBytes(CP_ACP, std::wstring{0x4E00, 0xD800, L'a'}), "??a");

    EXPECT_EQ(toWide(CP_UTF8, "a\xF0\x9F\x98\x80"), (std::wstring{L'a', 0xD83D, 0xDE00}));
    EXPECT_EQ(toBytes(CP_UTF8, std::wstring{0xD83D, 0xDE00}), "\xF0\x9F\x98\x80");
    // Bad input is replaced, not refused.
    EXPECT_EQ(toWide(CP_UTF8, "\xFF"), std::wstring(1, 0xFFFD));
    EXPECT_EQ(toBytes(CP_UTF8, std::wstring{0xD800, L'a'}), "\xEF\xBF\xBD" "a");
}

#if !defined(_WIN32)
// Linux only: the ANSI code page is the C locale's character set.
TEST(Platform, AnsiCodePageFollowsTheCLocale)
{
    const std::string previous = std::setlocale(LC_CTYPE, nullptr);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    const std::wstring wide = toWide(CP_ACP, "\xC3\xA9");
    std::setlocale(LC_CTYPE, previous.c_str());
    EXPECT_EQ(wide, std::wstring(1, 0xE9));
}
#endif

TEST(Platform, ThreadIdsAreStablePerThreadAndDistinct)
{
    const DWORD mine = GetCurrentThreadId();
    EXPECT_NE(mine, 0u);
    EXPECT_EQ(GetCurrentThreadId(), mine);
    EXPECT_NE(std::async(std::launch::async, [] { return GetCurrentThreadId(); }).get(), mine);
}

#if !defined(_WIN32)
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

TEST(Platform, NarrowFormattingFillsTheCountWithoutTerminatorWhenCut)
{
    const struct
    {
        std::size_t count;
        int result; // -1 for any negative result
        std::string buffer;
    } rows[] = {{6, 5, std::string("12-ab\0", 6)}, {5, 5, "12-ab#"}, {4, -1, "12-a##"}};
    for (const auto& row : rows) {
        char buffer[8];
        std::string(8, '#').copy(buffer, 8);
        const int result = formatNarrow(buffer, row.count, "%d-%s", 12, "ab");
        EXPECT_EQ(result < 0 ? -1 : result, row.result) << row.count;
        EXPECT_EQ(std::string(buffer, 6), row.buffer) << row.count;
    }
}

TEST(Platform, WideFormattingReadsFormatsAsWindowsDoes)
{
    wchar_t buffer[32];
    EXPECT_EQ(formatWide(buffer, 32, L"%s|%hs|%c|%5d|%%", L"wide", "narrow", L'x', 42), 21);
    EXPECT_EQ(std::wstring(buffer), L"wide|narrow|x|   42|%");
    EXPECT_EQ(formatWide(buffer, 32, L"%ls|%S|%-3d|", L"w", "n", 7), 8);
    EXPECT_EQ(std::wstring(buffer), L"w|n|7  |");

    // A text that does not fit is cut and stays terminated.
    std::wstring(32, L'#').copy(buffer, 32);
    EXPECT_LT(formatWide(buffer, 4, L"%s", L"abcdef"), 0);
    EXPECT_EQ(std::wstring(buffer, 5), std::wstring(L"abc\0#", 5));
}

TEST(Platform, DeleteRefusesAFileThisProcessHoldsOpen)
{
    corvo_test::TempDirectory dir("delete");
    const std::string path = dir.file("open.log");
    {
        std::ofstream writer(path.c_str());
        writer << "held";
        writer.flush();
        EXPECT_EQ(DeleteFileA(path.c_str()), 0);
        EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
    }
    EXPECT_NE(DeleteFileA(path.c_str()), 0);
    EXPECT_EQ(DeleteFileA(path.c_str()), 0);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(DeleteFileA(dir.path().c_str()), 0);
}

TEST(Platform, AttributesReadOnlyRoundTrip)
{
    corvo_test::TempDirectory dir("attributes");
    dir.write("plain", "x");
    const std::string path = dir.file("plain");
    EXPECT_EQ(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_NE(GetFileAttributesA(dir.path().c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
    ASSERT_NE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY), 0);
    EXPECT_NE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    ASSERT_NE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL), 0);
    EXPECT_EQ(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);

    EXPECT_EQ(GetFileAttributesA(dir.file("missing").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(SetFileAttributesA(dir.file("missing").c_str(), FILE_ATTRIBUTE_NORMAL), 0);
}

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

    EXPECT_EQ(_findfirst64i32((dir.file("absent") + "/*.*").c_str(), &entry), -1);
}
