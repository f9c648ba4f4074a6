// Win32FileStream64: a file through a platform file handle, with 64-bit
// sizes and offsets. No buffer of its own and no open or closed state:
// each operation is one platform call on the handle that the object holds.
#ifndef CORVO_FILE_STREAM_64_H
#define CORVO_FILE_STREAM_64_H

#include "CorvoExport.h"
#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

class CORVO_API Win32FileStream64
{
public:
    Win32FileStream64();
    // Does not close the file: close does.
    virtual ~Win32FileStream64();

    // A copy works on the same open file and the same position.

    // Modes: "r" reads an existing file, "r+" also writes it; "w" and "w+"
    // create or empty the file, for writing or for both; "a" reads and
    // writes, creates the file if it is missing and starts at its end
    // once. Nothing else is a mode. A handle held before is not closed.
    void open(const std::string& fileName, const std::string& mode);
    void close();

    // Up to iSize bytes (0x40000000 at most) from the current position; an
    // empty packet at the end of the file.
    Packet_T<char> read(unsigned int iSize);
    // The same into the caller's buffer, without saying how many came.
    void read(char* buffer, unsigned int iSize);
    // Every byte at the current position; true or a throw.
    bool write(const Packet_T<char>& packet);
    bool write(const char* buffer, unsigned int size);

    // 0xFFFFFFFF for a handle that the platform refuses.
    unsigned long long getSize();
    // Throws at a position whose low 32 bits are all ones.
    unsigned long long getOffset();
    // Moves to offset from the beginning; false when the platform refuses.
    bool setOffset(unsigned long long offset);
    void setProperty();

private:
    void* m_handle; // the platform's file handle
};

} // namespace Corvo
} // namespace Vesk

#endif
