// WinSock 2 on POSIX: the start-up count and the Win32 calls, handed to the
// system side in SocketCalls.cpp.
#include "SocketCalls.h"
#include "Win32Socket.h"

#include <atomic>
#include <cstring>

using namespace Vesk::Corvo;

namespace {

std::atomic<long> startups(0);

bool started() { return startups.load() > 0; }

} // namespace

int WSAStartup(WORD versionRequested, LPWSADATA data)
{
    const int major = versionRequested & 0xFF;
    const int minor = versionRequested >> 8;
    if (data == nullptr)
        return WSAEFAULT;
    if (major < 1)
        return WSAVERNOTSUPPORTED;
    // The highest version asked for that is known: 2.2 at most.
    data->wVersion = (major > 2 || (major == 2 && minor > 2)) ? MAKEWORD(2, 2) : versionRequested;
    data->wHighVersion = MAKEWORD(2, 2);
    ++startups;
    return 0;
}

int WSACleanup()
{
    long count = startups.load();
    while (count > 0 && !startups.compare_exchange_weak(count, count - 1)) {
    }
    if (count <= 0) {
        WSASetLastError(WSANOTINITIALISED);
        return SOCKET_ERROR;
    }
    return 0;
}

int WSAGetLastError() { return static_cast<int>(GetLastError()); }

void WSASetLastError(int error) { SetLastError(static_cast<DWORD>(error)); }

SOCKET socket(int af, int type, int protocol)
{
    if (!started()) {
        WSASetLastError(WSANOTINITIALISED);
        return INVALID_SOCKET;
    }
    return Posix::openSocket(af, type, protocol);
}

int closesocket(SOCKET s) { return Posix::closeSocket(s); }

int shutdown(SOCKET s, int how) { return Posix::shutdownSocket(s, how); }

int connect(SOCKET s, const struct sockaddr* name, int nameLength)
{
    return Posix::connectSocket(s, name, nameLength);
}

int bind(SOCKET s, const struct sockaddr* name, int nameLength)
{
    return Posix::bindSocket(s, name, nameLength);
}

int listen(SOCKET s, int backlog) { return Posix::listenSocket(s, backlog); }

SOCKET accept(SOCKET s, struct sockaddr* address, int* addressLength)
{
    return Posix::acceptSocket(s, address, addressLength);
}

int send(SOCKET s, const char* buffer, int length, int flags)
{
    return Posix::sendSocket(s, buffer, length, flags, nullptr, 0);
}

int recv(SOCKET s, char* buffer, int length, int flags)
{
    return Posix::receiveSocket(s, buffer, length, flags, nullptr, nullptr);
}

int sendto(SOCKET s, const char* buffer, int length, int flags, const struct sockaddr* to,
           int toLength)
{
    return Posix::sendSocket(s, buffer, length, flags, to, toLength);
}

int recvfrom(SOCKET s, char* buffer, int length, int flags, struct sockaddr* from, int* fromLength)
{
    return Posix::receiveSocket(s, buffer, length, flags, from, fromLength);
}

u_short htons(u_short value)
{
    const unsigned char bytes[2] = {static_cast<unsigned char>(value >> 8),
                                    static_cast<unsigned char>(value & 0xFF)};
    u_short result;
    std::memcpy(&result, bytes, sizeof result);
    return result;
}

unsigned long inet_addr(const char* text) { return Posix::parseIPv4(text); }
