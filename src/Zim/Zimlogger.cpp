// The Logger: filter, record head, policy maps and the singleton scheme.
#include "ZimLogger.h"

#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "ZimException.h"
#include "ZimLineBuffer.h"
#include "ZimLogToRollingFilePolicy.h"

#include <atomic>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <iostream>
#include <optional>
#include <typeinfo>

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

// The time text of a record and the " [" behind it, formatted anew only
// when the second changes.
struct TimeText
{
    __time64_t second = -1;
    std::size_t size = 0;
    char text[22] = {};
};

thread_local TimeText threadTime;

const TimeText& currentTime()
{
    TimeText& cache = threadTime;
    const __time64_t now = _time64(nullptr);
    if (now != cache.second) {
        const struct tm* local = _localtime64(&now);
        cache.size = local ? std::strftime(cache.text, 20, "%Y/%m/%d %H:%M:%S", local) : 0;
        std::memcpy(cache.text + cache.size, " [", 2);
        cache.second = now;
    }
    return cache;
}

// The level texts, by level; m_levelNames is filled from them. A level
// outside the table has an empty text.
const LogLine::Piece levelTexts[] = {{"", 0},        {"[INFO]", 6},    {"[TRACE]", 7}, {"[DEBUG]", 7},
                                     {"[FLOW]", 6},    {"[WARNING]", 9}, {"[ERROR]", 7}, {"[NONE]", 6}};

// The tracer's records carry their level in the tag already.
const LogLevel noLevel = static_cast<LogLevel>(0);

std::size_t levelIndex(LogLevel level) { return level >= LogInfo && level <= LogNone ? level : 0; }

// The head "<time> [<level><tag>] " of one record. The library's file
// policies find it in the thread's kept head, where the last record's stays
// when it is the same (same second, level and tag); any other policy gets it
// as a string, from the thread's buffer, which is reused likewise.
class RecordHead
{
public:
    RecordHead(LogLevel level, const std::string& tag) : m_index(levelIndex(level))
    {
        m_pieces.level = levelTexts[m_index];
        m_pieces.tag = LogLine::Piece{tag.data(), tag.size()};
        readClock();
    }

    void readClock()
    {
        const TimeText& time = currentTime();
        m_pieces.key = static_cast<unsigned long long>(time.second) * 8 + m_index;
        m_pieces.time = LogLine::Piece{time.text, time.size + 2};
    }

    // For the thread's kept head; see LogLine::keepHead.
    const LogLine::HeadPieces& pieces() const { return m_pieces; }

    const std::string& text()
    {
        if (!m_buffer)
            m_buffer.emplace();
        std::string& head = m_buffer->text();
        const LogLine::Piece& tag = m_pieces.tag;
        const std::size_t tagAt = m_pieces.time.size + m_pieces.level.size;
        const bool same = m_buffer->key() == m_pieces.key && head.size() == tagAt + tag.size + 2 &&
                          std::memcmp(head.data() + tagAt, tag.data, tag.size) == 0;
        if (!same) {
            const LogLine::Piece pieces[] = {m_pieces.time, m_pieces.level, tag, {"] ", 2}};
            LogLine::join(head, pieces, 4);
            m_buffer->key() = m_pieces.key;
        }
        return head;
    }

private:
    RecordHead(const RecordHead&);
    RecordHead& operator=(const RecordHead&);

    const std::size_t m_index;
    LogLine::HeadPieces m_pieces;
    std::optional<LogLine::ReusedBuffer> m_buffer;
};

} // namespace

// A narrow record goes to the library's own file policies through the kept
// head, and to any other policy, a class derived from them included, through
// its log.
struct LogLine::Delivery
{
    static void deliver(LogPolicy& policy, RecordHead& head, const std::string& text)
    {
        // Types compared by the address of their type_info: where one type has
        // two (a class in a DLL and its copy in another module) the record
        // only takes the longer way.
        const std::type_info* const type = &typeid(policy);
        if (type == &typeid(LogToFilePolicy)) {
            if (LogLine::writeKeptLine(static_cast<LogToFilePolicy&>(policy).m_stream, head.pieces(), text))
                return;
        } else if (type == &typeid(LogToRollingFilePolicy) && LogLine::keepHead(head.pieces())) {
            static_cast<LogToRollingFilePolicy&>(policy).writeKept(text);
            return;
        }
        policy.log(head.text(), text);
    }

    static void deliver(LogPolicy& policy, RecordHead& head, const std::wstring& text)
    {
        policy.log(head.text(), text);
    }
};

