// Win32FileStream64 on real files: the modes, the ends of a file, the 4 GiB
// boundary, the failures and the log records.
#include "CorvoFileStream64.h"
#include "LogCapture.h"
#include "TempDirectory.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#endif

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

std::string bytesOf(const Packet_T<char>& packet) { return std::string(packet.m_buffer, packet.m_size); }

Packet_T<char> packetOf(const std::string& text) { return Packet_T<char>(unsigned(text.size()), text.data()); }

TEST(FileStream64, Modes)
{
    // A mode on a file holding "hello": whether it opens a missing file, where
    // it starts, what a read gives (null: the read fails), whether a write of
    // "XY" passes, and the content after it.
    const struct { const char* mode; bool opensMissing; unsigned long long start;
                   const char* reads; bool writes; const char* after; } cases[] = {
        {"r", false, 0, "hello", false, "hello"}, {"r+", false, 0, "hello", true, "helloXY"},
        {"w", true, 0, nullptr, true, "XY"},       {"w+", true, 0, "", true, "XY"},
        {"a", true, 5, "", true, "helloXY"},
    };
    corvo_test::TempDirectory dir("modes");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        dir.write("f", "hello");
        Win32FileStream64 file;
        file.open(dir.file("f"), c.mode);
        EXPECT_EQ(c.start, file.getOffset());
        if (c.reads) {
            EXPECT_EQ(c.reads, bytesOf(file.read(16)));
            EXPECT_EQ(0u, file.read(16).m_size); // the end is no failure
        } else
            EXPECT_TRUE(throwsWith<Exception>([&] { file.read(16); }, "FileStream64 data read failure"));
        if (c.writes)
            EXPECT_TRUE(file.write(packetOf("XY")));
        else
            EXPECT_TRUE(throwsWith<StreamException>([&] { file.write(packetOf("XY")); },
                                                    "FileStream64 write failure"));
        file.close();
        EXPECT_TRUE(throwsWith<StreamException>([&] { file.close(); }, "Unable to close file"));
        EXPECT_EQ(std::vector<std::string>{c.after}, dir.lines("f"));

        const std::string missing = dir.file("missing");
        if (c.opensMissing)
            file.open(missing, c.mode), file.close();
        else
            EXPECT_TRUE(throwsWith<StreamException>([&] { file.open(missing, c.mode); }, "FileStream64 open file failure"));
        EXPECT_EQ(c.opensMissing, std::filesystem::remove(missing));
    }
}

TEST(FileStream64, RefusalsCreateNothingLogNothingAndKeepTheOpenFile)
{
    corvo_test::TempDirectory dir("badmodes");
    corvo_test::Recorder recorder("file-stream-test");
    Vesk::Zim::Logger::getSingleton().setLogFilterLevel(Vesk::Zim::LogInfo);
    Win32FileStream64 file; // the arguments are refused before the handle
    EXPECT_TRUE(throwsWith<StreamException>([&] { file.close(); }, "Unable to close file"));
    const std::string tooLarge = "FileStream64 read failure iSize exceeds SSIZE_MAX";
    EXPECT_TRUE(throwsWith<Exception>([&] { file.read(0x40000001); }, tooLarge));
    EXPECT_TRUE(throwsWith<Exception>([&] { file.read(nullptr, 0x40000001); }, tooLarge));
    EXPECT_TRUE(throwsWith<Exception>([&] { file.read(nullptr, 1); }, "Output buffer is null"));
    EXPECT_TRUE(throwsWith<Exception>([&] { file.write(nullptr, 0); }, "Input buffer is null"));
    // The largest request passes the test and reaches the platform.
    EXPECT_TRUE(throwsWith<Exception>([&] { file.read(0x40000000); }, "FileStream64 data read failure"));
    file.open(dir.file("kept"), "w");
    for (const char* mode : {"", "R", "W", "rb", "wb", "a+", "w+b", " r", "r "}) {
        EXPECT_TRUE(throwsWith<StreamException>([&] { file.open(dir.file("bad"), mode); },
                                                "FileStream64 open file failure, unsupported mode"))
            << "mode \"" << mode << "\"";
    }
    EXPECT_TRUE(file.write("still", 5));
    file.close();
    file.open(dir.file("kept"), "a");
    file.close();
    Vesk::Zim::Logger::getSingleton().setLogFilterLevel(Vesk::Zim::LogDebug);
    EXPECT_EQ(std::vector<std::string>{"kept"}, dir.names());
    EXPECT_EQ(std::vector<std::string>{"still"}, dir.lines("kept"));
    ASSERT_EQ((std::vector<std::string>{" start at beginning", " start at end"}), recorder.texts());
    for (const corvo_test::Record& record : recorder.records)
        EXPECT_NE(std::string::npos, record.head.find(" [[INFO]Vesk::Corvo::Win32FileStream64::open] "))
            << record.head;
}

