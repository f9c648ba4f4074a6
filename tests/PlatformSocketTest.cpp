// WinSock's error codes and binding rules at the edges, called by their
// names: under Wine against the real API, on Linux against Corvo's POSIX
// layer. Each case starts WinSock and stops it again.
#include "CorvoPlatform.h"
#include "UnderWine.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using corvo_test::underWine;

sockaddr_in loopbackAt(u_short port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = inet_addr("127.0.0.1");
    return address;
}

const sockaddr* asAddress(const sockaddr_in& address) { return reinterpret_cast<const sockaddr*>(&address); }

class PlatformSocket : public ::testing::Test
{
protected:
    void SetUp() override
    {
        WSADATA data;
        ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    }
    void TearDown() override { WSACleanup(); }

    // A socket of the type bound to a free loopback port.
    SOCKET bound(int type, u_short& port)
    {
        static std::mt19937 random{std::random_device{}()};
        for (int attempt = 0; attempt < 100; ++attempt) {
            const SOCKET s = socket(AF_INET, type, type == SOCK_STREAM ? IPPROTO_TCP : IPPROTO_UDP);
            port = static_cast<u_short>(20000 + random() % 40000);
            const sockaddr_in address = loopbackAt(port);
            if (bind(s, asAddress(address), sizeof address) == 0)
                return s;
            closesocket(s);
        }
        return INVALID_SOCKET;
    }

    // A connected pair on loopback, and the listener they came from.
    void connectPair(SOCKET& client, SOCKET& server, SOCKET& listener, u_short& port)
    {
        listener = bound(SOCK_STREAM, port);
        ASSERT_NE(listener, INVALID_SOCKET);
        ASSERT_EQ(listen(listener, 1), 0);
        client = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        const sockaddr_in address = loopbackAt(port);
        ASSERT_EQ(connect(client, asAddress(address), sizeof address), 0);
        server = accept(listener, nullptr, nullptr);
        ASSERT_NE(server, INVALID_SOCKET);
    }
};

// What a transfer fails with on a TCP socket that cannot move the bytes.
TEST_F(PlatformSocket, TransfersThatCannotBeMadeGiveWinSocksCodes)
{
    SOCKET client, server, listener;
    u_short port;
    connectPair(client, server, listener, port);
    const SOCKET unconnected = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    ASSERT_EQ(shutdown(client, SD_SEND), 0);
    ASSERT_EQ(shutdown(server, SD_RECEIVE), 0);
    const sockaddr_in to = loopbackAt(port);
    char buffer[4] = {'d', 'a', 't', 'a'};
    enum Call { Send, SendTo, Receive };
    // The socket, the call, the code, whether Wine gives another one.
    const struct { SOCKET s; Call call; int code; bool wineDiffers; const char* what; } rows[] = {
        // Wine gives WSAECONNRESET, its code for Linux' EPIPE.
        {unconnected, Send, WSAENOTCONN, true, "send, never connected"},
        {unconnected, SendTo, WSAENOTCONN, true, "sendto, never connected"},
        {unconnected, Receive, WSAENOTCONN, false, "recv, never connected"},
        {client, Send, WSAESHUTDOWN, false, "send after shutting down sending"},
        {client, SendTo, WSAESHUTDOWN, false, "sendto after shutting down sending"},
        {server, Receive, WSAESHUTDOWN, false, "recv after shutting down receiving"},
    };
    for (const auto& row : rows) {
        if (row.wineDiffers && underWine())
            continue;
        WSASetLastError(0);
        const int result = row.call == Send     ? send(row.s, buffer, sizeof buffer, 0)
                           : row.call == SendTo ? sendto(row.s, buffer, sizeof buffer, 0, asAddress(to), sizeof to)
                                                : recv(row.s, buffer, sizeof buffer, 0);
        EXPECT_EQ(result, SOCKET_ERROR) << row.what;
        EXPECT_EQ(WSAGetLastError(), row.code) << row.what;
    }
    for (SOCKET s : {unconnected, client, server, listener})
        closesocket(s);
}

// A datagram to a port that nobody listens at comes back as a port
// unreachable, which the next receive reports, and a send does not.
TEST_F(PlatformSocket, UdpReceiveReportsAPortThatNobodyListensAt)
{
    if (underWine())
        GTEST_SKIP() << "Wine reports no port unreachable to a datagram socket";
    u_short gone, own;
    const SOCKET closed = bound(SOCK_DGRAM, gone);
    ASSERT_NE(closed, INVALID_SOCKET);
    closesocket(closed);
    const SOCKET s = bound(SOCK_DGRAM, own);
    ASSERT_NE(s, INVALID_SOCKET);
    const sockaddr_in nobody = loopbackAt(gone), self = loopbackAt(own);
    char buffer[4] = {'p', 'i', 'n', 'g'};
    ASSERT_EQ(sendto(s, buffer, 4, 0, asAddress(nobody), sizeof nobody), 4);
    EXPECT_EQ(sendto(s, buffer, 4, 0, asAddress(self), sizeof self), 4);
    WSASetLastError(0);
    EXPECT_EQ(recv(s, buffer, sizeof buffer, 0), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), WSAECONNRESET);
    if (WSAGetLastError() == WSAECONNRESET) { // else the datagram has been taken
        EXPECT_EQ(recv(s, buffer, sizeof buffer, 0), 4);
    }
    closesocket(s);
}

// A server that starts again at once binds its port while the connections
// of the one before wait in TIME_WAIT; a second live listener is refused.
TEST_F(PlatformSocket, BindTakesAPortWhoseConnectionsWaitButNotALiveOne)
{
    SOCKET client, server, listener;
    u_short port;
    connectPair(client, server, listener, port);
    // The server closes first, so that its side waits in TIME_WAIT.
    closesocket(server);
    char byte;
    EXPECT_EQ(recv(client, &byte, 1, 0), 0);
    closesocket(client);
    closesocket(listener);
    const sockaddr_in address = loopbackAt(port);
    const SOCKET again = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    EXPECT_EQ(bind(again, asAddress(address), sizeof address), 0);
    EXPECT_EQ(listen(again, 1), 0);
    const SOCKET second = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    WSASetLastError(0);
    EXPECT_EQ(bind(second, asAddress(address), sizeof address), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), WSAEADDRINUSE);
    closesocket(second);
    closesocket(again);
}

} // namespace
