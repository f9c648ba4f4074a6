/// \file
/// Win32FileStream64: a file through a platform file handle, with 64-bit
/// sizes and offsets. No buffer of its own and no open or closed state:
/// each operation is one platform call on the handle that the object holds.
#ifndef CORVO_FILE_STREAM_64_H
#define CORVO_FILE_STREAM_64_H

#include "CorvoExport.h"
#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// A file, opened by the platform's CreateFileW and shared for reading and
/// writing with other handles.
///
/// File names are narrow text widened byte by byte; on Linux the layer turns
/// them back into the same bytes, so UTF-8 names work there. A write that
/// fills the disk, or passes the process's file size limit on Linux, fails
/// with the bytes that fitted left in the file.
class CORVO_API Win32FileStream64
{
public:
    /// No file.
    Win32FileStream64();
    /// Does not close the file: close does.
    virtual ~Win32FileStream64();

    // A copy works on the same open file and the same position.

    /// Modes: "r" reads an existing file, "r+" also writes it; "w" and "w+"
    /// create or empty the file, for writing or for both; "a" reads and
    /// writes, creates the file if it is missing and starts at its end
    /// once. Nothing else is a mode. A read-only file opens only with "r",
    /// whoever the user (root too, on Linux), and is never emptied. A handle
    /// held before is not closed.
    /// Logs " start at end" or " start at beginning" at LogInfo once the
    /// file is open. Throws StreamException "FileStream64 open file failure,
    /// unsupported mode", "FileStream64 open file failure" (the platform
    /// refused the file), or "Unable to set file pointer".
    void open(const std::string& fileName, const std::string& mode);
    /// Closes the handle. Throws StreamException "Unable to close file" when
    /// the platform refuses, such as for a stream never opened; after a
    /// failed open it succeeds, as the platform closes INVALID_HANDLE_VALUE.
    void close();

    /// Up to iSize bytes (0x40000000 at most) from the current position; an
    /// empty packet at the end of the file. Throws Exception "FileStream64
    /// read failure iSize exceeds SSIZE_MAX" above the limit, and
    /// "FileStream64 data read failure" when the platform fails. The bytes
    /// arrive in a temporary block, the calling thread's own (kept between
    /// reads, up to 4 MiB); when they fill more than half of it, the packet
    /// takes the block over, so a large read costs no copy.
    Packet_T<char> read(unsigned int iSize);
    /// The same into the caller's buffer, without saying how many came; also
    /// throws Exception "Output buffer is null".
    void read(char* buffer, unsigned int iSize);
    /// Every byte at the current position; true or a throw: StreamException
    /// "FileStream64 write failure" when fewer bytes went out, "FileStream
    /// failure" when the platform reported an error.
    bool write(const Packet_T<char>& packet);
    /// As the packet write, with "FileStream64 failure" for the
    /// platform's error; throws Exception "Input buffer is null" for a null
    /// buffer.
    bool write(const char* buffer, unsigned int size);

    /// The file's size; 0xFFFFFFFF for a handle that the platform refuses.
    unsigned long long getSize();
    /// The current position. Throws StreamException "FileStream64 getOffset
    /// failure" at a position whose low 32 bits are all ones, or for a handle
    /// that the platform refuses, and "Unable to get Offset" when the
    /// platform reports an error.
    unsigned long long getOffset();
    /// Moves to offset from the beginning; false when the platform refuses.
    bool setOffset(unsigned long long offset);
    /// Does nothing.
    void setProperty();

private:
    void* m_handle; // the platform's file handle
};

} // namespace Corvo
} // namespace Vesk

#endif
