// LogPolicy and the console and file policies.
#include "ZimLogPolicy.h"

#include "ZimLineBuffer.h"
#include "ZimLogLine.h"

#include <iostream>

namespace Vesk {
namespace Zim {

namespace {

// Thread number, " - ", head and text, each up to its first NUL, and the
// line end.
template <class Write>
void writeLine(Write write, const std::string& head, const std::string& text)
{
    write(LogLine::Line({LogLine::threadColumn()}, LogLine::terminated(head), LogLine::terminated(text)));
}

template <class Write>
void writeLine(Write write, const std::string& head, const std::wstring& text)
{
    writeLine(write, head, LogLine::wideToUtf8(text));
}

template <class Text>
void writeToConsole(const std::string& head, const Text& text)
{
    writeLine([](const LogLine::Line& line) { LogLine::writeToStream(std::cout, line); }, head, text);
}

template <class Text>
void writeToFile(std::ofstream& stream, const std::string& head, const Text& text)
{
    writeLine([&stream](const LogLine::Line& line) { LogLine::writeToFile(stream, line); }, head, text);
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
    writeToConsole(head, text);
}

void LogToConsolePolicy::log(const std::string& head, const std::string& text)
{
    writeToConsole(head, text);
}

// Opened for appending, shared with other writers; the directory is not
// created, and a file that cannot be opened leaves the stream failed, so
// that every record is dropped without a report.
LogToFilePolicy::LogToFilePolicy(const std::string& fileName)
    : LogPolicy("file"), m_fileName(fileName)
{
    LogLine::openForAppend(m_stream, fileName);
}

LogToFilePolicy::~LogToFilePolicy() { LogLine::forgetStream(); }

void LogToFilePolicy::log(const std::string& head, const std::wstring& text)
{
    writeToFile(m_stream, head, text);
}

void LogToFilePolicy::log(const std::string& head, const std::string& text)
{
    writeToFile(m_stream, head, text);
}

} // namespace Zim
} // namespace Vesk
