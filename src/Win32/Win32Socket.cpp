// One IPv4 socket over WinSock, with the process's shared start-up and
// error dictionary.
#include "CorvoSocket.h"

#include "CorvoException.h"
#include "CorvoNumberToString.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"
#include "CorvoReadBlock.h"
#include "CorvoSocketErrorDictionary.h"
#include "ZimLogger.h"

#include <cstring>
#include <type_traits>

namespace Vesk {
namespace Corvo {

static_assert(sizeof(std::uintptr_t) == sizeof(SOCKET) && std::is_unsigned<SOCKET>::value,
              "SOCKET is held as a pointer-sized unsigned integer");
static_assert(sizeof(sockaddr_in) == 16 && alignof(sockaddr_in) <= 4,
              "sockaddr_in is held in 16 bytes aligned to 4");

long Win32Socket::m_iRefCount = 0;
Win32SocketErrorDictionary* Win32Socket::m_errorDictionary = nullptr;
const long Win32Socket::MAX_BUFFER_SIZE = 65535;

namespace {

const int addressLength = 16;
const unsigned int readBufferSize = 256;
const WORD winsockVersion = 0x0202;

void logCall(const char* tag, const char* text)
{
    Zim::Logger::getSingleton().log(Zim::LogDebug, tag, text);
}

sockaddr_in addressOf(const SocketAddress& address)
{
    sockaddr_in result;
    std::memset(&result, 0, sizeof result);
    result.sin_family = AF_INET;
    result.sin_port = htons(address.port);
    // Text that is no address goes in as inet_addr's failure value.
    result.sin_addr.s_addr = inet_addr(address.host.c_str());
    return result;
}

sockaddr* asAddress(unsigned char* storage) { return reinterpret_cast<sockaddr*>(storage); }

bool wouldBlock() { return WSAGetLastError() == WSAEWOULDBLOCK; }

} // namespace

std::string Win32Socket::lastErrorText() const
{
    return m_errorDictionary->getErrorMessage(WSAGetLastError());
}

Win32Socket::Win32Socket()
    : m_socket(INVALID_SOCKET), m_protocol(Protocol(0)), m_buffer(nullptr),
      m_bufferSize(readBufferSize)
{
    std::memset(m_address, 0, sizeof m_address);
    if (m_iRefCount == 0) {
        // The dictionary first: the report of a failed start-up uses it.
        m_errorDictionary = new Win32SocketErrorDictionary();
        WSADATA data;
        const int result = WSAStartup(winsockVersion, &data);
        if (result != 0 || data.wVersion != winsockVersion) {
            if (result == 0)
                WSACleanup();
            const std::string text = "Cannot Initialize WinSock Library! " + lastErrorText();
            delete m_errorDictionary;
            m_errorDictionary = nullptr;
            CORVO_RAISE(Exception, text);
        }
    }
    // The block last: a failed start-up leaves nothing to release.
    m_buffer = new char[readBufferSize];
    ++m_iRefCount;
}

Win32Socket::~Win32Socket()
{
    if (--m_iRefCount == 0) {
        WSACleanup();
        delete m_errorDictionary;
        m_errorDictionary = nullptr;
    }
    delete[] m_buffer;
}

void Win32Socket::open(const SocketAddress& address, const Protocol& protocol)
{
    logCall("Vesk::Corvo::Win32Socket::open", "Win32TCPStream::open()");
    const sockaddr_in filled = addressOf(address);
    std::memcpy(m_address, &filled, sizeof filled);
    m_protocol = protocol;
    SOCKET made;
    if (protocol == UDP)
        made = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    else if (protocol == TCP)
        made = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    else
        CORVO_RAISE(SocketException, "Protocol Not supported " + lastErrorText());
    m_socket = made;
    if (made == INVALID_SOCKET)
        CORVO_RAISE(SocketException, "Cannot Create the Socket! " + lastErrorText());
}

void Win32Socket::close()
{
    logCall("Vesk::Corvo::Win32Socket::close", "Win32Socket::close()");
    // A socket that never connected is closed all the same.
    shutdown(m_socket, SD_BOTH);
    if (closesocket(m_socket) == SOCKET_ERROR)
        CORVO_RAISE(StreamException, "Cannot Close the Socket! " + lastErrorText());
    m_socket = INVALID_SOCKET;
}

Packet_T<char> Win32Socket::read(unsigned int size)
{
    logCall("Vesk::Corvo::Win32Socket::read", "Win32Socket::read()");
    char buffer[readBufferSize];
    std::memset(buffer, 0, sizeof buffer);
    // The block holds 256 bytes: a larger request gets at most that.
    const int wanted = static_cast<int>(size < readBufferSize ? size : readBufferSize);
    int count;
    if (m_protocol == UDP) {
        int length = addressLength;
        count = recvfrom(m_socket, buffer, wanted, 0, asAddress(m_address), &length);
        if (count == SOCKET_ERROR)
            CORVO_RAISE(UDPStreamException, "Error reading from Socket " + lastErrorText());
    } else if (m_protocol == TCP) {
        count = recv(m_socket, buffer, wanted, 0);
        if (count == SOCKET_ERROR)
            CORVO_RAISE(TCPStreamException, "Error reading from Socket " + lastErrorText());
    } else {
        CORVO_RAISE(Exception, "Protocol Not supported " + lastErrorText());
    }
    return Packet_T<char>(static_cast<unsigned int>(count), buffer);
}

bool Win32Socket::write(const Packet_T<char>& packet)
{
    logCall("Vesk::Corvo::Win32Socket::write", "Win32Socket::write()");
    const int size = static_cast<int>(packet.m_size);
    if (m_protocol == UDP) {
        if (sendto(m_socket, packet.m_buffer, size, 0, asAddress(m_address), addressLength) ==
            SOCKET_ERROR)
            CORVO_RAISE(UDPStreamException, "Error writing to Socket " + lastErrorText());
    } else if (m_protocol == TCP) {
        // A short count goes unnoticed: send moves every byte.
        if (::send(m_socket, packet.m_buffer, size, 0) == SOCKET_ERROR)
            CORVO_RAISE(TCPStreamException, "Error writing to socket " + lastErrorText());
    } else {
        CORVO_RAISE(Exception, "Protocol Not supported " + lastErrorText());
    }
    return true;
}

void Win32Socket::send(const Packet_T<char>& packet)
{
    unsigned int remainder = packet.m_size;
    unsigned int offset = 0;
    while (remainder != 0) {
        const int count = ::send(m_socket, packet.m_buffer + offset, static_cast<int>(remainder), 0);
        if (count == SOCKET_ERROR) {
            if (!wouldBlock())
                CORVO_RAISE(SocketException, "Error writing on Socket " + lastErrorText());
            Sleep(100);
            continue;
        }
        remainder -= static_cast<unsigned int>(count);
        offset += static_cast<unsigned int>(count);
    }
}

Packet_T<char> Win32Socket::receive(unsigned int size)
{
    // The block grows when a request exceeds the last one, and is kept for
    // the next call.
    if (size > m_bufferSize) {
        delete[] m_buffer;
        m_buffer = nullptr;
        m_buffer = new char[size];
    }
    m_bufferSize = size;
    unsigned int remainder = size;
    unsigned int offset = 0;
    while (remainder != 0) {
        const int count = recv(m_socket, m_buffer + offset, static_cast<int>(remainder), 0);
        if (count == 0)
            CORVO_RAISE(SocketException, "Connection closed by peer " + lastErrorText());
        if (count == SOCKET_ERROR) {
            if (!wouldBlock())
                CORVO_RAISE(SocketException, "Error reading from Socket " + lastErrorText());
            Sleep(100);
            continue;
        }
        remainder -= static_cast<unsigned int>(count);
        offset += static_cast<unsigned int>(count);
    }
    return Packet_T<char>(m_bufferSize, m_buffer);
}

void Win32Socket::sendTo(const IPPacket& packet)
{
    const sockaddr_in to = addressOf(packet.address);
    if (sendto(m_socket, packet.packet.m_buffer, static_cast<int>(packet.packet.m_size), 0,
               reinterpret_cast<const sockaddr*>(&to), addressLength) == SOCKET_ERROR)
        CORVO_RAISE(SocketException, "Can't send Datagram on Socket " + lastErrorText());
}

IPPacket Win32Socket::receiveFrom()
{
    const detail::ReadBlock block(MAX_BUFFER_SIZE);
    char* const buffer = block.data();
    sockaddr_in from;
    std::memset(&from, 0, sizeof from);
    int length = addressLength;
    const int count = recvfrom(m_socket, buffer, static_cast<int>(MAX_BUFFER_SIZE), 0,
                               reinterpret_cast<sockaddr*>(&from), &length);
    if (count == SOCKET_ERROR)
        CORVO_RAISE(SocketException, "Error receiving from");
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&from.sin_addr);
    const std::string host = numberToString(bytes[0]) + "." + numberToString(bytes[1]) + "." +
                             numberToString(bytes[2]) + "." + numberToString(bytes[3]);
    return IPPacket(buffer, static_cast<unsigned int>(count), SocketAddress(host, 0));
}

void Win32Socket::connect()
{
    logCall("Vesk::Corvo::Win32Socket::connect", "Win32Socket::connect()");
    if (::connect(m_socket, asAddress(m_address), addressLength) == SOCKET_ERROR)
        CORVO_RAISE(TCPStreamException, "Can't connect " + lastErrorText());
}

void Win32Socket::bind()
{
    logCall("Vesk::Corvo::Win32Socket::bind", "Win32Socket::bind()");
    if (::bind(m_socket, asAddress(m_address), addressLength) == SOCKET_ERROR)
        CORVO_RAISE(TCPStreamException, "Can't bind to socket " + lastErrorText());
}

void Win32Socket::listen()
{
    logCall("Vesk::Corvo::Win32Socket::listen", "Win32Socket::listen()");
    if (::listen(m_socket, 5) == SOCKET_ERROR)
        CORVO_RAISE(TCPStreamException, "Can't listen to socket " + lastErrorText());
}

void Win32Socket::accept(Win32Socket& connection)
{
    logCall("Vesk::Corvo::Win32Socket::accept", "Win32Socket::accept()");
    const SOCKET accepted = ::accept(m_socket, nullptr, nullptr);
    if (accepted == INVALID_SOCKET)
        CORVO_RAISE(TCPStreamException, "Can't Accept " + lastErrorText());
    connection.m_socket = accepted;
    connection.m_protocol = m_protocol;
}

void Win32Socket::setProperty(const std::string&, const std::string&) {}

} // namespace Corvo
} // namespace Vesk
