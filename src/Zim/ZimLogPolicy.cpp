// LogPolicy and the console and file policies.
#include "ZimLogPolicy.h"

#include "ZimLineBuffer.h"
#include "ZimLogLine.h"

#include <iostream>

namespace Vesk {
namespace Zim {

namespace {

// Thread number, " - ", head and text, each up to its first NUL, and the
// line end, written and flushed as one piece.
void writeLine(std::ostream& stream, const std::string& head, const std::string& text)
{
    LogLine::ReusedBuffer buffer(LogLine::ReusedBuffer::Line);
    std::string& line = buffer.text();
    LogLine::appendThreadColumn(line);
    LogLine::appendTerminated(line, head);
    LogLine::appendTerminated(line, text);
    LogLine::finishLine(stream, line);
}

void writeLine(std::ostream& stream, const std::string& head, const std::wstring& text)
{
    LogLine::ReusedBuffer buffer(LogLine::ReusedBuffer::Line);
    std::string& line = buffer.text();
    LogLine::appendThreadColumn(line);
    LogLine::appendTerminated(line, head);
    line += LogLine::wideToUtf8(text);
    LogLine::finishLine(stream, line);
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
    writeLine(std::cout, head, text);
}

void LogToConsolePolicy::log(const std::string& head, const std::string& text)
{
    writeLine(std::cout, head, text);
}

// Opened for appending, shared with other writers; the directory is not
// created, and a file that cannot be opened leaves the stream failed, so
// that every record is dropped without a report.
LogToFilePolicy::LogToFilePolicy(const std::string& fileName)
    : LogPolicy("file"), m_fileName(fileName)
{
    LogLine::openUnbuffered(m_stream, fileName);
}

LogToFilePolicy::~LogToFilePolicy() {}

void LogToFilePolicy::log(const std::string& head, const std::wstring& text)
{
    writeLine(m_stream, head, text);
}

void LogToFilePolicy::log(const std::string& head, const std::string& text)
{
    writeLine(m_stream, head, text);
}

} // namespace Zim
} // namespace Vesk
