// The exception tree of the platform layer. Every failure of a Corvo class
// travels as one of these, carrying one finished report: reason, source
// file, function and line.
#ifndef CORVO_EXCEPTION_H
#define CORVO_EXCEPTION_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

class CORVO_API Exception
{
public:
    Exception(const std::string& reason, const std::string& file,
              const std::string& function, const int& line);
    Exception(const Exception& other);
    Exception& operator=(const Exception& other);
    virtual ~Exception();

    std::string getDescription() const;

private:
    std::string m_description;
};

// A descendant adds nothing but its type.
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

CORVO_DECLARE_EXCEPTION(StreamException, Exception)
CORVO_DECLARE_EXCEPTION(StreamNotReadyException, StreamException)
CORVO_DECLARE_EXCEPTION(StreamAlreadyOpenException, StreamException)
CORVO_DECLARE_EXCEPTION(UDPStreamException, StreamException)
CORVO_DECLARE_EXCEPTION(TCPStreamException, StreamException)
CORVO_DECLARE_EXCEPTION(SerialStreamException, StreamException)
CORVO_DECLARE_EXCEPTION(SocketException, Exception)
CORVO_DECLARE_EXCEPTION(FileSystemException, Exception)
CORVO_DECLARE_EXCEPTION(StringEncodingException, Exception)
CORVO_DECLARE_EXCEPTION(InvalidArgumentException, Exception)

#undef CORVO_DECLARE_EXCEPTION

} // namespace Corvo
} // namespace Vesk

#endif
