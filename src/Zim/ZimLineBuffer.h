// The pieces of a record, built in buffers that each thread reuses, and the
// line written to its stream in one piece, line end included, then flushed.
#ifndef ZIM_LINE_BUFFER_H
#define ZIM_LINE_BUFFER_H

#include <fstream>
#include <ostream>
#include <string>

namespace Vesk {
namespace Zim {
namespace LogLine {

// One of the calling thread's two buffers, emptied, for as long as the
// object lives. Where that buffer is taken already (a policy that logs again
// from its own log) or gone (a log call from a destructor at thread or
// process end), the object holds a string of its own instead.
class ReusedBuffer
{
public:
    enum Kind
    {
        Head,
        Line
    };

    explicit ReusedBuffer(Kind kind);
    ~ReusedBuffer();

    std::string& text() { return *m_text; }

private:
    ReusedBuffer(const ReusedBuffer&);
    ReusedBuffer& operator=(const ReusedBuffer&);

    std::string* m_text;
    bool* m_taken;
    std::string m_own;
};

// Decimal digits, no stream involved.
void appendDecimal(std::string& line, unsigned long long value);

// The first column of a line: the thread number and " - ".
void appendThreadColumn(std::string& line);

// The text up to its first NUL, as a NUL-terminated string would be written.
inline void appendTerminated(std::string& line, const std::string& text) { line.append(text.c_str()); }

// Adds the line end, writes the whole line and flushes it: one write to the
// system per record. A failed stream writes nothing; a failed write sets
// the stream's bad state.
void finishLine(std::ostream& stream, std::string& line);

// Opens a log file for appending, shared with other writers, with no buffer
// in the stream: each line goes to the system as it is handed over.
void openUnbuffered(std::ofstream& stream, const std::string& path);

// finishLine for a stream opened with openUnbuffered, which needs no flush.
void finishFileLine(std::ofstream& stream, std::string& line);

} // namespace LogLine
} // namespace Zim
} // namespace Vesk

#endif
