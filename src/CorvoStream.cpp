// The defaults of the abstract byte stream.
#include "CorvoStream.h"

namespace Vesk {
namespace Corvo {

Stream::Stream() {}

Stream::Stream(const Stream&) {}

Stream& Stream::operator=(const Stream&) { return *this; }

Stream::~Stream() {}

bool Stream::operator==(StreamStatus) { return false; }

Stream& Stream::read(unsigned int, char*) { return *this; }

Stream& Stream::write(unsigned int, char* const) { return *this; }

Stream& Stream::operator<<(const std::string& text)
{
    // write takes a mutable buffer; the characters are only read.
    write(static_cast<unsigned int>(text.size()), const_cast<char*>(text.data()));
    char terminator = '\0';
    write(1, &terminator);
    return *this;
}

Stream& Stream::operator<<(const Packet_T<char>& packet)
{
    write(packet.m_size, packet.m_buffer);
    return *this;
}

Stream& Stream::operator>>(std::string& text)
{
    // A read that delivers nothing leaves the byte at NUL, which ends the
    // text instead of looping for ever.
    for (;;) {
        char byte = '\0';
        read(1, &byte);
        if (byte == '\0')
            return *this;
        text.push_back(byte);
    }
}

} // namespace Corvo
} // namespace Vesk
