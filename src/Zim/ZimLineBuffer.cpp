// Per-thread buffers for the Logger's heads and the policies' lines.
#include "ZimLineBuffer.h"

#include "CorvoPlatform.h"

namespace Vesk {
namespace Zim {
namespace LogLine {

namespace {

// A buffer that an unusually long record has grown is given back after it.
const std::size_t keptCapacity = 1 << 16;

// Trivial, so it can still be read after the buffers below are destroyed.
thread_local bool buffersGone = false;

struct ThreadBuffers
{
    ~ThreadBuffers() { buffersGone = true; }

    std::string head;
    std::string line;
    bool headTaken = false;
    bool lineTaken = false;
};

thread_local ThreadBuffers threadBuffers;

} // namespace

ReusedBuffer::ReusedBuffer(Kind kind) : m_text(&m_own), m_taken(nullptr)
{
    if (buffersGone)
        return;
    ThreadBuffers& buffers = threadBuffers;
    bool& taken = kind == Head ? buffers.headTaken : buffers.lineTaken;
    if (taken)
        return;
    taken = true;
    m_taken = &taken;
    m_text = kind == Head ? &buffers.head : &buffers.line;
    m_text->clear();
}

ReusedBuffer::~ReusedBuffer()
{
    if (!m_taken)
        return;
    *m_taken = false;
    if (m_text->capacity() > keptCapacity)
        std::string().swap(*m_text);
}

void appendDecimal(std::string& line, unsigned long long value)
{
    char digits[20];
    char* const end = digits + sizeof digits;
    char* first = end;
    do {
        *--first = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    line.append(first, end);
}

void appendThreadColumn(std::string& line)
{
    appendDecimal(line, static_cast<unsigned long long>(GetCurrentThreadId()));
    line += " - ";
}

namespace {

// Straight to the stream buffer, as write and flush would do it, without
// their guards: the streams here are tied to none.
void writeWhole(std::ostream& stream, std::string& line, bool flush)
{
    line += '\n';
    if (!stream.good())
        return;
    std::streambuf* const buffer = stream.rdbuf();
    const std::streamsize size = static_cast<std::streamsize>(line.size());
    if (buffer->sputn(line.data(), size) != size || (flush && buffer->pubsync() == -1))
        stream.setstate(std::ios_base::badbit);
}

} // namespace

void finishLine(std::ostream& stream, std::string& line) { writeWhole(stream, line, true); }

// An unbuffered file buffer hands the line to the system at once: there is
// nothing left to flush.
void finishFileLine(std::ofstream& stream, std::string& line) { writeWhole(stream, line, false); }

void openUnbuffered(std::ofstream& stream, const std::string& path)
{
    stream.rdbuf()->pubsetbuf(nullptr, 0);
    stream.open(path.c_str(), std::ios_base::out | std::ios_base::app);
}

} // namespace LogLine
} // namespace Zim
} // namespace Vesk