TEST(FileStream64, PacketsOfSuccessiveReadsKeepTheirBytes)
{
    // Full reads, a short one into a large request and one at the end, with
    // every packet still alive when the next read starts.
    corvo_test::TempDirectory dir("reads");
    dir.write("f", "abcdefghij");
    Win32FileStream64 file;
    file.open(dir.file("f"), "r");
    std::vector<Packet_T<char>> packets;
    for (unsigned size : {4u, 4u, 100u, 100u, 3u})
        packets.push_back(file.read(size));
    file.setOffset(1);
    packets.push_back(file.read(3));
    file.close();
    std::vector<std::string> texts;
    for (const Packet_T<char>& packet : packets)
        texts.push_back(bytesOf(packet));
    EXPECT_EQ((std::vector<std::string>{"abcd", "efgh", "ij", "", "", "bcd"}), texts);
}

TEST(FileStream64, FilesBeyondFourGiB)
{
    corvo_test::TempDirectory dir("sparse");
    const unsigned long long fiveGiB = 5ull << 30;
    Win32FileStream64 file;
    file.open(dir.file("big"), "w+");
    ASSERT_TRUE(file.setOffset(fiveGiB));
    EXPECT_TRUE(file.write(packetOf("xyz")));
    EXPECT_EQ(fiveGiB + 3, file.getSize());
    EXPECT_EQ(fiveGiB + 3, file.getOffset());
    ASSERT_TRUE(file.setOffset(fiveGiB));
    char buffer[2] = {};
    file.read(buffer, 1);
    EXPECT_EQ('x', buffer[0]);
    EXPECT_EQ("yz", bytesOf(file.read(8)));
    EXPECT_EQ(nullptr, file.read(0).m_buffer);

    // A valid position whose low half reads as the platform's failure value.
    ASSERT_TRUE(file.setOffset(0x1FFFFFFFFull));
    EXPECT_TRUE(throwsWith<StreamException>([&] { file.getOffset(); }, "FileStream64 getOffset failure"));
    ASSERT_TRUE(file.setOffset(0x100000000ull));
    EXPECT_EQ(0x100000000ull, file.getOffset());
    file.close();
}

TEST(FileStream64, FullDiskKeepsWhatFitted)
{
#ifdef _WIN32
    GTEST_SKIP() << "a file size limit needs RLIMIT_FSIZE, which Windows doesn't have";
#else
    corvo_test::TempDirectory dir("full");
    const rlim_t limit = 64 * 1024;
    rlimit saved;
    getrlimit(RLIMIT_FSIZE, &saved);
    if (saved.rlim_max != RLIM_INFINITY && saved.rlim_max < 2 * limit)
        GTEST_SKIP() << "the hard file size limit is too low to test against";
    Win32FileStream64 file;
    file.open(dir.file("f"), "w");
    const std::string data(2 * limit, 'd');
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {limit, saved.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    const bool failed = throwsWith<StreamException>([&] { file.write(packetOf(data)); }, "FileStream64 write failure");
    setrlimit(RLIMIT_FSIZE, &saved);
    signal(SIGXFSZ, SIG_DFL);
    EXPECT_TRUE(failed);
    EXPECT_EQ(limit, file.getSize());
    file.close();
#endif
}

} // namespace
