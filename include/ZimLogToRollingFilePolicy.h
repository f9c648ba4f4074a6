/// \file
/// LogToRollingFilePolicy: records in a numbered series of files in one
/// directory, moving to the next number when a file has taken more than a
/// set number of characters, and keeping a set number of files.
#ifndef ZIM_LOG_TO_ROLLING_FILE_POLICY_H
#define ZIM_LOG_TO_ROLLING_FILE_POLICY_H

#include "CorvoExport.h"
#include "ZimLogPolicy.h"

#include <fstream>
#include <list>
#include <string>

namespace Vesk {
namespace Zim {

/// A numbered series of log files in one directory.
///
/// Its policy name is "file", as LogToFilePolicy's: Logger::addPolicy
/// refuses the second of the two in the same state with Vesk::Zim::Exception
/// "A log policy with name [file] already exists within the system", and
/// Logger::logToFile switches whichever is held.
///
/// Each line carries the thread, a record number counted from 0 over the
/// policy's life, the head and the text. A file rolls after the record that
/// takes it past maxSize characters (heads and texts, not line ends), so no
/// record is split; the numbers go round from 0 to maxFiles - 1, and at most
/// maxFiles files are kept, read-only and hidden ones included (on Linux: no
/// write bit, or a name that starts with a dot). Nothing is reported for a
/// file problem: a directory that is missing or cannot be written (it is not
/// created) loses every record, silently, until a roll opens a file that
/// works.
class CORVO_API LogToRollingFilePolicy : public LogPolicy
{
public:
    /// nameFormat prints and scans a file name with exactly one conversion of
    /// an unsigned short, such as "app-%hu.log" or "app-%03hx.log". Any other
    /// format (no number, %u, %s, %n, two numbers, a name of 260 characters
    /// or more) is refused: the constructor throws Zim::Exception "A log file
    /// name format [FORMAT] does not hold exactly one conversion of an
    /// unsigned short". The series goes on after the files of an earlier run,
    /// always in a new file (the one after the last number found, by the
    /// names' byte order). File numbers go round modulo maxFiles (with 3:
    /// 1, 2, 0, 1, ...), and after a roll the next file is open, empty, at
    /// once. A maxFiles of 0 counts as 1.
    LogToRollingFilePolicy(const std::string& directory, const std::string& nameFormat,
                           unsigned short maxFiles, unsigned long long maxSize);
    virtual ~LogToRollingFilePolicy();

    /// One line, in the file when the call returns; wide text as UTF-8. Not
    /// guarded: called through the Logger, which holds its lock.
    ///@{
    virtual void log(const std::string& head, const std::wstring& text);
    virtual void log(const std::string& head, const std::string& text);
    ///@}

private:
    // The Logger leaves its head in the thread's line, where the policy
    // builds the line around it.
    friend struct LogLine::Delivery;

    LogToRollingFilePolicy(const LogToRollingFilePolicy&);
    LogToRollingFilePolicy& operator=(const LogToRollingFilePolicy&);

    void init();
    void createFileName(std::string& path);
    void checkAndRoll();
    void openCurrentFile();
    void writeRecord(const std::string& head, const std::string& bytes, std::size_t textLength);
    void writeKept(const std::string& text);
    void count(std::size_t frontSize, std::size_t headSize, std::size_t textLength);

    std::string m_directory;
    std::string m_nameFormat;
    std::string m_currentFile;
    unsigned long long m_currentSize;
    unsigned short m_maxFiles;
    unsigned long long m_maxSize;
    unsigned long long m_recordCount;
    std::list<std::string> m_files;
    unsigned short m_fileNumber;
    std::ofstream m_stream;
};

} // namespace Zim
} // namespace Vesk

#endif
