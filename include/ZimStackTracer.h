/// \file
/// StackTracer: a local object that logs "Enter" when a scope begins and
/// "Exit " when it ends by any way, indented by the nesting, at LogTrace.
#ifndef ZIM_STACK_TRACER_H
#define ZIM_STACK_TRACER_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Zim {

/// Traces a scope through the Logger, at LogTrace: below the default filter
/// level LogDebug, so nothing shows until the filter level is LogTrace or
/// LogInfo. The nesting is counted whether or not the records pass.
class CORVO_API StackTracer
{
public:
    /// Logs "Enter:" and the name, indented by one tab per level of nesting.
    explicit StackTracer(const std::string& name);
    /// Copies take the name only and log nothing; their destructor still
    /// lowers the nesting and logs "Exit ".
    StackTracer(const StackTracer& other);
    /// Takes the name only and logs nothing.
    StackTracer& operator=(const StackTracer& other);
    /// Logs "Exit :" and the name. A policy that throws while the exit is
    /// logged throws out of here.
    ~StackTracer() noexcept(false);

private:
    void trace(const std::string& what, int depth);

    std::string m_name;
    // One nesting count for the whole process, unguarded: exact while one
    // thread traces.
    static int s_depth;
};

} // namespace Zim
} // namespace Vesk

#endif
