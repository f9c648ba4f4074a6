// The system side of the layer's WinSock: the POSIX socket calls, kept
// apart from Win32Socket.h because both sets share names. Descriptors travel
// as SOCKET values, addresses as the IPv4 structure both sides lay out
// alike. A failure sets the thread's last error to the WinSock code of errno.
#ifndef CORVO_POSIX_SOCKET_CALLS_H
#define CORVO_POSIX_SOCKET_CALLS_H

#include <cstdint>

namespace Vesk {
namespace Corvo {
namespace Posix {

typedef std::uintptr_t SocketValue;

// The WinSock code for an errno value, through the layer's one table.
int winsockErrorFor(int error);

SocketValue openSocket(int family, int type, int protocol);
int closeSocket(SocketValue s);
int shutdownSocket(SocketValue s, int how);
int connectSocket(SocketValue s, const void* address, int length);
int bindSocket(SocketValue s, const void* address, int length);
int listenSocket(SocketValue s, int backlog);
SocketValue acceptSocket(SocketValue s, void* address, int* length);
int sendSocket(SocketValue s, const char* buffer, int length, int flags, const void* to,
               int toLength);
int receiveSocket(SocketValue s, char* buffer, int length, int flags, void* from, int* fromLength);
// INADDR_NONE for text that is no address.
std::uint32_t parseIPv4(const char* text);
void sleepMilliseconds(std::uint32_t milliseconds);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
