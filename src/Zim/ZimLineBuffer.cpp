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

thread_local KeptHead threadKeptHead;

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

namespace {

inline char* append(char* to, const Piece& piece)
{
    const char* from = piece.data;
    const std::size_t size = piece.size;
    std::memcpy(to, from, size);
    return to + size;
}

} // namespace

Line::Line(std::initializer_list<Piece> front, const Piece& head, const Piece& text)
    : m_data(m_local), m_size(head.size + text.size + 1)
{
    for (const Piece& piece : front)
        m_size += piece.size;
    if (m_size > sizeof m_local) {
        m_heap.reset(new char[m_size]);
        m_data = m_heap.get();
    }
    char* next = m_data;
    for (const Piece& piece : front)
        next = append(next, piece);
    next = append(next, head);
    next = append(next, text);
    *next = '\n';
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

namespace {

// The stream's own buffer is never used: it stays empty, and the line goes
// past it. A file opened for appending takes each write whole at its end.
void writeBytes(std::ofstream& stream, const char* next, std::size_t left)
{
    if (!stream.good())
        return;
    const int descriptor = FileDescriptor::of(*stream.rdbuf());
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

} // namespace

void writeToFile(std::ofstream& stream, const Line& line) { writeBytes(stream, line.data(), line.size()); }

KeptHead& keptHead() { return threadKeptHead; }

void writeWithKeptHead(std::ofstream& stream, std::initializer_list<Piece> front, const Piece& text)
{
    KeptHead& kept = threadKeptHead;
    std::size_t frontSize = 0;
    for (const Piece& piece : front)
        frontSize += piece.size;
    const std::size_t textAt = KeptHead::frontRoom + kept.size;
    if (frontSize > KeptHead::frontRoom || text.size >= sizeof kept.line - textAt) {
        writeToFile(stream, Line(front, Piece{kept.head(), kept.size}, text));
        return;
    }
    char* const start = kept.head() - frontSize;
    char* next = start;
    for (const Piece& piece : front)
        next = append(next, piece);
    std::memcpy(kept.line + textAt, text.data, text.size);
    kept.line[textAt + text.size] = '\n';
    writeBytes(stream, start, frontSize + kept.size + text.size + 1);
}

void openForAppend(std::ofstream& stream, const std::string& path)
{
    stream.open(path.c_str(), std::ios_base::out | std::ios_base::app);
}

} // namespace LogLine
} // namespace Zim
} // namespace Vesk
