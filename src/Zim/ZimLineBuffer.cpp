// Per-thread pieces of a record, and the one write of a line.
#include "ZimLineBuffer.h"

#include "CorvoPlatform.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>

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
// The column stands at the end of text.
struct ThreadColumn
{
    unsigned long long id;
    std::size_t size;
    char text[24];
};

static_assert(sizeof(ThreadColumn::text) <= KeptHead::frontRoom, "the column is copied whole before the head");

thread_local ThreadColumn threadColumnCache;

thread_local KeptHead threadKeptHead;

// The descriptor of the file policy's stream that the thread last wrote a
// kept line to, so that the next line needs no call to find it. The policy
// opens its stream once, when it is built, so the descriptor stays good for
// the policy's life; each policy's end advances the generation, so that a
// stream built later at the same address is looked up anew. A later policy
// reaches the Logger after the advance, through the Logger's lock, under
// which the line is written: the lock orders the two.
std::atomic<unsigned> streamGeneration(0);

struct DescriptorCache
{
    const std::ofstream* stream;
    unsigned generation;
    int descriptor;
};

thread_local DescriptorCache descriptorCache;

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

namespace {

const ThreadColumn& currentColumn()
{
    ThreadColumn& column = threadColumnCache;
    const unsigned long long id = GetCurrentThreadId();
    if (column.size == 0 || column.id != id) {
        char digits[20];
        const Piece number = decimal(digits, id);
        char* const end = column.text + sizeof column.text;
        std::memcpy(end - 3, " - ", 3);
        std::memcpy(end - 3 - number.size, number.data, number.size);
        column.size = number.size + 3;
        column.id = id;
    }
    return column;
}

} // namespace

Piece threadColumn()
{
    const ThreadColumn& column = currentColumn();
    return Piece{column.text + sizeof column.text - column.size, column.size};
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

long long writeSome(int descriptor, const char* next, std::size_t left)
{
    return ::write(descriptor, next, static_cast<unsigned>(left < INT_MAX ? left : INT_MAX));
}

// What one write left: the rest of a short write, a write that a signal
// broke off, a failure.
void writeRest(std::ofstream& stream, int descriptor, const char* next, std::size_t left, long long written)
{
    for (;;) {
        if (written < 0 && errno == EINTR)
            written = 0;
        else if (written <= 0) {
            stream.setstate(std::ios_base::badbit);
            return;
        }
        next += written;
        left -= static_cast<std::size_t>(written);
        if (left == 0)
            return;
        written = writeSome(descriptor, next, left);
    }
}

inline void writeBytes(std::ofstream& stream, int descriptor, const char* next, std::size_t left)
{
    const long long written = writeSome(descriptor, next, left);
    if (written < 0 || static_cast<std::size_t>(written) != left)
        writeRest(stream, descriptor, next, left, written);
}

// The stream's own buffer is never used: it stays empty, and the line goes
// past it. A file opened for appending takes each write whole at its end.
inline void writeBytes(std::ofstream& stream, const char* next, std::size_t left)
{
    if (stream.good())
        writeBytes(stream, FileDescriptor::of(*stream.rdbuf()), next, left);
}

} // namespace

void writeToFile(std::ofstream& stream, const Line& line) { writeBytes(stream, line.data(), line.size()); }

KeptHead& keptHead() { return threadKeptHead; }

