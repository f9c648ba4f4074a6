// The Logger, its file and console policies, the stack tracer and the
// test-suite runner, in a process whose Logger is the one getSingleton
// builds. Each test names its own policies: the Logger remembers every name
// it was given.
#include "CorvoPlatform.h"
#include "LogCapture.h"
#include "TempDirectory.h"
#include "TestSupport.h"
#include "ZimException.h"
#include "ZimLogger.h"
#include "ZimStackTracer.h"
#include "ZimUnitTestSuite.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <regex>
#include <stdexcept>
#include <thread>

using namespace Vesk::Zim;
using namespace corvo_test;

namespace {

typedef std::vector<std::string> Texts;

Logger& logger() { return Logger::getSingleton(); }

// A record's head: the time, then " [" levelAndTag "] ".
bool headIs(const std::string& head, const std::string& levelAndTag)
{
    return head.size() >= 19 && head.substr(19) == " [" + levelAndTag + "] " &&
           std::regex_match(head.substr(0, 19), std::regex("[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
}

std::string threadNumber() { return std::to_string(static_cast<unsigned long long>(GetCurrentThreadId())); }

// Hands each narrow record to a function.
struct CallPolicy : LogPolicy
{
    typedef std::function<void(const std::string& head, const std::string& text)> Call;
    CallPolicy(const std::string& name, Call call) : LogPolicy(name), call(call) {}
    void log(const std::string&, const std::wstring&) override {}
    void log(const std::string& head, const std::string& text) override { call(head, text); }
    Call call;
};

// A suite whose body reports its lines, and throws at a line "throw".
struct Suite : UnitTestSuite
{
    Suite(const std::string& name, Texts lines) : UnitTestSuite(name), lines(lines) {}
    void run() override
    {
        ++runs;
        for (const std::string& line : lines)
            line == "throw" ? throw std::runtime_error("suite failed") : result(line);
    }
    Texts lines;
    int runs = 0;
};

std::string start(const std::string& name) { return "- Starting Test Suite\n |_[" + name + "]"; }
const std::string end = " ____________________________________________________ Complete! _______________\n";

} // namespace

// Every record also leaves the thread's last errors as it found them,
// whatever a policy did to them: code that logs between a call and its
// GetLastError must still read the call's error.
TEST(Logger, FilterPassesLevelsAtOrAboveItAndBareRecordsAlways)
{
    Recorder recorder("filter");
    std::vector<Record>& records = recorder.records;
    CallPolicy clobbering("clobbering", [](const std::string&, const std::string&) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        WSASetLastError(WSAECONNRESET);
    });
    logger().addPolicy(clobbering, true);
    WSASetLastError(WSAEWOULDBLOCK);
    SetLastError(ERROR_ACCESS_DENIED);
    const DWORD error = GetLastError();
    const int socketError = WSAGetLastError();
    for (int filter = LogInfo; filter <= LogNone; ++filter)
        for (int level = LogInfo; level <= LogNone; ++level) {
            logger().setLogFilterLevel(static_cast<LogLevel>(filter));
            records.clear();
            logger().log(static_cast<LogLevel>(level), "t", "x");
            logger().logTagf(static_cast<LogLevel>(level), "t", "%d", level);
            logger().logTagf(static_cast<LogLevel>(level), "t", L"%d", level);
            EXPECT_EQ(records.size(), level >= filter ? 3u : 0u) << "level " << level << ", filter " << filter;
        }

    // The filter stands at LogNone. Formatted texts (one formatter for both
    // forms) are cut to the buffer.
    records.clear();
    logger().log("bare");
    logger().log(std::wstring(L"wide bare"));
    logger().logf("%s %d", "formatted", 1);
    logger().logf(L"%s %d", L"formatted", 2);
    logger().setLogFilterLevel(LogInfo);
    logger().logTagf(LogError, "t", "%s", std::string(5000, 'n').c_str());
    logger().logTagf(LogError, "t", L"%s", std::wstring(5000, L'w').c_str());
    logger().log(LogDebug, "t", std::wstring(L"wide"));
    logger().log(static_cast<LogLevel>(9), "tag", "x");
    logger().disablePolicy("clobbering");
    EXPECT_EQ(GetLastError(), error);
    EXPECT_EQ(WSAGetLastError(), socketError);
    EXPECT_EQ(recorder.texts(), (Texts{"bare", "wide bare", "formatted 1", "formatted 2", std::string(1023, 'n'),
                                       std::string(1022, 'w'), "wide", "x"}));
    std::string slots;
    for (const Record& r : records)
        slots += r.wide ? 'w' : 'n';
    EXPECT_EQ(slots, "nwnwnwwn");
    EXPECT_EQ(records[0].head, "");
    // A level without a text shows an empty one in the head.
    EXPECT_TRUE(headIs(records.back().head, "tag")) << records.back().head;
}

TEST(Logger, PolicyManagement)
{
    std::vector<Record> records;
    Recorder p("managed", records);
    EXPECT_TRUE(raisedAt<Exception>([] { logger().enablePolicy("nobody"); },
                                    "A log Policy with name [nobody] does not exist within the system",
                                    "src/Zim/Zimlogger.cpp", "Vesk::Zim::Logger::enablePolicy"));
    logger().disablePolicy("nobody");
    logger().logToSysLog(false);
    EXPECT_TRUE(throwsWith<Exception>([] { logger().logToSysLog(true); },
                                      "A log Policy with name [syslog] does not exist within the system"));

    // Added enabled: the disabled map never had it, so a namesake fits there.
    logger().addPolicy(p, true);
    logger().enablePolicy("managed");
    EXPECT_TRUE(throwsWith<Exception>([&] { logger().addPolicy(p, true); },
                                      "A log policy with name [managed] already exists within the system"));
    Recorder namesake("managed", records);
    logger().addPolicy(namesake, false);

    // Disabling keeps the namesake in the disabled map; enabling brings it back.
    logger().disablePolicy("managed");
    logger().log(LogError, "t", "lost");
    logger().enablePolicy("managed");
    logger().log(LogError, "t", "kept");

    // Enabled through enablePolicy, it stays in the disabled map as well.
    logger().disablePolicy("managed");
    Recorder third("managed", records);
    EXPECT_TRUE(throwsWith<Exception>([&] { logger().addPolicy(third, false); },
                                      "A log policy with name [managed] already exists within the system"));

    // A policy named "console" can stand beside the built-in one. Records
    // reach the enabled policies in name order, not in the order of entry.
    logger().enablePolicy("managed");
    Recorder console("console", records);
    logger().addPolicy(console, true);
    logger().log(LogError, "t", "to both");
    logger().disablePolicy("console");
    logger().disablePolicy("managed");
    CoutCapture capture;
    logger().logToConsole(true);
    logger().log(LogError, "t", "to the built-in");
    logger().logToConsole(false);
    ASSERT_EQ(p.texts(), (Texts{"kept", "to both", "to both"}));
    EXPECT_EQ(records[1].policy + records[2].policy, "consolemanaged");
    EXPECT_NE(capture.text().find("] to the built-in"), std::string::npos);
}

TEST(Logger, PoliciesMayLogAgainAndAThrowFreesTheLock)
{
    logger().setLogFilterLevel(LogDebug);
    // Logs again from inside its "outer" record; the inner record must leave
    // the outer one's head alone.
    Texts heads, texts;
    CallPolicy reentrant("reentrant", [&](const std::string& head, const std::string& text) {
        const std::string before = head;
        if (text == "outer")
            logger().log(LogError, "inner-tag", "inner");
        heads.push_back(before == head ? head : "changed: " + head);
        texts.push_back(text);
    });
    logger().addPolicy(reentrant, true);
    logger().log(LogWarning, "outer-tag", "outer");
    ASSERT_EQ(texts, (Texts{"inner", "outer"}));
    EXPECT_TRUE(headIs(heads[0], "[ERROR]inner-tag") && headIs(heads[1], "[WARNING]outer-tag")) << heads[0] << heads[1];

    CallPolicy thrower("aaa-throwing", [](const std::string&, const std::string&) { throw std::runtime_error("x"); });
    logger().addPolicy(thrower, true);
    EXPECT_THROW(logger().log(LogError, "t", "lost"), std::runtime_error);
    logger().disablePolicy("aaa-throwing");
    // The policy later in name order got nothing; another thread can log.
    std::thread([] { logger().log(LogError, "t", "after"); }).join();
    EXPECT_EQ(texts, (Texts{"inner", "outer", "after"}));
    logger().disablePolicy("reentrant");
}

TEST(LogToFilePolicy, AppendsFlushedLinesWholeAndWideTextAsUtf8)
{
    TempDirectory dir("file-policy");
    dir.write("file.log", "earlier record\n");
    // Far longer than any buffer, and the short record after it too.
    const std::string longText(300000, 'L');
    {
        LogToFilePolicy first(dir.file("file.log")), second(dir.file("file.log"));
        first.log("head ", std::string("narrow"));
        second.log("", std::string("cut\0here", 8));
        // The file holds each line as soon as it is logged.
        EXPECT_EQ(dir.lines("file.log").size(), 3u);
        first.log("h ", longText);
        first.log("h ", std::wstring(L"caf\x00E9 \xD83D\xDE00"));
        first.log("h ", std::string());
    }
    const std::string column = threadNumber() + " - ";
    EXPECT_EQ(dir.lines("file.log"), (Texts{"earlier record", column + "head narrow", column + "cut",
                                            column + "h " + longText, column + "h caf\xC3\xA9 \xF0\x9F\x98\x80",
                                            column + "h "}));

    // No directory: nothing is written and nothing fails.
    LogToFilePolicy lost(dir.file("no-such-directory/file.log"));
    lost.log("h", std::string("x"));
    EXPECT_EQ(dir.names(), (Texts{"file.log"}));
}

// Eight threads log at once through the Logger into one file: every record
// arrives once, whole, tagged with its thread's number.
TEST(Logger, ConcurrentRecordsNeverInterleave)
{
    TempDirectory dir("concurrent");
    const int threads = 8, perThread = 20000;
    Texts ids(threads);
    {
        LogToFilePolicy file(dir.file("load.log"));
        logger().setLogFilterLevel(LogDebug);
        logger().addPolicy(file, true);
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; ++t)
            workers.emplace_back([t, &ids] {
                ids[t] = threadNumber();
                for (int i = 0; i < perThread; ++i)
                    logger().logTagf(LogDebug, "load", "thread %d record %d", t, i);
            });
        for (std::thread& worker : workers)
            worker.join();
        logger().logToFile(false);
    }
    // Parsed by hand: a regular expression over 160,000 lines is slow under
    // the sanitizers. Each thread's records come in their order.
    std::vector<int> next(threads, 0);
    for (const std::string& text : dir.lines("load.log")) {
        unsigned long long id = 0;
        int t = -1, i = -1, end = 0;
        std::sscanf(text.c_str(), "%llu - %*19c [[DEBUG]load] thread %d record %d%n", &id, &t, &i, &end);
        ASSERT_TRUE(end == static_cast<int>(text.size()) && t >= 0 && t < threads && std::to_string(id) == ids[t] &&
                    i == next[t]++)
            << text;
    }
    EXPECT_EQ(next, std::vector<int>(threads, perThread));
}

