// The Logger: one process-wide front for logging by level and tag, handing
// each record that passes its filter to the enabled log policies in order of
// their names.
#ifndef ZIM_LOGGER_H
#define ZIM_LOGGER_H

#include "CorvoCriticalSection.h"
#include "CorvoExport.h"
#include "ZimLogPolicy.h"

#include <map>
#include <string>
#include <vector>

namespace Vesk {
namespace Zim {

// A record passes when its level is at least the filter level. Values
// outside 1 to 7 are defined and have no level text.
enum LogLevel : int
{
    LogInfo = 1,
    LogTrace = 2,
    LogDebug = 3,
    LogFlow = 4,
    LogWarning = 5,
    LogError = 6,
    LogNone = 7
};

class CORVO_API Logger
{
public:
    // There is at most one Logger: a second construction throws. Build it
    // before any other use to choose its filter level, or let the first
    // getSingleton build one with LogDebug.
    explicit Logger(LogLevel level = LogDebug);
    ~Logger();

    static Logger& getSingleton();
    static Logger* getSingletonPtr();

    // Records with time, level and tag, when the level passes the filter.
    // The formatted forms cut their text at 1023 characters.
    void log(LogLevel level, const std::string& tag, const std::string& text);
    void log(LogLevel level, const std::string& tag, const std::wstring& text);
    void logTagf(LogLevel level, const std::string& tag, const char* format, ...);
    void logTagf(LogLevel level, const std::string& tag, const wchar_t* format, ...);

    // Bare texts, for every enabled policy whatever the filter level.
    void log(const std::string& text);
    void log(const std::wstring& text);
    void logf(const char* format, ...);
    void logf(const wchar_t* format, ...);

    // The Logger keeps the policy's address and does not own it.
    void addPolicy(LogPolicy& policy, bool enabled);
    void enablePolicy(const std::string& name);
    void disablePolicy(const std::string& name);
    void logToConsole(bool on);
    void logToFile(bool on);
    void logToSysLog(bool on);
    void setLogFilterLevel(LogLevel level);

    // A copy of text with the values of "?password=", "&password=" and the
    // JSON field "password" replaced by a mask.
    static std::string filterPassword(const std::string& text);

private:
    // Traces go to output directly, with the filter tested by the tracer.
    friend class StackTracer;

    Logger(const Logger&);
    Logger& operator=(const Logger&);

    void output(const std::string& levelAndTag, const std::string& text);
    void output(const std::string& levelAndTag, const std::wstring& text);
    void addPolicyToList(std::map<std::string, LogPolicy*>& list, LogPolicy& policy);
    void switchPolicy(const std::string& name, bool on);
    static std::string _time();

    template <class Text>
    void logRecord(LogLevel level, const std::string& tag, const Text& text);
    template <class Text>
    void writeToPolicies(LogLevel level, const std::string& tag, const Text& text);
    template <class Text>
    void logBare(const Text& text);

    static int replacePasswordOccurrence(std::string& text, int position, const std::string& keyword,
                                         const std::string& terminator,
                                         const std::vector<std::string>& alternatives,
                                         bool useAlternatives, const std::string& mask);

    std::map<std::string, LogPolicy*> m_disabledPolicies;
    std::map<std::string, LogPolicy*> m_enabledPolicies;
    LogToConsolePolicy m_consolePolicy;
    Corvo::CriticalSection_T<Corvo::Win32CriticalSection> m_lock;
    LogLevel m_filterLevel;
    std::map<LogLevel, std::string> m_levelNames;

    static Logger* s_instance;
};

} // namespace Zim
} // namespace Vesk

#endif