namespace {

// Word by word, so that a short run costs no call; the last word may
// overlap the one before it.
bool sameBytes(const char* a, const char* b, std::size_t size)
{
    if (size < 8) {
        for (std::size_t i = 0; i < size; ++i)
            if (a[i] != b[i])
                return false;
        return true;
    }
    std::uint64_t left, right;
    for (std::size_t done = 0; done + 8 < size; done += 8) {
        std::memcpy(&left, a + done, 8);
        std::memcpy(&right, b + done, 8);
        if (left != right)
            return false;
    }
    std::memcpy(&left, a + size - 8, 8);
    std::memcpy(&right, b + size - 8, 8);
    return left == right;
}

// Text up to its first NUL into out, which has room for all of it, word by
// word as above; the result is the number of bytes copied. Long texts go
// through the library's search and copy, which are faster on them.
std::size_t copyUpToNul(char* out, const char* text, std::size_t size)
{
    const std::size_t shortText = 256;
    if (size > shortText) {
        const void* const nul = std::memchr(text, '\0', size);
        const std::size_t length = nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : size;
        std::memcpy(out, text, length);
        return length;
    }
    const std::uint64_t ones = 0x0101010101010101ull, highs = 0x8080808080808080ull;
    std::size_t done = 0;
    for (; done + 8 <= size; done += 8) {
        std::uint64_t word;
        std::memcpy(&word, text + done, 8);
        if ((word - ones) & ~word & highs) // a NUL among the eight
            break;
        std::memcpy(out + done, &word, 8);
    }
    for (; done < size && text[done] != '\0'; ++done)
        out[done] = text[done];
    return done;
}

// Longer heads, with a long tag, are joined anew for each record.
const std::size_t keptSizeLimit = 1024;

inline bool isKept(const HeadPieces& pieces)
{
    const KeptHead& kept = threadKeptHead;
    const Piece& tag = pieces.tag;
    const std::size_t tagAt = pieces.time.size + pieces.level.size;
    return kept.key == pieces.key && kept.size == tagAt + tag.size + 2 &&
           sameBytes(kept.line + KeptHead::frontRoom + tagAt, tag.data, tag.size);
}

bool makeKept(const HeadPieces& pieces)
{
    KeptHead& kept = threadKeptHead;
    char* const head = kept.head();
    const Piece& tag = pieces.tag;
    const std::size_t tagAt = pieces.time.size + pieces.level.size;
    const std::size_t size = tagAt + tag.size + 2;
    if (size > keptSizeLimit || std::memchr(tag.data, '\0', tag.size))
        return false;
    std::memcpy(head, pieces.time.data, pieces.time.size);
    std::memcpy(head + pieces.time.size, pieces.level.data, pieces.level.size);
    std::memcpy(head + tagAt, tag.data, tag.size);
    std::memcpy(head + tagAt + tag.size, "] ", 2);
    kept.key = pieces.key;
    kept.size = size;
    return true;
}

int keptDescriptor(const std::ofstream& stream)
{
    DescriptorCache& cache = descriptorCache;
    const unsigned generation = streamGeneration.load(std::memory_order_relaxed);
    if (cache.stream != &stream || cache.generation != generation) {
        cache.descriptor = FileDescriptor::of(*stream.rdbuf());
        cache.stream = &stream;
        cache.generation = generation;
    }
    return cache.descriptor;
}

} // namespace

bool keepHead(const HeadPieces& pieces) { return isKept(pieces) || makeKept(pieces); }

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

bool writeKeptLine(std::ofstream& stream, const HeadPieces& pieces, const std::string& text)
{
    if (!isKept(pieces) && !makeKept(pieces))
        return false;
    KeptHead& kept = threadKeptHead;
    const std::size_t textAt = KeptHead::frontRoom + kept.size;
    if (text.size() >= sizeof kept.line - textAt) {
        writeWithKeptHead(stream, {threadColumn()}, terminated(text));
        return true;
    }
    const ThreadColumn& column = currentColumn();
    char* const head = kept.head();
    std::memcpy(head - sizeof column.text, column.text, sizeof column.text);
    char* const textStart = kept.line + textAt;
    const std::size_t textSize = copyUpToNul(textStart, text.data(), text.size());
    textStart[textSize] = '\n';
    if (stream.good())
        writeBytes(stream, keptDescriptor(stream), head - column.size, column.size + kept.size + textSize + 1);
    return true;
}

void forgetStream() { streamGeneration.fetch_add(1, std::memory_order_relaxed); }

void openForAppend(std::ofstream& stream, const std::string& path)
{
    stream.open(path.c_str(), std::ios_base::out | std::ios_base::app);
}

} // namespace LogLine
} // namespace Zim
} // namespace Vesk
