/// \file
/// Log policies: where the Logger's records go. LogPolicy is the base that
/// applications derive from; the console and file policies come with the
/// library.
#ifndef ZIM_LOG_POLICY_H
#define ZIM_LOG_POLICY_H

#include "CorvoExport.h"

#include <fstream>
#include <string>

namespace Vesk {
namespace Zim {

namespace LogLine {
struct Delivery;
}

/// Where records go. The Logger knows a policy by its name, one policy per
/// name: a second policy of a name that the Logger already holds (in the
/// same state, enabled or disabled) is refused by Logger::addPolicy.
/// The Logger calls log under its lock, one record at a time.
class CORVO_API LogPolicy
{
public:
    /// A policy known by name.
    explicit LogPolicy(const std::string& name);
    /// Copies the name.
    LogPolicy(const LogPolicy& other);
    /// Copies the name.
    LogPolicy& operator=(const LogPolicy& other);
    virtual ~LogPolicy();

    /// One record: head (time, level and tag, or empty) and text. A policy
    /// writes them as one line. An exception thrown here passes out of the
    /// Logger's call.
    ///@{
    virtual void log(const std::string& head, const std::wstring& text) = 0;
    virtual void log(const std::string& head, const std::string& text) = 0;
    ///@}

    /// The name the Logger knows the policy by.
    const std::string& getName() const;

private:
    std::string m_name;
};

/// Writes records to standard output. Internal: the Logger holds one, named
/// "console", and applications switch it with Logger::logToConsole.
class LogToConsolePolicy : public LogPolicy
{
public:
    /// The policy named "console".
    LogToConsolePolicy();
    virtual ~LogToConsolePolicy();

    /// One line on standard output, wide text as UTF-8.
    ///@{
    virtual void log(const std::string& head, const std::wstring& text);
    virtual void log(const std::string& head, const std::string& text);
    ///@}
};

/// Appends records to a file, one flushed line each, named "file". A file
/// that cannot be opened (its directory is missing, say: it is not created)
/// loses its records silently. Wide texts are written as UTF-8. Nothing
/// throws. LogToRollingFilePolicy has the same name, so the Logger holds
/// only one of the two in each state.
class CORVO_API LogToFilePolicy : public LogPolicy
{
public:
    /// Opens fileName for appending, shared with other writers.
    explicit LogToFilePolicy(const std::string& fileName);
    virtual ~LogToFilePolicy();

    /// One line, in the file when the call returns.
    ///@{
    virtual void log(const std::string& head, const std::wstring& text);
    virtual void log(const std::string& head, const std::string& text);
    ///@}

private:
    // The Logger leaves its head in the thread's line and writes the
    // policy's line around it to the stream itself.
    friend struct LogLine::Delivery;

    std::string m_fileName;
    std::ofstream m_stream;
};

} // namespace Zim
} // namespace Vesk

#endif
