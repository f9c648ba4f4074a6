// The stack tracer and the test-suite runner, through the process's Logger.
#include "LogCapture.h"
#include "ZimLogger.h"
#include "ZimStackTracer.h"
#include "ZimUnitTestSuite.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using namespace Vesk::Zim;
using corvo_test::Record;
using corvo_test::Recorder;

namespace {

Logger& logger() { return Logger::getSingleton(); }

typedef std::vector<std::string> Texts;

} // namespace

TEST(StackTracer, NestedScopesIndentAndUnwind)
{
    logger().setLogFilterLevel(LogTrace);
    Recorder recorder("tracer");
    {
        StackTracer a("a");
        {
            StackTracer b("b");
        }
        try {
            StackTracer thrower("thrower");
            throw std::runtime_error("unwinding");
        } catch (const std::runtime_error&) {
        }
    }
    StackTracer("after");
    EXPECT_EQ(recorder.texts(), (Texts{"Enter:\ta", "\tEnter:\tb", "\tExit :\tb", "\tEnter:\tthrower",
                                       "\tExit :\tthrower", "Exit :\ta", "Enter:\tafter", "Exit :\tafter"}));
    EXPECT_EQ(recorder.records[0].head.substr(19), " [[TRACE]Vesk::Zim::StackTracer::trace] ");
}

TEST(StackTracer, DepthMovesWhileFilteredOut)
{
    Recorder recorder("tracer-filter");
    logger().setLogFilterLevel(LogDebug);
    {
        StackTracer outer("outer");
        logger().setLogFilterLevel(LogInfo);
        StackTracer inner("inner");
        logger().setLogFilterLevel(LogDebug);
    }
    logger().setLogFilterLevel(LogInfo);
    StackTracer("last");
    EXPECT_EQ(recorder.texts(), (Texts{"\tEnter:\tinner", "Enter:\tlast", "Exit :\tlast"}));
}

TEST(StackTracer, CopyLowersTheDepthOnceMore)
{
    logger().setLogFilterLevel(LogTrace);
    Recorder recorder("tracer-copy");
    {
        StackTracer original("original");
        StackTracer copy(original);
    }
    StackTracer("below zero");
    EXPECT_EQ(recorder.texts(), (Texts{"Enter:\toriginal", "Exit :\toriginal", "Exit :\toriginal",
                                       "Enter:\tbelow zero", "Exit :\tbelow zero"}));
    // Give the process its depth back: one tracer that is never destroyed.
    alignas(StackTracer) static unsigned char storage[sizeof(StackTracer)];
    new (storage) StackTracer("balance");
}

namespace {

// A suite whose body reports its lines, or throws.
class Suite : public UnitTestSuite
{
public:
    Suite(const std::string& name, Texts lines, bool throws = false)
        : UnitTestSuite(name), m_lines(lines), m_throws(throws)
    {
    }
    void run() override
    {
        ++runs;
        if (m_throws)
            throw std::runtime_error("suite failed");
        for (const std::string& line : m_lines)
            result(line);
    }
    int runs = 0;

private:
    Texts m_lines;
    bool m_throws;
};

std::string start(const std::string& name) { return "- Starting Test Suite\n |_[" + name + "]"; }
const std::string end = " ____________________________________________________ Complete! _______________\n";

} // namespace

TEST(UnitTestSuite, RunsInConstructionOrderAndRepeatsAllResults)
{
    ASSERT_EQ(end.size(), 80u);
    ResultList::getSingleton().clear();
    Recorder recorder("suites");
    Suite a("A", {"a1"});
    Suite b("B", {"b1", "b2"});
    UnitTestSuite::result("early");
    UnitTestSuite::execute();
    EXPECT_EQ(recorder.texts(), (Texts{start("A"), "\t|_early", "\t|_a1", end, start("B"), "\t|_early",
                                       "\t|_a1", "\t|_b1", "\t|_b2", end}));
    for (const Record& r : recorder.records)
        EXPECT_EQ(r.head, "");

    recorder.records.clear();
    UnitTestSuite::printResult();
    UnitTestSuite::printResult();
    EXPECT_EQ(recorder.records.size(), 8u);
}

TEST(UnitTestSuite, EnableAndRunOnlyChooseTheSuites)
{
    ResultList::getSingleton().clear();
    Recorder recorder("suites-choice");
    Suite a("A", {}), b("B", {}), c("C", {});
    b.enable(false);
    EXPECT_FALSE(b.isEnabled());
    UnitTestSuite::execute();
    EXPECT_EQ(recorder.texts(), (Texts{start("A"), end, start("C"), end}));

    UnitTestSuite::runOnly("B");
    EXPECT_TRUE(b.isEnabled());
    EXPECT_FALSE(a.isEnabled());
    recorder.records.clear();
    UnitTestSuite::execute();
    UnitTestSuite::execute();
    EXPECT_EQ(recorder.texts(), (Texts{start("B"), end, start("B"), end}));

    UnitTestSuite::runOnly("b");
    recorder.records.clear();
    UnitTestSuite::execute();
    EXPECT_TRUE(recorder.records.empty());
    EXPECT_EQ(a.runs + b.runs + c.runs, 4);
}

TEST(UnitTestSuite, AThrowingBodyEndsTheRun)
{
    ResultList::getSingleton().clear();
    Recorder recorder("suites-throw");
    Suite a("A", {"a1"}), broken("Broken", {}, true), c("C", {"c1"});
    EXPECT_THROW(UnitTestSuite::execute(), std::runtime_error);
    EXPECT_EQ(recorder.texts(), (Texts{start("A"), "\t|_a1", end, start("Broken")}));
    EXPECT_EQ(c.runs, 0);
    EXPECT_TRUE(c.isEnabled());
}

TEST(UnitTestSuite, DestroyingAnySuiteEmptiesTheRegistry)
{
    Recorder recorder("suites-destroyed");
    Suite kept("Kept", {});
    std::unique_ptr<Suite> gone(new Suite("Gone", {}));
    const Suite copy(kept);
    EXPECT_EQ(UnitTestSuiteList::getSingleton().size(), 2u); // copies are not registered
    gone.reset();
    UnitTestSuite::execute();
    EXPECT_EQ(kept.runs, 0);
    EXPECT_TRUE(recorder.records.empty());

    // With no policy on, bodies still run and results still gather.
    ResultList::getSingleton().clear();
    Suite quiet("Quiet", {"q"});
    logger().disablePolicy("suites-destroyed");
    UnitTestSuite::execute();
    EXPECT_EQ(quiet.runs, 1);
    EXPECT_EQ(ResultList::getSingleton().size(), 1u);
}
