// A small runner for test suites that applications write: each suite
// registers itself when built, reports lines with result(), and execute()
// runs the enabled suites and logs what they reported.
#ifndef ZIM_UNIT_TEST_SUITE_H
#define ZIM_UNIT_TEST_SUITE_H

#include "CorvoExport.h"

#include <list>
#include <string>

namespace Vesk {
namespace Zim {

class CORVO_API UnitTestSuite
{
public:
    explicit UnitTestSuite(const std::string& name);
    // A copy is not registered.
    UnitTestSuite(const UnitTestSuite& other);
    UnitTestSuite& operator=(const UnitTestSuite& other);
    // Empties the whole registry, not only of this suite.
    virtual ~UnitTestSuite();

    virtual void run() = 0;

    void enable(bool on);
    bool isEnabled() const;
    const std::string& getName() const;

    // Runs every enabled suite in the order of construction, each between a
    // start and an end text, and after each logs all results so far.
    static void execute();
    // Enables the suites of that name and disables all others.
    static void runOnly(const std::string& name);
    static void result(const std::string& line);
    static void printResult();

private:
    bool m_enabled;
    std::string m_name;
};

// Every constructed suite, in the order of construction.
class CORVO_API UnitTestSuiteList
{
public:
    static std::list<UnitTestSuite*>& getSingleton();
};

// Every result line so far, in the order of reporting; never emptied.
class CORVO_API ResultList
{
public:
    static std::list<std::string>& getSingleton();
};

} // namespace Zim
} // namespace Vesk

#endif