// The Logger hands its file policies a head that each thread keeps, and
// copies short texts word by word: long and cut tags, tags that differ from
// the kept one in their last byte only, texts cut by a NUL inside or at the
// end of a word, and long texts come out as they would through the policy's
// own log, which a class derived from the policy still gets.
TEST(Logger, FilePoliciesWriteEveryHeadAsTheirOwnLogWould)
{
    struct Derived : LogToFilePolicy
    {
        using LogToFilePolicy::LogToFilePolicy;
        void log(const std::string& head, const std::string& text) override { LogToFilePolicy::log(head, "d:" + text); }
        using LogToFilePolicy::log;
    };
    const std::string longTag(2000, 'T');
    // The tag and the text; the head and the text each end at a NUL.
    const std::pair<std::string, std::string> records[] = {
        {longTag, "a"}, {std::string("cut\0tag", 7), "b"}, {"t", std::string(5000, 'x')}, {"abc", "c"}, {"abd", "d"},
        {"abcdefgh", "e"}, {"abcdefgi", "f"}, {"abcdefghijklmnopq", "g"}, {"abcdefghijklmnopr", "h"},
        {"t", std::string("0123456\0x", 9)}, {"t", std::string("01234567\0", 9)},
        {"t", std::string("0123456789abcdef0\0", 18)}, {"t", std::string(290, 'y') + '\0' + "z"},
    };
    TempDirectory dir("kept-head");
    {
        LogToFilePolicy file(dir.file("file.log"));
        Derived derived(dir.file("derived.log"));
        for (LogPolicy* policy : {static_cast<LogPolicy*>(&file), static_cast<LogPolicy*>(&derived)}) {
            logger().setLogFilterLevel(LogDebug);
            logger().addPolicy(*policy, true);
            for (const auto& [tag, text] : records)
                logger().log(LogError, tag, text);
            logger().logToFile(false);
        }
    }
    const std::string column = threadNumber() + " - ";
    for (const std::string mark : {"", "d:"}) {
        const Texts lines = dir.lines(mark.empty() ? "file.log" : "derived.log");
        ASSERT_EQ(lines.size(), std::size(records)) << mark;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            // The line without its time, which takes 19 characters.
            const std::string head = " [[ERROR]" + records[i].first + "] ";
            EXPECT_EQ(lines[i].substr(0, column.size()) + lines[i].substr(column.size() + 19),
                      column + head.c_str() + mark + records[i].second.c_str());
        }
    }
}

