// StackTracer: scope entry and exit lines, through the Logger.
#include "ZimStackTracer.h"

#include "ZimLogger.h"

namespace Vesk {
namespace Zim {

int StackTracer::s_depth = 0;

StackTracer::StackTracer(const std::string& name) : m_name(name)
{
    trace("Enter", s_depth);
    ++s_depth;
}

StackTracer::StackTracer(const StackTracer& other) : m_name(other.m_name) {}

StackTracer& StackTracer::operator=(const StackTracer& other)
{
    m_name = other.m_name;
    return *this;
}

StackTracer::~StackTracer() noexcept(false)
{
    --s_depth;
    trace("Exit ", s_depth);
}

// The line is built before the level test, and the depth moves whether the
// record passes or not, so that the indentation stays true when the filter
// level changes halfway.
void StackTracer::trace(const std::string& what, int depth)
{
    std::string line;
    if (depth > 0)
        line.assign(static_cast<std::string::size_type>(depth), '\t');
    line += what + ":\t" + m_name;

    Logger& logger = Logger::getSingleton();
    if (logger.m_filterLevel > LogTrace)
        return;
    logger.output(logger.m_levelNames[LogTrace] + "Vesk::Zim::StackTracer::trace", line);
}

} // namespace Zim
} // namespace Vesk
