/// \file
/// The exception tree of the platform layer. Every failure of a Corvo class
/// travels as one of these, carrying one finished report: reason, source
/// file, function and line.
#ifndef CORVO_EXCEPTION_H
#define CORVO_EXCEPTION_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// The root of the platform layer's exceptions.
///
/// It does not derive from std::exception: `catch (const std::exception&)`
/// lets it through, and one that nobody catches ends the program with only
/// its type name. Catch `Vesk::Corvo::Exception` and `Vesk::Zim::Exception`
/// (the toolkit's root, a separate tree) where a program wants the report.
/// The reason texts are fixed; each class's reference lists the ones it
/// throws.
class CORVO_API Exception
{
public:
    /// Builds the report. The library passes the source file relative to the
    /// repository ("src/Win32/Win32Mutex.cpp") and the qualified function name
    /// without parameters ("Vesk::Corvo::Win32Mutex::acquire").
    Exception(const std::string& reason, const std::string& file,
              const std::string& function, const int& line);
    /// Copies the report.
    Exception(const Exception& other);
    /// Copies the report.
    Exception& operator=(const Exception& other);
    /// Descendants are caught by this root.
    virtual ~Exception();

    /// The report, four lines that start "Reason:", "File:", "Function:"
    /// and "Line:", their values aligned by a tab and blanks.
    std::string getDescription() const;

private:
    std::string m_description;
};

/// Declares a descendant of Base; it adds nothing but its type, with the
/// constructor, copy and assignment of Exception.
#define CORVO_DECLARE_EXCEPTION(Name, Base)                                         \
    class CORVO_API Name : public Base                                              \
    {                                                                               \
    public:                                                                         \
        Name(const std::string& reason, const std::string& file,                    \
             const std::string& function, const int& line);                         \
        Name(const Name& other);                                                    \
        Name& operator=(const Name& other);                                         \
        virtual ~Name();                                                            \
    };

/// \class StreamException
/// Failures of the streams: Win32FileStream64 (open, close, write, offset),
/// and Win32Socket::close.
CORVO_DECLARE_EXCEPTION(StreamException, Exception)
/// \class StreamNotReadyException
/// Reserved for a stream used before it is ready; the library throws none.
CORVO_DECLARE_EXCEPTION(StreamNotReadyException, StreamException)
/// \class StreamAlreadyOpenException
/// Reserved for a stream opened twice; the library throws none.
CORVO_DECLARE_EXCEPTION(StreamAlreadyOpenException, StreamException)
/// \class UDPStreamException
/// Win32Socket::read and Win32Socket::write on a UDP socket.
CORVO_DECLARE_EXCEPTION(UDPStreamException, StreamException)
/// \class TCPStreamException
/// Win32Socket::read and Win32Socket::write on a TCP socket, and connect,
/// bind, listen and accept.
CORVO_DECLARE_EXCEPTION(TCPStreamException, StreamException)
/// \class SerialStreamException
/// Every failure of Win32SerialStream.
CORVO_DECLARE_EXCEPTION(SerialStreamException, StreamException)
/// \class SocketException
/// Win32Socket's open, send, receive, sendTo and receiveFrom.
CORVO_DECLARE_EXCEPTION(SocketException, Exception)
/// \class FileSystemException
/// Reserved for file-system failures; the library throws none.
CORVO_DECLARE_EXCEPTION(FileSystemException, Exception)
/// \class StringEncodingException
/// Invalid UTF-8, and positions outside a Utf8String.
CORVO_DECLARE_EXCEPTION(StringEncodingException, Exception)
/// \class InvalidArgumentException
/// A value that has no text, from DeveloperConfig.
CORVO_DECLARE_EXCEPTION(InvalidArgumentException, Exception)

#undef CORVO_DECLARE_EXCEPTION

} // namespace Corvo
} // namespace Vesk

#endif
