/// \file
/// The value types of the sockets: an IPv4 address as text with a port, the
/// transport, and a datagram with the address it goes to or came from.
#ifndef CORVO_SOCKET_ADDRESS_H
#define CORVO_SOCKET_ADDRESS_H

#include "CorvoPacket.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// host is dotted decimal ("127.0.0.1"), not a name to look up; port is in
/// host byte order. Text that is no address is not refused here: the socket
/// call that uses it fails.
struct SocketAddress
{
    /// Empty host, port 0.
    SocketAddress() : host(), port(0) {}
    /// The host text and the port.
    SocketAddress(const std::string& host, const unsigned short& port) : host(host), port(port) {}

    /// Dotted decimal.
    std::string host;
    /// In host byte order.
    unsigned short port;
};

/// The transport: UDP for datagrams, TCP for a stream connection. Every int
/// is a value of the type, so that any other value reaches the socket and is
/// refused there.
enum Protocol : int
{
    UDP = 1,
    TCP = 2
};

/// A datagram with its address. Copies are deep: packet first, then address.
struct IPPacket
{
    /// Buffer first, unlike Packet_T. A null buffer with a size throws
    /// Exception "Input buffer pointing to nullptr".
    IPPacket(const char* buffer, unsigned int size, const SocketAddress& address)
        : packet(size, buffer), address(address)
    {
    }

    /// The bytes.
    Packet_T<char> packet;
    /// Where it goes, or where it came from.
    SocketAddress address;
};

} // namespace Corvo
} // namespace Vesk

#endif
