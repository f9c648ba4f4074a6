// LogPolicy and the console and file policies.
#include "ZimLogPolicy.h"

#include "CorvoPlatform.h"

#include <iostream>
#include <iterator>
#include <sstream>

#include <utf8.h>

namespace Vesk {
namespace Zim {

namespace {

// "<thread number> - ", the column that tells the records of threads apart.
std::string threadColumn()
{
    std::ostringstream column;
    column << static_cast<unsigned long long>(GetCurrentThreadId()) << " - ";
    return column.str();
}

// Wide text as UTF-8, up to its first NUL. The elements are UTF-16 units,
// pairs of surrogates included; where wchar_t is 32 bits an element above
// 0xFFFF is taken as a whole code point. What is neither becomes U+FFFD.
std::string wideToUtf8(const std::wstring& text)
{
    std::string bytes;
    std::back_insert_iterator<std::string> out(bytes);
    for (const wchar_t* p = text.c_str(); *p; ++p) {
        unsigned long unit = static_cast<unsigned long>(*p);
        if (unit >= 0xD800 && unit <= 0xDBFF && p[1] >= 0xDC00 && p[1] <= 0xDFFF) {
            unit = 0x10000 + ((unit - 0xD800) << 10) + (static_cast<unsigned long>(*++p) - 0xDC00);
        } else if ((unit >= 0xD800 && unit <= 0xDFFF) || unit > 0x10FFFF) {
            unit = 0xFFFD;
        }
        out = utf8::append(static_cast<utf8::uint32_t>(unit), out);
    }
    return bytes;
}

void writeLine(std::ostream& stream, const std::string& head, const std::string& text)
{
    stream << threadColumn().c_str() << head.c_str() << text.c_str() << std::endl;
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
    writeLine(std::cout, head, wideToUtf8(text));
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
    writeLine(m_stream, head, wideToUtf8(text));
}

void LogToFilePolicy::log(const std::string& head, const std::string& text)
{
    writeLine(m_stream, head, text);
}

} // namespace Zim
} // namespace Vesk
