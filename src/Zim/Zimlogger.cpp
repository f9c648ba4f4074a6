// The Logger: filter, record head, policy maps and the singleton scheme.
#include "ZimLogger.h"

#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "ZimException.h"
#include "ZimLineBuffer.h"

#include <cstdarg>
#include <ctime>
#include <iostream>

namespace Vesk {
namespace Zim {

using Corvo::CriticalSectionGuard;

Logger* Logger::s_instance = nullptr;

namespace {

// Formatted records are cut to fit a buffer of 1024 characters; the
// formatter gets one less, so that the text always ends inside the buffer.
const std::size_t formatBufferSize = 1024;

std::string formatted(const char* format, va_list args)
{
    char buffer[formatBufferSize] = {};
    _vsnprintf(buffer, formatBufferSize - 1, format, args);
    return buffer;
}

std::wstring formatted(const wchar_t* format, va_list args)
{
    wchar_t buffer[formatBufferSize] = {};
    _vswprintf_c_l(buffer, formatBufferSize - 1, format, nullptr, args);
    return buffer;
}

// The time text of a record, formatted anew only when the second changes.
struct TimeText
{
    __time64_t second = -1;
    char text[20] = {};
};

thread_local TimeText threadTime;

void appendTime(std::string& out)
{
    TimeText& cache = threadTime;
    const __time64_t now = _time64(nullptr);
    if (now != cache.second) {
        const struct tm* local = _localtime64(&now);
        if (!local || std::strftime(cache.text, sizeof cache.text, "%Y/%m/%d %H:%M:%S", local) == 0)
            cache.text[0] = '\0';
        cache.second = now;
    }
    out += cache.text;
}

// The level text of a level that has none, and of the tracer's records,
// whose tag carries the level already.
const std::string& noLevel()
{
    static const std::string none;
    return none;
}

} // namespace

Logger::Logger(LogLevel level) : m_filterLevel(level)
{
    if (s_instance)
        throw Exception("Logger instance already set ", "ZimLogger", "Logger::Logger", 25);
    s_instance = this;
    m_levelNames[LogInfo] = "[INFO]";
    m_levelNames[LogTrace] = "[TRACE]";
    m_levelNames[LogDebug] = "[DEBUG]";
    m_levelNames[LogFlow] = "[FLOW]";
    m_levelNames[LogWarning] = "[WARNING]";
    m_levelNames[LogError] = "[ERROR]";
    m_levelNames[LogNone] = "[NONE]";
    std::cout << "[INFO][TRACE][DEBUG][WARNING][ERROR][NONE]" << std::endl;
    m_disabledPolicies["console"] = &m_consolePolicy;
}

Logger::~Logger()
{
    m_enabledPolicies.clear();
    m_disabledPolicies.clear();
}

// Each accessor builds its own instance only when none exists yet, so the
// one called first decides.
Logger& Logger::getSingleton()
{
    if (s_instance)
        return *s_instance;
    static Logger instance(LogDebug);
    return instance;
}

Logger* Logger::getSingletonPtr()
{
    if (s_instance)
        return s_instance;
    static Logger instance(LogDebug);
    return &instance;
}

// ---------------------------------------------------------------------------
// Records

template <class Text>
void Logger::logRecord(LogLevel level, const std::string& tag, const Text& text)
{
    if (level < m_filterLevel)
        return;
    const std::map<LogLevel, std::string>::const_iterator name = m_levelNames.find(level);
    writeToPolicies(name == m_levelNames.end() ? noLevel() : name->second, tag, text);
}

void Logger::log(LogLevel level, const std::string& tag, const std::string& text)
{
    logRecord(level, tag, text);
}

void Logger::log(LogLevel level, const std::string& tag, const std::wstring& text)
{
    logRecord(level, tag, text);
}

void Logger::logTagf(LogLevel level, const std::string& tag, const char* format, ...)
{
    if (level < m_filterLevel)
        return;
    va_list args;
    va_start(args, format);
    const std::string text = formatted(format, args);
    va_end(args);
    logRecord(level, tag, text);
}

void Logger::logTagf(LogLevel level, const std::string& tag, const wchar_t* format, ...)
{
    if (level < m_filterLevel)
        return;
    va_list args;
    va_start(args, format);
    const std::wstring text = formatted(format, args);
    va_end(args);
    logRecord(level, tag, text);
}

// The head is "<time> [<level><tag>] ", the level text and the tag joined;
// the time is read anew for each policy.
template <class Text>
void Logger::writeToPolicies(const std::string& level, const std::string& tag, const Text& text)
{
    CriticalSectionGuard guard(m_lock);
    LogLine::ReusedBuffer buffer(LogLine::ReusedBuffer::Head);
    std::string& head = buffer.text();
    for (const std::map<std::string, LogPolicy*>::value_type& entry : m_enabledPolicies) {
        head.clear();
        appendTime(head);
        head += " [";
        head += level;
        head += tag;
        head += "] ";
        entry.second->log(head, text);
    }
}

void Logger::output(const std::string& levelAndTag, const std::string& text)
{
    writeToPolicies(noLevel(), levelAndTag, text);
}

void Logger::output(const std::string& levelAndTag, const std::wstring& text)
{
    writeToPolicies(noLevel(), levelAndTag, text);
}

template <class Text>
void Logger::logBare(const Text& text)
{
    CriticalSectionGuard guard(m_lock);
    for (const std::map<std::string, LogPolicy*>::value_type& entry : m_enabledPolicies)
        entry.second->log(std::string(), text);
}

void Logger::log(const std::string& text) { logBare(text); }

void Logger::log(const std::wstring& text) { logBare(text); }

void Logger::logf(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = formatted(format, args);
    va_end(args);
    logBare(text);
}

void Logger::logf(const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::wstring text = formatted(format, args);
    va_end(args);
    logBare(text);
}

std::string Logger::_time()
{
    std::string text;
    appendTime(text);
    return text;
}

// ---------------------------------------------------------------------------
// Policies

void Logger::addPolicy(LogPolicy& policy, bool enabled)
{
    CriticalSectionGuard guard(m_lock);
    addPolicyToList(enabled ? m_enabledPolicies : m_disabledPolicies, policy);
}

void Logger::addPolicyToList(std::map<std::string, LogPolicy*>& list, LogPolicy& policy)
{
    CriticalSectionGuard guard(m_lock);
    const std::string& name = policy.getName();
    if (list.count(name))
        CORVO_RAISE(Exception, "A log policy with name [" + name + "] already exists within the system");
    list[name] = &policy;
}

// Enabling copies the entry from the disabled map, which keeps it.
void Logger::enablePolicy(const std::string& name)
{
    CriticalSectionGuard guard(m_lock);
    if (m_enabledPolicies.count(name))
        return;
    const std::map<std::string, LogPolicy*>::const_iterator known = m_disabledPolicies.find(name);
    if (known == m_disabledPolicies.end())
        CORVO_RAISE(Exception, "A log Policy with name [" + name + "] does not exist within the system");
    m_enabledPolicies.insert(*known);
}

// Disabling moves the entry; a namesake already in the disabled map stays.
void Logger::disablePolicy(const std::string& name)
{
    CriticalSectionGuard guard(m_lock);
    const std::map<std::string, LogPolicy*>::iterator enabled = m_enabledPolicies.find(name);
    if (enabled == m_enabledPolicies.end())
        return;
    m_disabledPolicies.insert(*enabled);
    m_enabledPolicies.erase(enabled);
}

void Logger::switchPolicy(const std::string& name, bool on)
{
    CriticalSectionGuard guard(m_lock);
    if (on)
        enablePolicy(name);
    else
        disablePolicy(name);
}

void Logger::logToConsole(bool on) { switchPolicy("console", on); }

void Logger::logToFile(bool on) { switchPolicy("file", on); }

void Logger::logToSysLog(bool on) { switchPolicy("syslog", on); }

void Logger::setLogFilterLevel(LogLevel level) { m_filterLevel = level; }

} // namespace Zim
} // namespace Vesk
