// The rolling series of log files, driven directly, on temporary
// directories: numbering, the roll, surplus removal and restarts.
#include "CorvoPlatform.h"
#include "TempDirectory.h"
#include "ZimLogToRollingFilePolicy.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

using Vesk::Zim::LogToRollingFilePolicy;
using corvo_test::TempDirectory;

namespace {

typedef std::vector<std::string> Names;

std::string thread() { return std::to_string(static_cast<unsigned long long>(GetCurrentThreadId())); }

// The characters a record counts before its text: "<thread> - <n> - ".
std::size_t startLength(unsigned long long record) { return (thread() + " - " + std::to_string(record) + " - ").size(); }

} // namespace

TEST(RollingFile, SeriesStartsAfterTheFilesItFinds)
{
    TempDirectory dir("start");
    {
        LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 5, 1000);
        EXPECT_EQ(policy.getName(), "file");
        policy.log("head ", std::string("first"));
        policy.log("", std::string("second"));
    }
    EXPECT_EQ(dir.names(), (Names{"log1.txt"}));
    EXPECT_EQ(dir.lines("log1.txt"), (Names{thread() + " - 0 - head first", thread() + " - 1 - second"}));

    // A restart never writes on into the last file, and counts records anew.
    {
        LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 5, 1000);
        policy.log("", std::string("third"));
    }
    EXPECT_EQ(dir.names(), (Names{"log1.txt", "log2.txt"}));
    EXPECT_EQ(dir.lines("log2.txt"), (Names{thread() + " - 0 - third"}));
}

TEST(RollingFile, RollsAfterTheRecordThatCrossesTheLimit)
{
    TempDirectory dir("limit");
    const std::string text = "0123456789";
    // The first two records fit exactly; the third crosses the limit.
    const unsigned long long limit = startLength(0) + startLength(1) + 2 * text.size();
    {
        LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 9, limit);
        policy.log("", text);
        policy.log("", text);
        EXPECT_EQ(dir.names(), (Names{"log1.txt"}));
        policy.log("", text + "!");
        EXPECT_EQ(dir.names(), (Names{"log1.txt", "log2.txt"}));
        policy.log("", std::string("after"));
    }
    EXPECT_EQ(dir.lines("log1.txt").size(), 3u);
    EXPECT_EQ(dir.lines("log2.txt"), (Names{thread() + " - 3 - after"}));

    // A wide text counts its wide characters, not its bytes in the file.
    TempDirectory wide("wide");
    {
        LogToRollingFilePolicy policy(wide.path(), "w%hu", 9, startLength(0) + 2);
        policy.log("", std::wstring(L"\x00E9\x20AC"));
        EXPECT_EQ(wide.names(), (Names{"w1"}));
    }
    EXPECT_EQ(wide.lines("w1"), (Names{thread() + " - 0 - \xC3\xA9\xE2\x82\xAC"}));
}

TEST(RollingFile, SizeZeroGivesOneRecordPerFileAndOneFileWraps)
{
    TempDirectory dir("zero");
    {
        LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 3, 0);
        for (int i = 0; i < 5; ++i)
            policy.log("", "r" + std::to_string(i));
    }
    // Numbers run 1, 2, 0, 1, 2, 0: three files stay, the last one empty.
    EXPECT_EQ(dir.names(), (Names{"log0.txt", "log1.txt", "log2.txt"}));
    EXPECT_EQ(dir.lines("log1.txt"), (Names{thread() + " - 3 - r3"}));
    EXPECT_EQ(dir.lines("log2.txt"), (Names{thread() + " - 4 - r4"}));
    EXPECT_TRUE(dir.lines("log0.txt").empty());

    TempDirectory single("single");
    {
        LogToRollingFilePolicy policy(single.path(), "only%hu", 1, 0);
        policy.log("", std::string("a"));
        policy.log("", std::string("b"));
        EXPECT_EQ(single.names(), (Names{"only0"}));
    }
    EXPECT_TRUE(single.lines("only0").empty());
}

TEST(RollingFile, SurplusFilesGoAtTheFirstRecordInNameOrder)
{
    TempDirectory dir("surplus");
    for (int i = 1; i <= 5; ++i)
        dir.write("log" + std::to_string(i) + ".txt", "old\n");
    dir.write("notes.md", "not part of the series\n");
    LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 3, 1000);
    EXPECT_EQ(dir.names(), (Names{"log0.txt", "log1.txt", "log2.txt", "log3.txt", "log4.txt", "log5.txt", "notes.md"}));
    policy.log("", std::string("x"));
    EXPECT_EQ(dir.names(), (Names{"log0.txt", "log4.txt", "log5.txt", "notes.md"}));
}

TEST(RollingFile, NamesSortByteWiseAndMatchByTheirFront)
{
    TempDirectory dir("sort");
    dir.write("log9.txt", "nine\n");
    dir.write("log10.txt", "ten\n");
    dir.write("log3.txt.bak", "front part only\n");
    // "log10" < "log3.txt.bak" < "log9": the series goes on after 9, so 10
    // is taken again and starts empty.
    {
        LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 20, 1000);
        EXPECT_TRUE(dir.lines("log10.txt").empty());
    }
    // With room for two files, the accepted backup file goes in its turn.
    {
        LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 2, 1000);
        policy.log("", std::string("x"));
    }
    EXPECT_EQ(dir.names(), (Names{"log0.txt", "log9.txt"}));
}

// After a restart in which the numbers wrap, the new file bears the name of
// the oldest entry. Removing that entry must leave the file being written.
TEST(RollingFile, WrappedRestartKeepsTheCurrentFile)
{
    TempDirectory dir("wrap");
    for (int i = 0; i < 3; ++i)
        dir.write("log" + std::to_string(i) + ".txt", "old\n");
    {
        LogToRollingFilePolicy policy(dir.path(), "log%hu.txt", 3, 1000);
        policy.log("", std::string("one"));
        policy.log("", std::string("two"));
    }
    EXPECT_EQ(dir.names(), (Names{"log0.txt", "log1.txt", "log2.txt"}));
    EXPECT_EQ(dir.lines("log0.txt"), (Names{thread() + " - 0 - one", thread() + " - 1 - two"}));
}

TEST(RollingFile, ReadOnlyAndHiddenFilesGoLikePlainOnes)
{
    TempDirectory dir("protected");
    dir.write(".r1.log", "old\n");
    const std::string protectedFile = dir.file(".r1.log");
    // Hidden by its name on Linux, by its attribute on Windows.
    ASSERT_NE(SetFileAttributesA(protectedFile.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN), 0);
    ASSERT_EQ(GetFileAttributesA(protectedFile.c_str()) & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN),
              FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    LogToRollingFilePolicy policy(dir.path(), ".r%hu.log", 1, 1000);
    policy.log("", std::string("x"));
    EXPECT_EQ(dir.names(), (Names{".r0.log"}));
}

TEST(RollingFile, MissingDirectoryRecoversAtALaterRoll)
{
    TempDirectory parent("missing");
    const std::string directory = parent.file("later");
    LogToRollingFilePolicy policy(directory, "log%hu.txt", 9, 0);
    policy.log("", std::string("lost"));
    std::filesystem::create_directory(directory);
    policy.log("", std::string("lost too"));
    policy.log("", std::string("kept"));
    EXPECT_EQ(parent.lines("later/log3.txt"), (Names{thread() + " - 2 - kept"}));
}
