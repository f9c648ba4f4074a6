// LogToRollingFilePolicy: records in a numbered series of files in one
// directory, moving to the next number when a file has taken more than a
// set number of characters, and keeping a set number of files.
#ifndef ZIM_LOG_TO_ROLLING_FILE_POLICY_H
#define ZIM_LOG_TO_ROLLING_FILE_POLICY_H

#include "CorvoExport.h"
#include "ZimLogPolicy.h"

#include <fstream>
#include <list>
#include <string>

namespace Vesk {
namespace Zim {

class CORVO_API LogToRollingFilePolicy : public LogPolicy
{
public:
    // nameFormat prints and scans a file name with one conversion of an
    // unsigned short, such as "app-%hu.log". The series goes on after the
    // files of an earlier run, always in a new file. A maxFiles of 0 counts
    // as 1. Any other name format (%s, %n, two numbers, a name of 260
    // characters or more) is refused: the constructor throws Zim::Exception.
    LogToRollingFilePolicy(const std::string& directory, const std::string& nameFormat,
                           unsigned short maxFiles, unsigned long long maxSize);
    virtual ~LogToRollingFilePolicy();

    virtual void log(const std::string& head, const std::wstring& text);
    virtual void log(const std::string& head, const std::string& text);

private:
    LogToRollingFilePolicy(const LogToRollingFilePolicy&);
    LogToRollingFilePolicy& operator=(const LogToRollingFilePolicy&);

    void init();
    void createFileName(std::string& path);
    void checkAndRoll();
    void openCurrentFile();
    void writeRecord(const std::string& head, const std::string& bytes, std::size_t textLength);

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
