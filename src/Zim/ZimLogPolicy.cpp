// LogPolicy and the console and file policies.
#include "ZimLogPolicy.h"

#include "ZimLogLine.h"

#include <iostream>

namespace Vesk {
namespace Zim {

namespace {

void writeLine(std::ostream& stream, const std::string& head, const std::string& text)
{
    stream << (LogLine::threadNumber() + " - ").c_str() << head.c_str() << text.c_str() << std::endl;
}

} // namespace

LogPolicy::LogPolicy(const std::string& name) : m_name(name) {}

LogPolicy::LogPolicy(const LogPolicy& other) : m_name(other.m_name) {}

LogPolicy& LogPolicy::operator=(const LogPolicy& other)
{
    m_name = other.m_name;
    return *this;
}

LogPolicy::~LogPolicy() {}

const std::string& LogPolicy::getName() const { return m_name; }

LogToConsolePolicy::LogToConsolePolicy() : LogPolicy("console") {}

LogToConsolePolicy::~LogToConsolePolicy() {}

// Wide records go to std::cout as UTF-8 as well: the C library's standard
// output takes either bytes or wide characters for its whole life, and the
// Logger has written bytes to it already.
void LogToConsolePolicy::log(const std::string& head, const std::wstring& text)
{
    writeLine(std::cout, head, LogLine::wideToUtf8(text));
}

void LogToConsolePolicy::log(const std::string& head, const std::string& text)
{
    writeLine(std::cout, head, text);
}

// Opened for appending, shared with other writers; the directory is not
// created, and a file that cannot be opened leaves the stream failed, so
// that every record is dropped without a report.
LogToFilePolicy::LogToFilePolicy(const std::string& fileName)
    : LogPolicy("file"), m_fileName(fileName), m_stream(fileName.c_str(), std::ios_base::out | std::ios_base::app)
{
}

LogToFilePolicy::~LogToFilePolicy() {}

void LogToFilePolicy::log(const std::string& head, const std::wstring& text)
{
    writeLine(m_stream, head, LogLine::wideToUtf8(text));
}

void LogToFilePolicy::log(const std::string& head, const std::string& text)
{
    writeLine(m_stream, head, text);
}

} // namespace Zim
} // namespace Vesk
