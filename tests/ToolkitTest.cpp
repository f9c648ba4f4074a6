// The stack tracer and the test-suite runner, through the process's Logger.
#include "LogCapture.h"
#include "ZimLogger.h"
#include "ZimStackTracer.h"
#include "ZimUnitTestSuite.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Vesk::Zim;
using namespace corvo_test;

namespace {

Logger& logger() { return Logger::getSingleton(); }

typedef std::vector<std::string> Texts;

} // namespace

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

namespace {

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
    for (const Record& r : recorder.records)
        EXPECT_EQ(r.head, "");
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

    // The flags stay as runOnly left them.
    UnitTestSuite::runOnly("B");
    recorder.records.clear();
    UnitTestSuite::execute();
    UnitTestSuite::execute();
    EXPECT_EQ(recorder.texts(), (Texts{start("B"), end, start("B"), end}));
    UnitTestSuite::runOnly("b");
    recorder.records.clear();
    UnitTestSuite::execute();
    EXPECT_TRUE(recorder.records.empty());
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