// A file policy built where another stood, whose descriptor number a file
// of its own holds by then, writes to its own file.
TEST(Logger, AFilePolicyBuiltWhereAnotherStoodWritesItsOwnFile)
{
    TempDirectory dir("same-place");
    std::optional<LogToFilePolicy> policy;
    std::ofstream other;
    for (const std::string name : {"first.log", "second.log"}) {
        policy.emplace(dir.file(name));
        logger().addPolicy(*policy, true);
        logger().log(LogError, "t", name);
        logger().logToFile(false);
        policy.reset();
        if (!other.is_open())
            other.open(dir.file("other.log").c_str());
    }
    other.close();
    EXPECT_EQ(dir.lines("first.log").size(), 1u);
    EXPECT_EQ(dir.lines("second.log").size(), 1u);
    EXPECT_EQ(dir.lines("other.log"), Texts{});
}

TEST(StackTracer, IndentsByDepthWhateverTheFilter)
{
    Recorder recorder("tracer");
    logger().setLogFilterLevel(LogTrace);
    {
        StackTracer a("a");
        StackTracer("b");
        // The depth moves while the filter keeps the records out.
        {
            logger().setLogFilterLevel(LogDebug);
            StackTracer hidden("hidden");
            logger().setLogFilterLevel(LogInfo);
            StackTracer shown("shown");
            logger().setLogFilterLevel(LogDebug);
        }
        logger().setLogFilterLevel(LogTrace);
    }
    // A copy lowers the depth once more than it rose; below zero there are
    // no tabs.
    {
        StackTracer original("original");
        StackTracer copy(original);
    }
    {
        StackTracer below("below");
        StackTracer("zero");
    }
    EXPECT_EQ(recorder.texts(), (Texts{"Enter:\ta", "\tEnter:\tb", "\tExit :\tb", "\t\tEnter:\tshown", "Exit :\ta",
                                       "Enter:\toriginal", "Exit :\toriginal", "Exit :\toriginal", "Enter:\tbelow",
                                       "Enter:\tzero", "Exit :\tzero", "Exit :\tbelow"}));
    EXPECT_EQ(recorder.records[0].head.substr(19), " [[TRACE]Vesk::Zim::StackTracer::trace] ");
    // Give the process its depth back: one tracer that is never destroyed.
    alignas(StackTracer) static unsigned char storage[sizeof(StackTracer)];
    new (storage) StackTracer("balance");
}

