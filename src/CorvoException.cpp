// The platform layer's exception root and its ten descendants.
#include "CorvoException.h"
#include "CorvoNumberToString.h"

namespace Vesk {
namespace Corvo {

Exception::Exception(const std::string& reason, const std::string& file,
                     const std::string& function, const int& line)
    : m_description("Reason:\t  " + reason + "\nFile:\t  " + file + "\nFunction: " + function +
                    "\nLine:\t  " + numberToString(line))
{
}

Exception::Exception(const Exception& other) : m_description(other.m_description) {}

Exception& Exception::operator=(const Exception& other)
{
    if (this != &other)
        m_description = other.m_description;
    return *this;
}

Exception::~Exception() {}

std::string Exception::getDescription() const { return m_description; }

#define CORVO_DEFINE_EXCEPTION(Name, Base)                                                      \
    Name::Name(const std::string& reason, const std::string& file, const std::string& function, \
               const int& line)                                                                 \
        : Base(reason, file, function, line)                                                    \
    {                                                                                           \
    }                                                                                           \
    Name::Name(const Name& other) : Base(other) {}                                              \
    Name& Name::operator=(const Name& other)                                                    \
    {                                                                                           \
        Base::operator=(other);                                                                 \
        return *this;                                                                           \
    }                                                                                           \
    Name::~Name() {}

CORVO_DEFINE_EXCEPTION(StreamException, Exception)
CORVO_DEFINE_EXCEPTION(StreamNotReadyException, StreamException)
CORVO_DEFINE_EXCEPTION(StreamAlreadyOpenException, StreamException)
CORVO_DEFINE_EXCEPTION(UDPStreamException, StreamException)
CORVO_DEFINE_EXCEPTION(TCPStreamException, StreamException)
CORVO_DEFINE_EXCEPTION(SerialStreamException, StreamException)
CORVO_DEFINE_EXCEPTION(SocketException, Exception)
CORVO_DEFINE_EXCEPTION(FileSystemException, Exception)
CORVO_DEFINE_EXCEPTION(StringEncodingException, Exception)
CORVO_DEFINE_EXCEPTION(InvalidArgumentException, Exception)

} // namespace Corvo
} // namespace Vesk
