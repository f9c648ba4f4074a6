// The POSIX socket calls behind the layer's WinSock, and the one mapping
// from errno to WinSock codes. Only generic POSIX code here, apart from the
// Linux flags for close-on-exec descriptors, for sends without SIGPIPE and
// for the ICMP errors of datagram sockets (IP_RECVERR).
#include "SocketCalls.h"

#include "PosixSupport.h"

#include <arpa/inet.h>
#include <linux/errqueue.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <mutex>
#include <unordered_map>

namespace Vesk {
namespace Corvo {
namespace Posix {

namespace {

const int notSocket = 10038; // WSAENOTSOCK
const int badAddress = 10014; // WSAEFAULT
const int messageTooLong = 10040; // WSAEMSGSIZE
const int connectionReset = 10054; // WSAECONNRESET
const int notConnected = 10057; // WSAENOTCONN
const int shutDown = 10058; // WSAESHUTDOWN
const SocketValue invalidSocket = ~static_cast<SocketValue>(0);

template <typename Result>
Result failFromSocketErrno(Result failure)
{
    SetLastError(static_cast<DWORD>(winsockErrorFor(errno)));
    return failure;
}

template <typename Result>
Result failWith(int code, Result failure)
{
    SetLastError(static_cast<DWORD>(code));
    return failure;
}

// The descriptor of a SOCKET value, or -1 for a value no descriptor has.
int descriptorOf(SocketValue s) { return s > static_cast<SocketValue>(INT_MAX) ? -1 : static_cast<int>(s); }

bool isSocket(int fd)
{
    struct stat status;
    return fd >= 0 && fstat(fd, &status) == 0 && S_ISSOCK(status.st_mode);
}

// What WinSock remembers of a socket and Linux does not tell apart: whether
// it was ever connected and which directions this side shut down (Linux
// fails a send with EPIPE in all three cases), and for a datagram socket
// whether a send took the port unreachable that the next receive reports.
const unsigned connected = 1;
const unsigned sendShutDown = 2;
const unsigned receiveShutDown = 4;
const unsigned datagram = 8;
const unsigned resetPending = 16;

std::mutex statesLock;
std::unordered_map<int, unsigned> states;

void setState(int fd, unsigned state, bool replace)
{
    std::lock_guard<std::mutex> hold(statesLock);
    if (replace)
        states[fd] = state;
    else
        states[fd] |= state;
}

// The state; a receive takes the pending reset, if there is one.
unsigned stateOf(int fd, bool receiving)
{
    std::lock_guard<std::mutex> hold(statesLock);
    const auto found = states.find(fd);
    if (found == states.end())
        return 0;
    const unsigned state = found->second;
    if (receiving)
        found->second &= ~resetPending;
    return state;
}

void forgetState(int fd)
{
    std::lock_guard<std::mutex> hold(statesLock);
    states.erase(fd);
}

// What IP_RECVERR queued on a datagram socket for the ICMP errors that came
// back. Linux hands the newest one to whichever call comes next and fails
// it; WinSock reports a port unreachable to the next receive only, and
// other ICMP errors nowhere.
enum class Queued
{
    nothing,
    otherErrors,
    portUnreachable
};

// Takes every queued error, so that they cannot fill the receive buffer;
// errno is left as it was.
Queued takeQueuedErrors(int fd)
{
    const int error = errno;
    Queued found = Queued::nothing;
    for (;;) {
        char data;
        iovec part{&data, 1};
        alignas(cmsghdr) char control[256];
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        if (::recvmsg(fd, &message, MSG_ERRQUEUE | MSG_DONTWAIT) < 0) {
            errno = error;
            return found;
        }
        if (found == Queued::nothing)
            found = Queued::otherErrors;
        for (cmsghdr* header = CMSG_FIRSTHDR(&message); header; header = CMSG_NXTHDR(&message, header)) {
            sock_extended_err queued;
            if (header->cmsg_level != IPPROTO_IP || header->cmsg_type != IP_RECVERR)
                continue;
            std::memcpy(&queued, CMSG_DATA(header), sizeof queued);
            if (queued.ee_errno == ECONNREFUSED)
                found = Queued::portUnreachable;
        }
    }
}

} // namespace

int winsockErrorFor(int error)
{
    struct Mapping
    {
        int error;
        int code;
    };
    static const Mapping table[] = {
        {EINTR, 10004},           {EBADF, 10038},           {ENOTSOCK, 10038},
        {EACCES, 10013},          {EPERM, 10013},           {EFAULT, 10014},
        {EINVAL, 10022},          {EMFILE, 10024},          {ENFILE, 10024},
        {EWOULDBLOCK, 10035},     {EAGAIN, 10035},          {EINPROGRESS, 10036},
        {EALREADY, 10037},        {EDESTADDRREQ, 10039},    {EMSGSIZE, 10040},
        {EPROTOTYPE, 10041},      {ENOPROTOOPT, 10042},     {EPROTONOSUPPORT, 10043},
        {ESOCKTNOSUPPORT, 10044}, {EOPNOTSUPP, 10045},      {EPFNOSUPPORT, 10046},
        {EAFNOSUPPORT, 10047},    {EADDRINUSE, 10048},      {EADDRNOTAVAIL, 10049},
        {ENETDOWN, 10050},        {ENETUNREACH, 10051},     {ENETRESET, 10052},
        {ECONNABORTED, 10053},    {ECONNRESET, 10054},      {EPIPE, 10054},
        {ENOBUFS, 10055},         {ENOMEM, 10055},          {EISCONN, 10056},
        {ENOTCONN, 10057},        {ESHUTDOWN, 10058},       {ETOOMANYREFS, 10059},
        {ETIMEDOUT, 10060},       {ECONNREFUSED, 10061},    {ELOOP, 10062},
        {ENAMETOOLONG, 10063},    {EHOSTDOWN, 10064},       {EHOSTUNREACH, 10065},
        {ENOTEMPTY, 10066},       {EUSERS, 10068},          {EDQUOT, 10069},
        {ESTALE, 10070},          {EREMOTE, 10071},
    };
    for (const Mapping& mapping : table)
        if (mapping.error == error)
            return mapping.code;
    return 10107; // WSASYSCALLFAILURE
}

SocketValue openSocket(int family, int type, int protocol)
{
    const int fd = ::socket(family, type | SOCK_CLOEXEC, protocol);
    if (fd < 0)
        return failFromSocketErrno(invalidSocket);
    // Without it Linux drops the port unreachable of an unconnected socket.
    const int on = 1;
    if (family == AF_INET && type == SOCK_DGRAM)
        setsockopt(fd, IPPROTO_IP, IP_RECVERR, &on, sizeof on);
    setState(fd, type == SOCK_DGRAM ? datagram : 0u, true);
    return static_cast<SocketValue>(fd);
}

int closeSocket(SocketValue s)
{
    const int fd = descriptorOf(s);
    // Another kind of descriptor is no socket to close, as on Windows.
    if (!isSocket(fd))
        return failWith(notSocket, -1);
    forgetState(fd);
    // Linux releases the descriptor even when close is interrupted.
    if (::close(fd) != 0 && errno != EINTR)
        return failFromSocketErrno(-1);
    return 0;
}

int shutdownSocket(SocketValue s, int how)
{
    const int fd = descriptorOf(s);
    if (::shutdown(fd, how) != 0)
        return failFromSocketErrno(-1);
    setState(fd, how == SHUT_RD ? receiveShutDown : how == SHUT_WR ? sendShutDown : receiveShutDown | sendShutDown,
             false);
    return 0;
}

int connectSocket(SocketValue s, const void* address, int length)
{
    const int fd = descriptorOf(s);
    if (::connect(fd, static_cast<const sockaddr*>(address), static_cast<socklen_t>(length)) == 0) {
        setState(fd, connected, false);
        return 0;
    }
    if (errno != EINTR)
        return failFromSocketErrno(-1);
    // An interrupted connect goes on in the background: wait for its end.
    pollfd watch = {fd, POLLOUT, 0};
    if (retryOnInterrupt([&] { return ::poll(&watch, 1, -1); }) < 0)
        return failFromSocketErrno(-1);
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        return failFromSocketErrno(-1);
    if (error != 0)
        return failWith(winsockErrorFor(error), -1);
    setState(fd, connected, false);
    return 0;
}

int bindSocket(SocketValue s, const void* address, int length)
{
    // WinSock binds a stream socket to a port whose old connections are only
    // in TIME_WAIT, so that a server can start again at once; on Linux that
    // is SO_REUSEADDR, which still refuses a second live listener.
    const int fd = descriptorOf(s);
    int type = 0;
    socklen_t size = sizeof type;
    const int on = 1;
    if (getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM)
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(fd, static_cast<const sockaddr*>(address), static_cast<socklen_t>(length)) != 0)
        return failFromSocketErrno(-1);
    return 0;
}

int listenSocket(SocketValue s, int backlog)
{
    if (::listen(descriptorOf(s), backlog) != 0)
        return failFromSocketErrno(-1);
    return 0;
}

SocketValue acceptSocket(SocketValue s, void* address, int* length)
{
    socklen_t size = length != nullptr ? static_cast<socklen_t>(*length) : 0;
    const int fd = retryOnInterrupt([&] {
        return ::accept4(descriptorOf(s), static_cast<sockaddr*>(address),
                         length != nullptr ? &size : nullptr, SOCK_CLOEXEC);
    });
    if (fd < 0)
        return failFromSocketErrno(invalidSocket);
    if (length != nullptr)
        *length = static_cast<int>(size);
    setState(fd, connected, true);
    return static_cast<SocketValue>(fd);
}

int sendSocket(SocketValue s, const char* buffer, int length, int flags, const void* to,
               int toLength)
{
    if (length < 0)
        return failWith(badAddress, -1);
    const int fd = descriptorOf(s);
    const auto sendOnce = [&] {
        return retryOnInterrupt([&] {
            return ::sendto(fd, buffer, static_cast<std::size_t>(length), flags | MSG_NOSIGNAL,
                            static_cast<const sockaddr*>(to), static_cast<socklen_t>(toLength));
        });
    };
    ssize_t sent = sendOnce();
    const unsigned state = stateOf(fd, false);
    if (sent < 0 && (state & datagram)) {
        const Queued queued = takeQueuedErrors(fd);
        if (queued == Queued::portUnreachable)
            setState(fd, resetPending, false);
        if (queued != Queued::nothing)
            sent = sendOnce();
    }
    if (sent >= 0)
        return static_cast<int>(sent);
    if (state & sendShutDown)
        return failWith(shutDown, -1);
    if ((errno == EPIPE || errno == ENOTCONN) && !(state & connected))
        return failWith(notConnected, -1);
    return failFromSocketErrno(-1);
}

int receiveSocket(SocketValue s, char* buffer, int length, int flags, void* from, int* fromLength)
{
    if (length < 0)
        return failWith(badAddress, -1);
    const int fd = descriptorOf(s);
    const unsigned state = stateOf(fd, true);
    if (state & receiveShutDown)
        return failWith(shutDown, -1);
    if (state & resetPending)
        return failWith(connectionReset, -1);
    iovec part{buffer, static_cast<std::size_t>(length)};
    msghdr message{};
    message.msg_name = from;
    message.msg_namelen = fromLength != nullptr ? static_cast<socklen_t>(*fromLength) : 0;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    ssize_t received = -1;
    for (Queued queued = Queued::otherErrors; queued == Queued::otherErrors;) {
        received = retryOnInterrupt([&] { return ::recvmsg(fd, &message, flags); });
        queued = received < 0 && (state & datagram) ? takeQueuedErrors(fd) : Queued::nothing;
        if (queued == Queued::portUnreachable)
            return failWith(connectionReset, -1);
    }
    if (received < 0)
        return failFromSocketErrno(-1);
    if (fromLength != nullptr)
        *fromLength = static_cast<int>(message.msg_namelen);
    // A datagram longer than the buffer is an error on Windows, not a
    // silent cut; the part that fits is in the buffer either way.
    if (message.msg_flags & MSG_TRUNC)
        return failWith(messageTooLong, -1);
    return static_cast<int>(received);
}

std::uint32_t parseIPv4(const char* text)
{
    in_addr address;
    if (text == nullptr || inet_aton(text, &address) == 0)
        return INADDR_NONE;
    return address.s_addr;
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
