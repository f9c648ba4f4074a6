// The test-suite runner and its two registries.
#include "ZimUnitTestSuite.h"

#include "ZimLogger.h"

#include <iterator>

namespace Vesk {
namespace Zim {

std::list<UnitTestSuite*>& UnitTestSuiteList::getSingleton()
{
    static std::list<UnitTestSuite*> suites;
    return suites;
}

std::list<std::string>& ResultList::getSingleton()
{
    static std::list<std::string> results;
    return results;
}

UnitTestSuite::UnitTestSuite(const std::string& name) : m_enabled(true), m_name(name)
{
    UnitTestSuiteList::getSingleton().push_back(this);
}

UnitTestSuite::UnitTestSuite(const UnitTestSuite& other) : m_enabled(other.m_enabled), m_name(other.m_name) {}

UnitTestSuite& UnitTestSuite::operator=(const UnitTestSuite& other)
{
    m_enabled = other.m_enabled;
    m_name = other.m_name;
    return *this;
}

UnitTestSuite::~UnitTestSuite() { UnitTestSuiteList::getSingleton().clear(); }

void UnitTestSuite::enable(bool on) { m_enabled = on; }

bool UnitTestSuite::isEnabled() const { return m_enabled; }

const std::string& UnitTestSuite::getName() const { return m_name; }

// The registry is walked by position and its size read anew for every
// suite: a body that builds or destroys suites changes the list under the
// walk, and a destroyed suite empties it, which ends the run.
void UnitTestSuite::execute()
{
    const std::list<UnitTestSuite*>& suites = UnitTestSuiteList::getSingleton();
    for (std::list<UnitTestSuite*>::size_type i = 0; i < suites.size(); ++i) {
        UnitTestSuite* suite = *std::next(suites.begin(), static_cast<long>(i));
        if (!suite->m_enabled)
            continue;
        Logger::getSingleton().log("- Starting Test Suite\n |_[" + suite->m_name + "]");
        suite->run();
        printResult();
        Logger::getSingleton().log(" " + std::string(52, '_') + " Complete! " + std::string(15, '_') + "\n");
    }
}

void UnitTestSuite::runOnly(const std::string& name)
{
    for (UnitTestSuite* suite : UnitTestSuiteList::getSingleton())
        suite->m_enabled = suite->m_name == name;
}

void UnitTestSuite::result(const std::string& line) { ResultList::getSingleton().push_back(line); }

void UnitTestSuite::printResult()
{
    for (const std::string& line : ResultList::getSingleton())
        Logger::getSingleton().log("\t|_" + line);
}

} // namespace Zim
} // namespace Vesk
