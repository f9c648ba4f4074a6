// Stream: an abstract byte stream for applications to derive from, with
// default insertion and extraction operators built on its virtual read and
// write. The streams of the library share its shape without deriving from
// it.
#ifndef CORVO_STREAM_H
#define CORVO_STREAM_H

#include "CorvoExport.h"
#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

class CORVO_API Stream
{
public:
    enum StreamStatus
    {
        StreamReady,
        StreamClosed,
        StreamEnd,
        StreamFailed
    };

    Stream();
    Stream(const Stream& other);
    Stream& operator=(const Stream& other);
    virtual ~Stream();

    // What a derived stream must provide.
    virtual void open(const std::string& name) = 0;
    virtual void close() = 0;
    virtual void flush() = 0;
    virtual bool isOpen() const = 0;

    // false for every status unless a derived stream says otherwise.
    virtual bool operator==(StreamStatus status);
    // Both do nothing and return *this unless overridden.
    virtual Stream& read(unsigned int size, char* buffer);
    virtual Stream& write(unsigned int size, char* const buffer);
    // The text's characters, then one NUL byte.
    virtual Stream& operator<<(const std::string& text);
    // The packet's bytes in one write.
    virtual Stream& operator<<(const Packet_T<char>& packet);
    // Appends the bytes up to a NUL, which is read and not stored.
    virtual Stream& operator>>(std::string& text);
};

} // namespace Corvo
} // namespace Vesk

#endif