namespace {

// How many policies are enabled, kept beside m_enabledPolicies under the
// lock, so that a record that no policy would take is dropped without the
// lock. A process has one Logger only: a second construction throws.
std::atomic<std::size_t> enabledCount(0);

bool anyPolicyEnabled() { return enabledCount.load(std::memory_order_relaxed) != 0; }

// A record leaves the calling thread's last error as it found it: code that
// logs between a call and its GetLastError must still read the call's
// error, whatever files the policies touched. WinSock's last error is the
// same value (WSAGetLastError reads GetLastError's, on Windows as in the
// POSIX layer), so it is kept too.
class LastErrorKeeper
{
public:
    LastErrorKeeper() : m_error(GetLastError()) {}
    ~LastErrorKeeper() { SetLastError(m_error); }

private:
    LastErrorKeeper(const LastErrorKeeper&);
    LastErrorKeeper& operator=(const LastErrorKeeper&);

    const DWORD m_error;
};

} // namespace

Logger::Logger(LogLevel level) : m_filterLevel(level)
{
    if (s_instance)
        throw Exception("Logger instance already set ", "ZimLogger", "Logger::Logger", 25);
    s_instance = this;
    for (int level = LogInfo; level <= LogNone; ++level)
        m_levelNames[static_cast<LogLevel>(level)] = levelTexts[level].data;
    std::cout << "[INFO][TRACE][DEBUG][WARNING][ERROR][NONE]" << std::endl;
    m_disabledPolicies["console"] = &m_consolePolicy;
}

Logger::~Logger()
{
    m_enabledPolicies.clear();
    m_disabledPolicies.clear();
    enabledCount = 0;
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
    if (level < m_filterLevel || !anyPolicyEnabled())
        return;
    writeToPolicies(level, tag, text);
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
    if (level < m_filterLevel || !anyPolicyEnabled())
        return;
    const LastErrorKeeper keeper;
    va_list args;
    va_start(args, format);
    const std::string text = formatted(format, args);
    va_end(args);
    logRecord(level, tag, text);
}

void Logger::logTagf(LogLevel level, const std::string& tag, const wchar_t* format, ...)
{
    if (level < m_filterLevel || !anyPolicyEnabled())
        return;
    const LastErrorKeeper keeper;
    va_list args;
    va_start(args, format);
    const std::wstring text = formatted(format, args);
    va_end(args);
    logRecord(level, tag, text);
}

// The head is "<time> [<level><tag>] ", the level text and the tag joined.
// It is built before the lock is taken, so that the lock covers the
// policies only; the clock is read again for each further policy. The
// policies are counted rather than walked to the map's end, so that the
// usual single policy takes no step through the tree, and the function is
// inline, so that log takes no call to reach it: calls are dear right after
// the last record's write (see LogLine::writeKeptLine).
template <class Text>
inline void Logger::writeToPolicies(LogLevel level, const std::string& tag, const Text& text)
{
    const LastErrorKeeper keeper;
    RecordHead head(level, tag);
    CriticalSectionGuard guard(m_lock);
    std::map<std::string, LogPolicy*>::const_iterator entry = m_enabledPolicies.begin();
    const std::size_t count = m_enabledPolicies.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0) {
            ++entry;
            head.readClock();
        }
        LogLine::Delivery::deliver(*entry->second, head, text);
    }
}

void Logger::output(const std::string& levelAndTag, const std::string& text)
{
    if (anyPolicyEnabled())
        writeToPolicies(noLevel, levelAndTag, text);
}

void Logger::output(const std::string& levelAndTag, const std::wstring& text)
{
    if (anyPolicyEnabled())
        writeToPolicies(noLevel, levelAndTag, text);
}

template <class Text>
void Logger::logBare(const Text& text)
{
    if (!anyPolicyEnabled())
        return;
    const LastErrorKeeper keeper;
    CriticalSectionGuard guard(m_lock);
    for (const std::map<std::string, LogPolicy*>::value_type& entry : m_enabledPolicies)
        entry.second->log(std::string(), text);
}

void Logger::log(const std::string& text) { logBare(text); }

void Logger::log(const std::wstring& text) { logBare(text); }

void Logger::logf(const char* format, ...)
{
    if (!anyPolicyEnabled())
        return;
    const LastErrorKeeper keeper;
    va_list args;
    va_start(args, format);
    const std::string text = formatted(format, args);
    va_end(args);
    logBare(text);
}

void Logger::logf(const wchar_t* format, ...)
{
    if (!anyPolicyEnabled())
        return;
    const LastErrorKeeper keeper;
    va_list args;
    va_start(args, format);
    const std::wstring text = formatted(format, args);
    va_end(args);
    logBare(text);
}

std::string Logger::_time()
{
    const TimeText& time = currentTime();
    // Without the " [" behind it.
    return std::string(time.text, time.size);
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
    enabledCount = m_enabledPolicies.size();
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
    enabledCount = m_enabledPolicies.size();
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
    enabledCount = m_enabledPolicies.size();
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
