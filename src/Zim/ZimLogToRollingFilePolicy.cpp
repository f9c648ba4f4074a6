// LogToRollingFilePolicy: the directory scan at start, the line with its
// record number, the roll and the removal of surplus files.
#include "ZimLogToRollingFilePolicy.h"

#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "ZimException.h"
#include "ZimLineBuffer.h"
#include "ZimLogLine.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace Vesk {
namespace Zim {

namespace {

// A file exists for the series when it can be opened and read: a directory
// or an unreadable file counts as absent.
bool fileExists(const std::string& path)
{
    std::ifstream file(path.c_str(), std::ios_base::in);
    return file.is_open() && (file.peek(), !file.bad());
}

// Read-only and hidden files go like plain ones. A file that cannot be
// removed stays on the disk; nobody is told.
void removeFile(const std::string& path)
{
    DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return;
    const DWORD protection = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    if ((attributes & protection) != 0) {
        attributes &= ~protection;
        if (!SetFileAttributesA(path.c_str(), attributes))
            return;
    }
    DeleteFileA(path.c_str());
}

// The name format prints and scans one unsigned short: "%", an optional
// zero flag and width, "h" and one of d, u, o, x, X, with "%%" for a percent
// sign anywhere. Anything else would hand sprintf and sscanf arguments that
// they don't get. The printed name must stay below 260 characters, with
// room for the widest number.
bool isNameFormat(const std::string& format)
{
    const char* next = format.c_str();
    std::size_t conversions = 0, length = 0;
    while (*next) {
        if (*next++ != '%') {
            ++length;
            continue;
        }
        if (*next == '%') {
            ++next;
            ++length;
            continue;
        }
        while (*next == '0')
            ++next;
        std::size_t width = 0, digits = 0;
        for (; *next >= '0' && *next <= '9'; ++next, ++digits)
            width = width * 10 + static_cast<std::size_t>(*next - '0');
        if (digits > 3 || *next++ != 'h' || !*next || !std::strchr("duoxX", *next++))
            return false;
        ++conversions;
        length += std::max<std::size_t>(width, 6);
    }
    return conversions == 1 && length < 260;
}

} // namespace

LogToRollingFilePolicy::LogToRollingFilePolicy(const std::string& directory, const std::string& nameFormat,
                                               unsigned short maxFiles, unsigned long long maxSize)
    : LogPolicy("file"), m_directory(directory), m_nameFormat(nameFormat), m_currentSize(0),
      m_maxFiles(maxFiles == 0 ? 1 : maxFiles), m_maxSize(maxSize), m_recordCount(0), m_fileNumber(0)
{
    if (!isNameFormat(nameFormat))
        CORVO_RAISE(Exception, "A log file name format [" + nameFormat +
                                   "] does not hold exactly one conversion of an unsigned short");
    init();
}

LogToRollingFilePolicy::~LogToRollingFilePolicy() {}

void LogToRollingFilePolicy::init()
{
    std::vector<std::string> names;
    _finddata64i32_t entry;
    const std::intptr_t search = _findfirst64i32((m_directory + "/*.*").c_str(), &entry);
    if (search != -1) {
        do {
            if (fileExists(m_directory + CORVO_PATH_SEPARATOR + entry.name))
                names.push_back(entry.name);
        } while (_findnext64i32(search, &entry) == 0);
        _findclose(search);
    }

    // By name, byte-wise: numbers without leading zeros do not sort as
    // numbers, and the last match decides where the series goes on.
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        if (std::sscanf(name.c_str(), m_nameFormat.c_str(), &m_fileNumber) == 1) {
            m_currentFile = m_directory + CORVO_PATH_SEPARATOR + name;
            m_files.push_back(m_currentFile);
        }
    }

    createFileName(m_currentFile);
    m_files.push_back(m_currentFile);
    if (fileExists(m_currentFile))
        removeFile(m_currentFile);
    openCurrentFile();
}

void LogToRollingFilePolicy::createFileName(std::string& path)
{
    m_fileNumber = static_cast<unsigned short>(m_fileNumber + 1) % m_maxFiles;
    char name[260] = {};
    std::snprintf(name, sizeof name, m_nameFormat.c_str(), m_fileNumber);
    path = m_directory + CORVO_PATH_SEPARATOR + name;
}

// A failed open leaves the stream failed, so records are dropped until a
// later roll opens the next file.
void LogToRollingFilePolicy::openCurrentFile()
{
    m_currentSize = 0;
    LogLine::openForAppend(m_stream, m_currentFile);
}

void LogToRollingFilePolicy::log(const std::string& head, const std::wstring& text)
{
    writeRecord(head, LogLine::wideToUtf8(text), text.length());
}

void LogToRollingFilePolicy::log(const std::string& head, const std::string& text)
{
    writeRecord(head, text, text.length());
}

// The size counts characters of the start, the head and the text, not the
// line end; textLength is the text's own length, in wide characters for a
// wide text.
void LogToRollingFilePolicy::writeRecord(const std::string& head, const std::string& bytes,
                                         std::size_t textLength)
{
    char digits[20];
    const LogLine::Piece number = LogLine::decimal(digits, m_recordCount++);
    const LogLine::Piece column = LogLine::threadColumn();
    const LogLine::Line line({column, number, {" - ", 3}}, LogLine::terminated(head), LogLine::terminated(bytes));
    LogLine::writeToFile(m_stream, line);
    count(column.size + number.size + 3, head.length(), textLength);
}

// A record of the Logger's own, whose head the thread's line holds.
void LogToRollingFilePolicy::writeKept(const std::string& text)
{
    char digits[20];
    const LogLine::Piece number = LogLine::decimal(digits, m_recordCount++);
    const LogLine::Piece column = LogLine::threadColumn();
    LogLine::writeWithKeptHead(m_stream, {column, number, {" - ", 3}}, LogLine::terminated(text));
    count(column.size + number.size + 3, LogLine::keptHead().size, text.length());
}

void LogToRollingFilePolicy::count(std::size_t frontSize, std::size_t headSize, std::size_t textLength)
{
    m_currentSize += frontSize + headSize + textLength;
    checkAndRoll();
}

// Rolls after the record that crossed the limit, so no record is split, and
// keeps at most m_maxFiles files. When the numbers have wrapped, the front
// entry names the new file: its old content is gone already, and the delete
// below fails on the open file, which stays.
void LogToRollingFilePolicy::checkAndRoll()
{
    const bool roll = m_currentSize > m_maxSize;
    if (roll) {
        m_stream.close();
        createFileName(m_currentFile);
        m_files.push_back(m_currentFile);
        if (fileExists(m_currentFile))
            removeFile(m_currentFile);
    }
    while (m_files.size() > m_maxFiles) {
        const std::string oldest = m_files.front();
        m_files.pop_front();
        removeFile(oldest);
    }
    if (roll)
        openCurrentFile();
}

} // namespace Zim
} // namespace Vesk
