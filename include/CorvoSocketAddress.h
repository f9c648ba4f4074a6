// The value types of the sockets: an IPv4 address as text with a port, the
// transport, and a datagram with the address it goes to or came from.
#ifndef CORVO_SOCKET_ADDRESS_H
#define CORVO_SOCKET_ADDRESS_H

#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

// host is dotted decimal ("127.0.0.1"), not a name to look up; port is in
// host byte order.
struct SocketAddress
{
    SocketAddress() : host(), port(0) {}
    SocketAddress(const std::string& host, const unsigned short& port) : host(host), port(port) {}

    std::string host;
    unsigned short port;
};

enum Protocol
{
    UDP = 1,
    TCP = 2
};

// Copies are deep: packet first, then address.
struct IPPacket
{
    // Buffer first, unlike Packet_T. A null buffer with a size throws.
    IPPacket(const char* buffer, unsigned int size, const SocketAddress& address)
        : packet(size, buffer), address(address)
    {
    }

    Packet_T<char> packet;
    SocketAddress address;
};

} // namespace Corvo
} // namespace Vesk

#endif
