// Per-thread pieces of a record, and the one write of a line.
#include "ZimLineBuffer.h"

#include "CorvoPlatform.h"

#include <unistd.h>

#include <cerrno>
#include <climits>

namespace Vesk {
namespace Zim {
namespace LogLine {

namespace {

// A buffer that an unusually long head has grown is given back after it.
const std::size_t keptCapacity = 1 << 16;

// Trivial, so it can still be read after the buffer below is destroyed.
thread_local bool bufferGone = false;

struct ThreadBuffer
{
    ~ThreadBuffer() { bufferGone = true; }

    std::string head;
    unsigned long long key = 0;
    bool taken = false;
};

thread_local ThreadBuffer threadBuffer;

// Trivial as well: no guard on the way in, nothing to destroy. The number is
// compared on each use, so a thread that a fork made gets its own column.
struct ThreadColumn
{
    unsigned long long id;
    std::size_t size;
    char text[24];
};

thread_local ThreadColumn threadColumnCache;

// libstdc++'s file buffer keeps its C file in a protected member: a class
// derived from it may name the member, and so reach the descriptor that the
// stream owns.
struct FileDescriptor : std::filebuf
{
    static int of(std::filebuf& buffer) { return (buffer.*&FileDescriptor::_M_file).fd(); }
};

} // namespace

ReusedBuffer::ReusedBuffer() : m_text(&m_own), m_key(&m_ownKey), m_taken(nullptr), m_ownKey(0)
{
    if (bufferGone)
        return;
    ThreadBuffer& buffer = threadBuffer;
    if (buffer.taken)
        return;
    buffer.taken = true;
    m_taken = &buffer.taken;
    m_text = &buffer.head;
    m_key = &buffer.key;
}

ReusedBuffer::~ReusedBuffer()
{
    if (!m_taken)
        return;
    *m_taken = false;
    if (m_text->capacity() > keptCapacity) {
        std::string().swap(*m_text);
        *m_key = 0;
    }
}

Piece decimal(char (&digits)[20], unsigned long long value)
{
    char* const end = digits + sizeof digits;
    char* first = end;
    do {
        *--first = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    return Piece{first, static_cast<std::size_t>(end - first)};
}

std::string& join(std::string& out, const Piece* pieces, std::size_t count)
{
    std::size_t size = 0;
    for (std::size_t i = 0; i < count; ++i)
        size += pieces[i].size;
    out.resize(size);
    char* next = &out[0];
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(next, pieces[i].data, pieces[i].size);
        next += pieces[i].size;
    }
    return out;
}

Piece threadColumn()
{
    ThreadColumn& column = threadColumnCache;
    const unsigned long long id = GetCurrentThreadId();
    if (column.size == 0 || column.id != id) {
        char digits[20];
        const Piece number = decimal(digits, id);
        std::memcpy(column.text, number.data, number.size);
        std::memcpy(column.text + number.size, " - ", 3);
        column.size = number.size + 3;
        column.id = id;
    }
    return Piece{column.text, column.size};
}

char* Line::allocate()
{
    m_heap.reset(new char[m_size]);
    return m_heap.get();
}

// Straight to the stream buffer, as write and flush would do it, without
// their guards: the console stream is tied to none.
void writeToStream(std::ostream& stream, const Line& line)
{
    if (!stream.good())
        return;
    std::streambuf* const buffer = stream.rdbuf();
    const std::streamsize size = static_cast<std::streamsize>(line.size());
    if (buffer->sputn(line.data(), size) != size || buffer->pubsync() == -1)
        stream.setstate(std::ios_base::badbit);
}

// The stream's own buffer is never used: it stays empty, and the line goes
// past it. A file opened for appending takes each write whole at its end.
void writeToFile(std::ofstream& stream, const Line& line)
{
    if (!stream.good())
        return;
    const int descriptor = FileDescriptor::of(*stream.rdbuf());
    const char* next = line.data();
    std::size_t left = line.size();
    while (left > 0) {
        const long long written = ::write(descriptor, next, static_cast<unsigned>(left < INT_MAX ? left : INT_MAX));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            stream.setstate(std::ios_base::badbit);
            return;
        }
        next += written;
        left -= static_cast<std::size_t>(written);
    }
}

void openForAppend(std::ofstream& stream, const std::string& path)
{
    stream.open(path.c_str(), std::ios_base::out | std::ios_base::app);
}

} // namespace LogLine
} // namespace Zim
} // namespace Vesk
