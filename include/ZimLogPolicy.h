// Log policies: where the Logger's records go. LogPolicy is the base that
// applications derive from; the console and file policies come with the
// library.
#ifndef ZIM_LOG_POLICY_H
#define ZIM_LOG_POLICY_H

#include "CorvoExport.h"

#include <fstream>
#include <string>

namespace Vesk {
namespace Zim {

class CORVO_API LogPolicy
{
public:
    explicit LogPolicy(const std::string& name);
    LogPolicy(const LogPolicy& other);
    LogPolicy& operator=(const LogPolicy& other);
    virtual ~LogPolicy();

    // One record: head (time, level and tag, or empty) and text. A policy
    // writes them as one line.
    virtual void log(const std::string& head, const std::wstring& text) = 0;
    virtual void log(const std::string& head, const std::string& text) = 0;

    const std::string& getName() const;

private:
    std::string m_name;
};

// Writes records to standard output. Internal: the Logger holds one, named
// "console", and applications switch it with Logger::logToConsole.
class LogToConsolePolicy : public LogPolicy
{
public:
    LogToConsolePolicy();
    virtual ~LogToConsolePolicy();

    virtual void log(const std::string& head, const std::wstring& text);
    virtual void log(const std::string& head, const std::string& text);
};

// Appends records to a file, one flushed line each, named "file". A file
// that cannot be opened loses its records silently. Wide texts are written
// as UTF-8.
class CORVO_API LogToFilePolicy : public LogPolicy
{
public:
    explicit LogToFilePolicy(const std::string& fileName);
    virtual ~LogToFilePolicy();

    virtual void log(const std::string& head, const std::wstring& text);
    virtual void log(const std::string& head, const std::string& text);

private:
    std::string m_fileName;
    std::ofstream m_stream;
};

} // namespace Zim
} // namespace Vesk

#endif
