/// \file
/// Win32Socket: one IPv4 socket, UDP or TCP, in the platform's blocking mode.
/// read and write make one platform call each and look at the protocol;
/// send and receive move every byte, sendTo and receiveFrom one datagram.
/// All sockets of a process share one WinSock start-up and one error
/// dictionary, counted by the number of living sockets.
#ifndef CORVO_SOCKET_H
#define CORVO_SOCKET_H

#include "CorvoExport.h"
#include "CorvoPacket.h"
#include "CorvoSocketAddress.h"

#include <cstdint>
#include <string>

namespace Vesk {
namespace Corvo {

class Win32SocketErrorDictionary;

/// One blocking IPv4 socket.
///
/// Failures throw with a fixed text followed by the WinSock code's name and
/// number, such as "Can't connect WSAECONNREFUSED [10061]" (written
/// as NAME [N] below). open, close, read, write, connect, bind, listen
/// and accept each log one record at LogDebug, the Logger's default filter
/// level: a busy program writes one per read and write unless it raises the
/// filter level (Logger::setLogFilterLevel).
///
/// The destructor does not close the descriptor: call close. On Linux the
/// library's own WinSock stands on the POSIX calls: errno becomes the
/// WinSock code (ECONNREFUSED 10061, ECONNRESET and EPIPE 10054), writing to
/// a peer that has gone is an error and never SIGPIPE, and descriptors are
/// close-on-exec. As on Windows, a send on a TCP socket that never connected
/// fails with WSAENOTCONN, one after a local shutdown with WSAESHUTDOWN, a UDP
/// receive after the peer's port was found closed with WSAECONNRESET, and a
/// server restarted at once binds its port even while the old connections
/// are in TIME_WAIT. On Windows the library links ws2_32.
class CORVO_API Win32Socket
{
public:
    /// The first socket of the process starts WinSock; throws Exception
    /// "Cannot Initialize WinSock Library! NAME [N]" when that fails.
    Win32Socket();
    /// Does not close the descriptor: close does. The last socket of the
    /// process stops WinSock.
    virtual ~Win32Socket();

    /// Each socket holds one count of the shared start-up and its own receive
    /// block, so it is not copied.
    ///@{
    Win32Socket(const Win32Socket&) = delete;
    Win32Socket& operator=(const Win32Socket&) = delete;
    ///@}

    /// Stores the address and makes the descriptor; connects to nothing.
    /// Throws SocketException "Protocol Not supported NAME [N]" for a protocol
    /// other than UDP and TCP, "Cannot Create the Socket! NAME [N]" when the
    /// platform refuses.
    void open(const SocketAddress& address, const Protocol& protocol);
    /// Shuts the socket down both ways and closes the descriptor. Throws
    /// StreamException "Cannot Close the Socket! NAME [N]", as for a socket
    /// that is not open.
    void close();

    /// One platform call: up to size bytes (256 at most); an empty packet when
    /// a TCP peer has closed. On UDP the sender becomes the address that the
    /// next write goes to. Throws UDPStreamException or TCPStreamException
    /// "Error reading from Socket NAME [N]", and Exception "Protocol Not
    /// supported NAME [N]" before open.
    Packet_T<char> read(unsigned int size);
    /// One platform call with the whole packet (to the stored address on
    /// UDP); a short count on TCP goes unnoticed. Throws UDPStreamException
    /// "Error writing to Socket NAME [N]", TCPStreamException "Error writing to
    /// socket NAME [N]", and Exception "Protocol Not supported NAME [N]" before
    /// open.
    bool write(const Packet_T<char>& packet);

    /// Every byte, in as many calls as it takes. Throws SocketException
    /// "Error writing on Socket NAME [N]".
    void send(const Packet_T<char>& packet);
    /// Exactly size bytes, in as many calls as it takes. Throws
    /// SocketException "Connection closed by peer NAME [N]" when the peer
    /// closes first, "Error reading from Socket NAME [N]" on failure.
    Packet_T<char> receive(unsigned int size);
    /// One datagram to its address. Throws SocketException "Can't send
    /// Datagram on Socket NAME [N]".
    void sendTo(const IPPacket& packet);
    /// One datagram of up to 65535 bytes; it carries its sender's host and
    /// port 0. Throws SocketException "Error receiving from".
    IPPacket receiveFrom();

    /// Connects to the stored address. Throws TCPStreamException "Can't
    /// connect NAME [N]".
    void connect();
    /// Binds to the stored address. Throws TCPStreamException "Can't bind to
    /// socket NAME [N]".
    void bind();
    /// Listens with a backlog of 5. Throws TCPStreamException "Can't listen
    /// to socket NAME [N]".
    void listen();
    /// Waits for a connection and hands its descriptor to connection, which
    /// need not be open (and is not closed first). Throws TCPStreamException
    /// "Can't Accept NAME [N]".
    void accept(Win32Socket& connection);

    /// Does nothing.
    void setProperty(const std::string& name, const std::string& value);

private:
    static long m_iRefCount;
    static Win32SocketErrorDictionary* m_errorDictionary;
    static const long MAX_BUFFER_SIZE;

    std::string lastErrorText() const;

    // The platform's SOCKET and sockaddr_in, held without platform headers.
    std::uintptr_t m_socket;
    alignas(4) unsigned char m_address[16];
    Protocol m_protocol;
    char* m_buffer;
    unsigned int m_bufferSize;
};

} // namespace Corvo
} // namespace Vesk

#endif
