// Test doubles around the Logger: a policy that records what it is given,
// and a capture of standard output.
#ifndef CORVO_TEST_LOG_CAPTURE_H
#define CORVO_TEST_LOG_CAPTURE_H

#include "ZimLogPolicy.h"
#include "ZimLogger.h"

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace corvo_test {

// A wide text is kept as its low bytes, enough for ASCII.
struct Record
{
    std::string policy, head, text;
    bool wide;
};

// Records what it is given, into its own list, or into one that several
// share. One with its own list is enabled in the process's Logger for the
// life of the object.
struct Recorder : Vesk::Zim::LogPolicy
{
    explicit Recorder(const std::string& name) : Recorder(name, records)
    {
        Vesk::Zim::Logger::getSingleton().addPolicy(*this, true);
    }
    Recorder(const std::string& name, std::vector<Record>& sink) : LogPolicy(name), sink(sink) {}
    ~Recorder() override { Vesk::Zim::Logger::getSingleton().disablePolicy(getName()); }
    void log(const std::string& head, const std::wstring& text) override
    {
        sink.push_back(Record{getName(), head, std::string(text.begin(), text.end()), true});
    }
    void log(const std::string& head, const std::string& text) override { sink.push_back(Record{getName(), head, text, false}); }
    std::vector<std::string> texts() const
    {
        std::vector<std::string> result;
        for (const Record& r : sink)
            result.push_back(r.text);
        return result;
    }

    std::vector<Record>& sink;
    std::vector<Record> records;
};

// Redirects std::cout for its lifetime.
class CoutCapture
{
public:
    CoutCapture() : m_saved(std::cout.rdbuf(m_buffer.rdbuf())) {}
    ~CoutCapture() { std::cout.rdbuf(m_saved); }
    std::string text() const { return m_buffer.str(); }

private:
    std::ostringstream m_buffer;
    std::streambuf* m_saved;
};

} // namespace corvo_test

#endif
