/// \file
/// A small runner for test suites that applications write: each suite
/// registers itself when built, reports lines with result(), and execute()
/// runs the enabled suites and logs what they reported.
#ifndef ZIM_UNIT_TEST_SUITE_H
#define ZIM_UNIT_TEST_SUITE_H

#include "CorvoExport.h"

#include <list>
#include <string>

namespace Vesk {
namespace Zim {

/// A suite of the application's: derive, implement run, build one object.
/// The texts go to the Logger as bare records (whatever the filter level),
/// so a policy must be enabled to see them. Nothing throws but what run
/// throws.
class CORVO_API UnitTestSuite
{
public:
    /// Registers the suite, enabled.
    explicit UnitTestSuite(const std::string& name);
    /// A copy is not registered.
    UnitTestSuite(const UnitTestSuite& other);
    /// Copies the name and the switch; registers nothing.
    UnitTestSuite& operator=(const UnitTestSuite& other);
    /// Empties the whole registry, not only of this suite.
    virtual ~UnitTestSuite();

    /// The suite's tests; report with result.
    virtual void run() = 0;

    /// Switches the suite on or off for execute.
    void enable(bool on);
    /// Whether execute runs the suite.
    bool isEnabled() const;
    /// The suite's name.
    const std::string& getName() const;

    /// Runs every enabled suite in the order of construction, each between a
    /// start and an end text, and after each logs all results so far.
    static void execute();
    /// Enables the suites of that name and disables all others.
    static void runOnly(const std::string& name);
    /// Adds a line to the results.
    static void result(const std::string& line);
    /// Logs every result so far, each after a tab and "|_".
    static void printResult();

private:
    bool m_enabled;
    std::string m_name;
};

/// Every constructed suite, in the order of construction.
class CORVO_API UnitTestSuiteList
{
public:
    /// The registry.
    static std::list<UnitTestSuite*>& getSingleton();
};

/// Every result line so far, in the order of reporting; never emptied.
class CORVO_API ResultList
{
public:
    /// The results.
    static std::list<std::string>& getSingleton();
};

} // namespace Zim
} // namespace Vesk

#endif