// A body that throws ends the run: the suites after it don't run.
TEST(UnitTestSuite, RunsInConstructionOrderAndRepeatsAllResults)
{
    ResultList::getSingleton().clear();
    Recorder recorder("suites");
    Suite a("A", {"a1"}), b("B", {"b1", "b2"}), broken("Broken", {"throw"}), c("C", {"c1"});
    UnitTestSuite::result("early");
    EXPECT_THROW(UnitTestSuite::execute(), std::runtime_error);
    EXPECT_EQ(recorder.texts(), (Texts{start("A"), "\t|_early", "\t|_a1", end, start("B"), "\t|_early", "\t|_a1",
                                       "\t|_b1", "\t|_b2", end, start("Broken")}));
    EXPECT_EQ(c.runs, 0);
    recorder.records.clear();
    UnitTestSuite::printResult();
    UnitTestSuite::printResult();
    EXPECT_EQ(recorder.records.size(), 8u);
}

TEST(UnitTestSuite, EnableRunOnlyAndDestructionChooseTheSuites)
{
    ResultList::getSingleton().clear();
    Recorder recorder("suites-choice");
    Suite a("A", {}), b("B", {}), c("C", {});
    const Suite copy(a);
    EXPECT_EQ(UnitTestSuiteList::getSingleton().size(), 3u); // copies are not registered
    b.enable(false);
    UnitTestSuite::execute();
    EXPECT_EQ(recorder.texts(), (Texts{start("A"), end, start("C"), end}));

    // Names are case-sensitive, and the flags stay as runOnly left them.
    UnitTestSuite::runOnly("b");
    recorder.records.clear();
    UnitTestSuite::execute();
    UnitTestSuite::runOnly("B");
    UnitTestSuite::execute();
    UnitTestSuite::execute();
    EXPECT_EQ(recorder.texts(), (Texts{start("B"), end, start("B"), end}));
    EXPECT_EQ(a.runs + b.runs + c.runs, 4);

    // Destroying any suite empties the registry.
    UnitTestSuite::runOnly("A");
    Suite("Gone", {});
    UnitTestSuite::execute();
    EXPECT_EQ(a.runs, 1);

    // With no policy on, bodies still run and results still gather.
    Suite quiet("Quiet", {"q"});
    logger().disablePolicy("suites-choice");
    UnitTestSuite::execute();
    EXPECT_EQ(quiet.runs, 1);
    EXPECT_EQ(ResultList::getSingleton().size(), 1u);
}
