/// \file
/// The Logger: one process-wide front for logging by level and tag, handing
/// each record that passes its filter to the enabled log policies in order of
/// their names.
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

/// The level of a record, and the filter level. A record passes when its
/// level is at least the filter level. Values outside 1 to 7 are defined and
/// have no level text.
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

/// The process's one Logger. Nothing is written until a policy is enabled
/// (logToConsole(true), or addPolicy with a policy of the application's).
///
/// Two things surprise:
/// - Building the Logger prints one line to standard output,
///   "[INFO][TRACE][DEBUG][WARNING][ERROR][NONE]", whatever the policies.
///   The first use of the library's logging builds it: a socket, a serial
///   port, a file open or a library load logs, and so does
///   DeveloperConfig::setLogLevel.
/// - The library logs its own records: every Win32Socket open, close, read,
///   write, connect, bind, listen and accept, and every Win32SerialStream
///   call, logs one at LogDebug, and Win32DynamicLibrary::load too. The
///   default filter level is LogDebug, so they reach the application's
///   policies and can crowd its rolling files. Set the filter level to
///   LogFlow or above (setLogFilterLevel, or build the Logger first with
///   that level) to keep them out. Win32FileStream64::open logs at LogInfo
///   and StackTracer at LogTrace, which pass only lower filter levels.
///
/// A record line reads `<thread> - <yyyy/mm/dd hh:mm:ss> [[LEVEL]tag] text`,
/// in local time. Records and policy changes are serialised by one lock; a
/// record that no enabled policy takes costs no lock. The Logger leaves the
/// caller's last error (GetLastError, errno) as it found it.
class CORVO_API Logger
{
public:
    /// There is at most one Logger: a second construction throws
    /// Vesk::Zim::Exception "Logger instance already set " (with its trailing
    /// blank). Build it before any other use to choose its filter level, or
    /// let the first getSingleton build one with LogDebug. Prints the line of
    /// level names to standard output. The console policy is held, disabled.
    explicit Logger(LogLevel level = LogDebug);
    /// Forgets every policy.
    ~Logger();

    /// The Logger, built with LogDebug on first use if none exists.
    static Logger& getSingleton();
    /// The Logger, built with LogDebug on first use if none exists.
    static Logger* getSingletonPtr();

    /// Records with time, level and tag, when the level passes the filter.
    /// The formatted forms cut their text at 1023 characters; the wide ones
    /// read their format as Windows does on both platforms (%s and %c take
    /// wide arguments, %hs and %S narrow ones). Wide text is written as
    /// UTF-8. An exception from a policy passes out.
    ///@{
    void log(LogLevel level, const std::string& tag, const std::string& text);
    void log(LogLevel level, const std::string& tag, const std::wstring& text);
    void logTagf(LogLevel level, const std::string& tag, const char* format, ...);
    void logTagf(LogLevel level, const std::string& tag, const wchar_t* format, ...);
    ///@}

    /// Bare texts, for every enabled policy whatever the filter level, with
    /// an empty head.
    ///@{
    void log(const std::string& text);
    void log(const std::wstring& text);
    void logf(const char* format, ...);
    void logf(const wchar_t* format, ...);
    ///@}

    /// The Logger keeps the policy's address and does not own it. There is
    /// no removal: a policy must stay alive while it is enabled. Throws
    /// Vesk::Zim::Exception "A log policy with name [NAME] already exists
    /// within the system" when a policy of that name is already enabled
    /// (enabled true) or disabled (enabled false).
    void addPolicy(LogPolicy& policy, bool enabled);
    /// Enables the disabled policy of that name; an enabled one stays so.
    /// Throws Vesk::Zim::Exception "A log Policy with name [NAME] does not
    /// exist within the system" for a name the Logger does not hold.
    void enablePolicy(const std::string& name);
    /// Disables the policy of that name; an unknown name is ignored.
    void disablePolicy(const std::string& name);
    /// Enables or disables the policy "console" (standard output), which the
    /// Logger holds from the start.
    void logToConsole(bool on);
    /// Enables or disables the policy "file" (a LogToFilePolicy or a
    /// LogToRollingFilePolicy added before); enabling throws as
    /// enablePolicy does when there is none.
    void logToFile(bool on);
    /// Enables or disables the policy "syslog", which the library does not
    /// supply: enabling throws as enablePolicy does unless the application
    /// added a policy of that name.
    void logToSysLog(bool on);
    /// Sets the filter level; LogFlow and above keep the library's debug
    /// records out.
    void setLogFilterLevel(LogLevel level);

    /// A copy of text with the values of "?password=", "&password=" and the
    /// JSON field "password" replaced by a mask.
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
