// WinSock 2, for the POSIX layer: the calls of the sockets with their
// Windows types and codes. The structures have the Windows layout, which
// is also the layout of the system's IPv4 structures. The POSIX socket
// headers stay out of this file: several of its calls share their names
// and arguments with those of the system and differ only in the result.
#ifndef CORVO_POSIX_WIN32_SOCKET_H
#define CORVO_POSIX_WIN32_SOCKET_H

#include "Win32Base.h"

#include <sys/types.h> // u_short, as on Windows

#include <cstdint>

typedef std::uintptr_t SOCKET;

#define INVALID_SOCKET (~static_cast<SOCKET>(0))
#define SOCKET_ERROR (-1)

#define AF_INET 2
#define SOCK_STREAM 1
#define SOCK_DGRAM 2
#define IPPROTO_TCP 6
#define IPPROTO_UDP 17
#define INADDR_NONE 0xFFFFFFFFu
#define SD_RECEIVE 0
#define SD_SEND 1
#define SD_BOTH 2

#define WSAEINTR 10004
#define WSAEBADF 10009
#define WSAEACCES 10013
#define WSAEFAULT 10014
#define WSAEINVAL 10022
#define WSAEMFILE 10024
#define WSAEWOULDBLOCK 10035
#define WSAENOTSOCK 10038
#define WSAEADDRINUSE 10048
#define WSAECONNRESET 10054
#define WSAENOTCONN 10057
#define WSAESHUTDOWN 10058
#define WSAECONNREFUSED 10061
#define WSAVERNOTSUPPORTED 10092
#define WSANOTINITIALISED 10093
#define WSASYSCALLFAILURE 10107

struct in_addr
{
    std::uint32_t s_addr; // network byte order
};

struct sockaddr
{
    u_short sa_family;
    char sa_data[14];
};

struct sockaddr_in
{
    u_short sin_family;
    u_short sin_port; // network byte order
    struct in_addr sin_addr;
    char sin_zero[8];
};

// Only the versions of the record are filled in.
struct WSADATA
{
    WORD wVersion;
    WORD wHighVersion;
};
typedef WSADATA* LPWSADATA;

#define MAKEWORD(low, high) static_cast<WORD>(((low) & 0xFF) | (((high) & 0xFF) << 8))

// Counted: each successful WSAStartup needs one WSACleanup, and sockets can
// be made only while the count is above 0. Version 1.0 and above is granted,
// up to 2.2.
int WSAStartup(WORD versionRequested, LPWSADATA data);
// SOCKET_ERROR with WSANOTINITIALISED when there was no start-up.
int WSACleanup();
// The calling thread's last error, shared with GetLastError as on Windows.
int WSAGetLastError();
void WSASetLastError(int error);

// Descriptors are not inherited by programs that the process starts.
SOCKET socket(int af, int type, int protocol);
// Fails with WSAENOTSOCK for anything but an open socket.
int closesocket(SOCKET s);
// A direction shut down here fails its later transfers with WSAESHUTDOWN.
int shutdown(SOCKET s, int how);
int connect(SOCKET s, const struct sockaddr* name, int nameLength);
// A stream socket may take a port whose old connections wait in TIME_WAIT,
// not one that a live socket holds (WSAEADDRINUSE).
int bind(SOCKET s, const struct sockaddr* name, int nameLength);
int listen(SOCKET s, int backlog);
SOCKET accept(SOCKET s, struct sockaddr* address, int* addressLength);
// Writing to a peer that has gone is an error code, never a signal. A
// stream socket that never connected fails with WSAENOTCONN. A datagram
// socket's receive fails with WSAECONNRESET once for the port unreachables
// that came back since the last one; sends and other ICMP errors are not
// failed by them.
int send(SOCKET s, const char* buffer, int length, int flags);
int recv(SOCKET s, char* buffer, int length, int flags);
int sendto(SOCKET s, const char* buffer, int length, int flags, const struct sockaddr* to,
           int toLength);
int recvfrom(SOCKET s, char* buffer, int length, int flags, struct sockaddr* from,
             int* fromLength);
u_short htons(u_short value);
// Dotted text in any of the forms Windows reads; INADDR_NONE for bad text.
unsigned long inet_addr(const char* text);

#endif
