/// \file
/// Stream: an abstract byte stream for applications to derive from, with
/// default insertion and extraction operators built on its virtual read and
/// write. The streams of the library share its shape without deriving from
/// it.
#ifndef CORVO_STREAM_H
#define CORVO_STREAM_H

#include "CorvoExport.h"
#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// The base of an application's byte streams. It holds nothing, throws
/// nothing and logs nothing; what a derived stream throws is its own.
class CORVO_API Stream
{
public:
    /// The states a derived stream may answer to with operator==.
    enum StreamStatus
    {
        StreamReady,
        StreamClosed,
        StreamEnd,
        StreamFailed
    };

    /// Holds nothing.
    Stream();
    /// Copies nothing.
    Stream(const Stream& other);
    /// Copies nothing.
    Stream& operator=(const Stream& other);
    /// A derived stream may be deleted through this base.
    virtual ~Stream();

    /// \name What a derived stream must provide
    ///@{
    /// Opens the stream of that name.
    virtual void open(const std::string& name) = 0;
    /// Closes the stream.
    virtual void close() = 0;
    /// Hands buffered bytes on.
    virtual void flush() = 0;
    /// Whether the stream is open.
    virtual bool isOpen() const = 0;
    ///@}

    /// false for every status unless a derived stream says otherwise.
    virtual bool operator==(StreamStatus status);
    /// Reads size bytes into buffer; does nothing and returns *this unless
    /// overridden.
    virtual Stream& read(unsigned int size, char* buffer);
    /// Writes size bytes from buffer; does nothing and returns *this unless
    /// overridden.
    virtual Stream& write(unsigned int size, char* const buffer);
    /// The text's characters, then one NUL byte.
    virtual Stream& operator<<(const std::string& text);
    /// The packet's bytes in one write.
    virtual Stream& operator<<(const Packet_T<char>& packet);
    /// Appends the bytes up to a NUL, which is read and not stored, one read
    /// of one byte at a time. A read that delivers nothing ends the text.
    virtual Stream& operator>>(std::string& text);
};

} // namespace Corvo
} // namespace Vesk

#endif
