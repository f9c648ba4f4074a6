// The pieces of a record: the Logger's head in a buffer that each thread
// reuses, and a policy's line joined from its pieces and handed to its
// target in one write, line end included.
#ifndef ZIM_LINE_BUFFER_H
#define ZIM_LINE_BUFFER_H

#include <cstddef>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>

namespace Vesk {
namespace Zim {
namespace LogLine {

// The calling thread's head buffer, as its last record left it, for as
// long as the object lives. Where that buffer is taken already (a policy
// that logs again from its own log) or gone (a log call from a destructor at
// thread or process end), the object holds an empty string of its own
// instead.
class ReusedBuffer
{
public:
    ReusedBuffer();
    ~ReusedBuffer();

    std::string& text() { return *m_text; }

    // What the text was built from, as its builder chose to sum it up; 0
    // with an empty text.
    unsigned long long& key() { return *m_key; }

private:
    ReusedBuffer(const ReusedBuffer&);
    ReusedBuffer& operator=(const ReusedBuffer&);

    std::string* m_text;
    unsigned long long* m_key;
    bool* m_taken;
    std::string m_own;
    unsigned long long m_ownKey;
};

// Bytes of a line that another object holds for the time of the write.
struct Piece
{
    const char* data;
    std::size_t size;
};

// The text up to its first NUL, as a NUL-terminated string would be written.
inline Piece terminated(const std::string& text)
{
    const void* nul = std::memchr(text.data(), '\0', text.size());
    return Piece{text.data(), nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text.data())
                                  : text.size()};
}

// The pieces joined into out, which keeps its capacity; the result is out.
std::string& join(std::string& out, const Piece* pieces, std::size_t count);

// The calling thread's number and " - ", formatted once per thread. The
// piece ends where the thread's cache of it ends, so that the column can be
// copied as a block of fixed size that ends at the same place.
Piece threadColumn();

// Decimal digits into digits, which holds 20; the result is their piece.
Piece decimal(char (&digits)[20], unsigned long long value);

// The front columns, the head and the text joined, and a line end behind
// them, on the stack for the usual record and in the heap for a long one.
class Line
{
public:
    Line(std::initializer_list<Piece> front, const Piece& head, const Piece& text);

    const char* data() const { return m_data; }
    std::size_t size() const { return m_size; }

private:
    Line(const Line&);
    Line& operator=(const Line&);

    char m_local[2048];
    std::unique_ptr<char[]> m_heap;
    char* m_data;
    std::size_t m_size;
};

// The calling thread's line as the Logger leaves it for the library's file
// policies: the head of the thread's last record kept in place, with room
// before it for a policy's front columns and after it for the text. Plain
// data, so it lives as long as the thread, with nothing to destroy.
struct KeptHead
{
    static const std::size_t frontRoom = 64;

    // What the head was built from, as the Logger sums it up; 0 while none is
    // kept.
    unsigned long long key;
    // The head's length.
    std::size_t size;
    char line[4096];

    char* head() { return line + frontRoom; }
};

KeptHead& keptHead();

// What a record's head is made of: the time (with the " [" behind it), the
// level and the tag, then "] ". The key sums up everything but the tag.
struct HeadPieces
{
    unsigned long long key;
    Piece time;
    Piece level;
    Piece tag;
};

// Whether the thread's kept head is this one, made so unless it would be
// too long to keep or the tag holds a NUL. A kept head of the same key is
// the same when its tag is, byte by byte.
bool keepHead(const HeadPieces& head);

// The front columns, the kept head and the text, and the line end, written
// to the file as writeToFile does. The head holds no NUL.
void writeWithKeptHead(std::ofstream& stream, std::initializer_list<Piece> front, const Piece& text);

// The file policy's line around the head, kept as keepHead keeps it: the
// thread column, the head, the text up to its first NUL and the line end,
// written as above; false, with nothing written, when the head can't be
// kept. It does in one call what keepHead and writeWithKeptHead do: a call
// costs more than its own instructions here, since the previous record's
// write has left little of the caller's code in the processor's branch
// tables.
bool writeKeptLine(std::ofstream& stream, const HeadPieces& head, const std::string& text);

// Called as a file policy's stream goes, which writeKeptLine may have seen:
// a stream built later at its address is then looked up anew.
void forgetStream();

// Writes the line to a stream and flushes it. A failed stream writes
// nothing; a failed write sets the stream's bad state.
void writeToStream(std::ostream& stream, const Line& line);

// Writes the line to the file's descriptor in one call, so that lines of
// several writers to one file never mix, with no buffer between. A stream
// that is failed or not open writes nothing; a failed write sets its bad
// state.
void writeToFile(std::ofstream& stream, const Line& line);

// Opens a log file for appending, shared with other writers, text mode.
void openForAppend(std::ofstream& stream, const std::string& path);

} // namespace LogLine
} // namespace Zim
} // namespace Vesk

#endif
