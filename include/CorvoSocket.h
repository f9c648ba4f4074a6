// Win32Socket: one IPv4 socket, UDP or TCP, in the platform's blocking mode.
// read and write make one platform call each and look at the protocol;
// send and receive move every byte, sendTo and receiveFrom one datagram.
// All sockets of a process share one WinSock start-up and one error
// dictionary, counted by the number of living sockets.
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

class CORVO_API Win32Socket
{
public:
    Win32Socket();
    // Does not close the descriptor: close does.
    virtual ~Win32Socket();

    // Each socket holds one count of the shared start-up and its own receive
    // block, so it is not copied.
    Win32Socket(const Win32Socket&) = delete;
    Win32Socket& operator=(const Win32Socket&) = delete;

    // Stores the address and makes the descriptor; connects to nothing.
    void open(const SocketAddress& address, const Protocol& protocol);
    void close();

    // One platform call: up to size bytes (256 at most); an empty packet when
    // a TCP peer has closed. On UDP the sender becomes the address that the
    // next write goes to.
    Packet_T<char> read(unsigned int size);
    bool write(const Packet_T<char>& packet);

    // Every byte, in as many calls as it takes.
    void send(const Packet_T<char>& packet);
    Packet_T<char> receive(unsigned int size);
    // One datagram; a received one carries its sender's host and port 0.
    void sendTo(const IPPacket& packet);
    IPPacket receiveFrom();

    void connect();
    void bind();
    void listen();
    // Waits for a connection and hands its descriptor to connection.
    void accept(Win32Socket& connection);

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
