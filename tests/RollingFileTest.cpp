// The rolling series of log files, driven directly, on temporary
// directories: numbering, the roll, surplus removal and restarts.
#include "CorvoPlatform.h"
#include "TempDirectory.h"
#include "TestSupport.h"
#include "ZimException.h"
#include "ZimLogToRollingFilePolicy.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <utility>

using Vesk::Zim::LogToRollingFilePolicy;
using corvo_test::TempDirectory;
using corvo_test::raisedAt;

namespace {

typedef std::vector<std::string> Names;

// The lines of a file as the test expects them, each "<number> - <text>",
// with the thread's column put in front.
Names withThread(const Names& lines)
{
    Names result;
    for (const std::string& line : lines)
        result.push_back(std::to_string(static_cast<unsigned long long>(GetCurrentThreadId())) + " - " + line);
    return result;
}

} // namespace

// One policy on a directory that holds some old files: after construction
// the directory holds them and the first file; after the records, the names
// and lines given. Old files whose name starts with a dot are read-only and
// hidden as well.
TEST(RollingFile, SeriesOnDirectoriesOfOldFiles)
{
    // A line counts its characters without the line end.
    const Names fit = withThread({"0 - h 0123456789", "1 - h 0123456789"});
    const struct
    {
        const char* label;
        Names old;
        const char* format;
        unsigned short maxFiles;
        unsigned long long maxSize;
        Names records;
        const char* first;
        Names after;
        std::vector<std::pair<std::string, Names>> lines;
    } runs[] = {
        // The first two lines fit exactly; the roll comes after the third,
        // which crosses the limit.
        {"limit", {}, "log%hu.txt", 9, fit[0].size() + fit[1].size(),
         {"0123456789", "0123456789", "0123456789!", "after"}, "log1.txt", {"log1.txt", "log2.txt"},
         {{"log1.txt", {"0 - h 0123456789", "1 - h 0123456789", "2 - h 0123456789!"}}, {"log2.txt", {"3 - h after"}}}},
        // Size 0: one record per file. Numbers run 1, 2, 0, 1, 2, 0.
        {"zero", {}, "log%hu.txt", 3, 0, {"r0", "r1", "r2", "r3", "r4"}, "log1.txt",
         {"log0.txt", "log1.txt", "log2.txt"},
         {{"log0.txt", {}}, {"log1.txt", {"3 - h r3"}}, {"log2.txt", {"4 - h r4"}}}},
        {"single", {}, "only%hu", 1, 0, {"a", "b"}, "only0", {"only0"}, {{"only0", {}}}},
        // Surplus files stay until the first record, then go in name order.
        {"surplus", {"log1.txt", "log2.txt", "log3.txt", "log4.txt", "log5.txt", "notes.md"}, "log%hu.txt", 3, 1000,
         {"x"}, "log0.txt", {"log0.txt", "log4.txt", "log5.txt", "notes.md"}, {}},
        // Names sort byte-wise, "log10" < "log3.txt.bak" < "log9": the series
        // goes on after 9, so 10 is taken again and starts empty.
        {"sort", {"log9.txt", "log10.txt", "log3.txt.bak"}, "log%hu.txt", 20, 1000, {}, "log10.txt",
         {"log10.txt", "log3.txt.bak", "log9.txt"}, {{"log10.txt", {}}}},
        // A name accepted by its front goes in its turn.
        {"front", {"log9.txt", "log10.txt", "log3.txt.bak"}, "log%hu.txt", 2, 1000, {"x"}, "log0.txt",
         {"log0.txt", "log9.txt"}, {}},
        // The wrapped restart's file bears the oldest entry's name: removing
        // that entry must leave the file being written.
        {"wrap", {"log0.txt", "log1.txt", "log2.txt"}, "log%hu.txt", 3, 1000, {"one", "two"}, "log0.txt",
         {"log0.txt", "log1.txt", "log2.txt"}, {{"log0.txt", {"0 - h one", "1 - h two"}}}},
        {"protected", {".r1.log"}, ".r%hu.log", 1, 1000, {"x"}, ".r0.log", {".r0.log"}, {}},
        // A percent sign, a zero flag and a width, hexadecimal.
        {"format", {"%00b.log"}, "%%%03hx.log", 20, 0, {"x"}, "%00c.log", {"%00b.log", "%00c.log", "%00d.log"},
         {{"%00c.log", {"0 - h x"}}}},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.label);
        TempDirectory dir(run.label);
        std::set<std::string> before(run.old.begin(), run.old.end());
        for (const std::string& name : run.old) {
            dir.write(name, "old\n");
            const DWORD protect = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
            EXPECT_NE(SetFileAttributesA(dir.file(name).c_str(), name[0] == '.' ? protect : FILE_ATTRIBUTE_NORMAL), 0);
        }
        before.insert(run.first);
        {
            LogToRollingFilePolicy policy(dir.path(), run.format, run.maxFiles, run.maxSize);
            EXPECT_EQ(policy.getName(), "file");
            EXPECT_EQ(dir.names(), Names(before.begin(), before.end()));
            for (const std::string& record : run.records)
                policy.log("h ", record);
        }
        EXPECT_EQ(dir.names(), run.after);
        for (const auto& file : run.lines)
            EXPECT_EQ(dir.lines(file.first), withThread(file.second)) << file.first;
    }
}

// Records lost to a missing directory still count, and the series goes on
// at a later roll. A wide text counts its wide characters, not its bytes in
// the file: the last record fits.
TEST(RollingFile, MissingDirectoryRecoversAtALaterRollAndWideTextCountsItsCharacters)
{
    TempDirectory parent("missing");
    const std::string directory = parent.file("later");
    {
        LogToRollingFilePolicy policy(directory, "log%hu.txt", 9, withThread({"0 - "})[0].size() + 2);
        policy.log("", std::string("lost"));
        std::filesystem::create_directory(directory);
        policy.log("", std::string("lost too"));
        policy.log("", std::string("kept"));
        policy.log("", std::wstring(L"\x00E9\x20AC"));
    }
    EXPECT_EQ(parent.lines("later/log3.txt"), withThread({"2 - kept"}));
    EXPECT_EQ(parent.lines("later/log4.txt"), withThread({"3 - \xC3\xA9\xE2\x82\xAC"}));
    EXPECT_FALSE(std::filesystem::exists(directory + "/log5.txt"));
}

// A name format that would hand sprintf and sscanf what they don't get is
// refused before any file is touched.
TEST(RollingFile, RefusesNameFormatsOtherThanOneUnsignedShort)
{
    TempDirectory dir("formats");
    for (const char* format : {"log.txt", "log%s.txt", "log%n.txt", "%hu-%hu.log", "%u.log", "%lu.log", "%hhu.log",
                               "%*hu.log", "%1$hu.log", "%.3hu.log", "%-3hu.log", "x%255hu.log", "%1000000000000hu.log",
                               "log%", "log%h", "%hi.log", "%hs.log", "%%hu.log"}) {
        EXPECT_TRUE(raisedAt<Vesk::Zim::Exception>(
            [&] { LogToRollingFilePolicy(dir.path(), format, 3, 100); },
            std::string("A log file name format [") + format +
                "] does not hold exactly one conversion of an unsigned short",
            "src/Zim/ZimLogToRollingFilePolicy.cpp", "Vesk::Zim::LogToRollingFilePolicy::LogToRollingFilePolicy"))
            << format;
    }
    EXPECT_EQ(dir.names(), Names{});
}
