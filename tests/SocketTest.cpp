// Sockets on loopback: the class against a peer in another thread, the
// shared start-up, the error dictionary, and the WinSock calls it relies on.
#include "CorvoPlatform.h"
#include "CorvoSocket.h"
#include "CorvoSocketErrorDictionary.h"
#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>

using namespace Vesk::Corvo;
using corvo_test::reasonOf;
using corvo_test::throwsWith;

namespace {

const std::string loopback = "127.0.0.1";

std::string bytesOf(const Packet_T<char>& packet) { return std::string(packet.m_buffer, packet.m_size); }

Packet_T<char> packetOf(const std::string& text) { return Packet_T<char>(unsigned(text.size()), text.data()); }

// Binds an opened socket to a free loopback port and gives the port.
unsigned short bindFreePort(Win32Socket& socket, Protocol protocol)
{
    static std::mt19937 random{std::random_device{}()};
    for (int attempt = 0; attempt < 100; ++attempt) {
        const unsigned short port = static_cast<unsigned short>(20000 + random() % 40000);
        socket.open(SocketAddress(loopback, port), protocol);
        try {
            socket.bind();
            return port;
        } catch (const TCPStreamException&) {
            socket.close();
        }
    }
    throw std::runtime_error("no free port");
}

// A listening server whose one connection is served by `serve` in a thread.
// Its sockets are made and destroyed on the test's thread: the count of
// sockets is plain data that one thread keeps.
struct Peer
{
    explicit Peer(std::function<void(Win32Socket&)> serve) : port(bindFreePort(listener, TCP))
    {
        listener.listen();
        thread = std::thread([this, serve] { listener.accept(connection), serve(connection); });
    }
    ~Peer() { join(), listener.close(); }
    void join() { thread.joinable() ? thread.join() : void(); }
    void connect(Win32Socket& client) { client.open(SocketAddress(loopback, port), TCP), client.connect(); }

    Win32Socket listener, connection;
    const unsigned short port;
    std::thread thread;
};

// The process's open descriptors, on Linux; 0 elsewhere.
long openDescriptors()
{
#ifdef _WIN32
    return 0;
#else
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<long>(std::distance(begin(all), end(all)));
#endif
}

// Expects f to throw E with a reason that begins with `start`: the code
// that ends it is the system's choice.
template <typename E, typename F>
::testing::AssertionResult throwsStarting(F f, const std::string& start)
{
    return corvo_test::raises<E>(
        f, [&](const E& e) { return ::testing::AssertionResult(reasonOf(e).rfind(start, 0) == 0) << reasonOf(e); });
}

} // namespace

TEST(Socket, TalksOverTcpUntilThePeerCloses)
{
    Peer peer([](Win32Socket& connection) {
        connection.send(connection.receive(5));
        connection.write(connection.read(200));
        connection.receive(1);
        connection.send(packetOf("abc")), connection.close();
    });
    Win32Socket client;
    peer.connect(client);
    client.send(packetOf("hello"));
    EXPECT_EQ(bytesOf(client.receive(5)), "hello");
    EXPECT_TRUE(client.write(packetOf("again")));
    EXPECT_EQ(bytesOf(client.read(200)), "again");
    client.send(packetOf("!"));
    // Three of ten bytes, then the end: receive fails, read just ends.
    EXPECT_TRUE(throwsStarting<SocketException>([&] { client.receive(10); }, "Connection closed by peer "));
    EXPECT_EQ(client.read(10).m_size, 0u);
    client.close();
}

TEST(Socket, AGonePeerFailsTheTransfersAndRaisesNoSignal)
{
    // Closing with unread bytes resets the connection.
    Peer peer([](Win32Socket& connection) { connection.read(1), connection.close(); });
    Win32Socket client;
    peer.connect(client);
    client.send(packetOf("xyz"));
    peer.join();
    EXPECT_TRUE(throwsWith<SocketException>([&] { client.send(packetOf(std::string(1 << 20, 'b'))); },
                                            "Error writing on Socket WSAECONNRESET [10054]"));
    // Each later write meets a broken pipe, which must not end the process.
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(throwsStarting<TCPStreamException>([&] { client.write(packetOf("data")); },
                                                       "Error writing to socket WSAE"));
    client.close();
}

TEST(Socket, UdpReadAnswersTheSenderAndLogs)
{
    Win32Socket server;
    const unsigned short port = bindFreePort(server, UDP);
    Win32Socket client;
    client.open(SocketAddress(loopback, port), UDP);
    corvo_test::Recorder recorder("socket-udp");
    client.write(packetOf("ping"));
    EXPECT_EQ(bytesOf(server.read(256)), "ping");
    server.write(packetOf("pong")); // to the sender, not to the address of open
    const IPPacket answer = client.receiveFrom();
    EXPECT_EQ(bytesOf(answer.packet), "pong");
    EXPECT_EQ(answer.address.host, loopback);
    EXPECT_EQ(answer.address.port, 0);

    server.sendTo(IPPacket(nullptr, 0, SocketAddress(loopback, port)));
    EXPECT_EQ(server.receiveFrom().packet.m_size, 0u);
    // A datagram longer than the block fails the read rather than being cut.
    client.write(packetOf(std::string(300, 'x')));
    EXPECT_TRUE(throwsWith<UDPStreamException>([&] { server.read(256); },
                                               "Error reading from Socket WSAEMSGSIZE [10040]"));
    client.close();
    server.close();

    const std::vector<std::string> expected = {"write", "read", "write", "write", "read", "close", "close"};
    ASSERT_EQ(recorder.records.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NE(recorder.records[i].head.find("[DEBUG]Vesk::Corvo::Win32Socket::" + expected[i] + "] "), std::string::npos)
            << recorder.records[i].head;
        EXPECT_EQ(recorder.records[i].text, "Win32Socket::" + expected[i] + "()");
    }
}

TEST(Socket, RefusalsKeepNoDescriptor)
{
    corvo_test::Recorder recorder("socket-open");
    Win32Socket socket;
    const long before = openDescriptors();
    for (int protocol : {0, 3})
        EXPECT_TRUE(throwsWith<SocketException>(
            [&] { socket.open(SocketAddress(loopback, 1), Protocol(protocol)); },
            "Protocol Not supported " + Win32SocketErrorDictionary().getErrorMessage(WSAGetLastError())));
    EXPECT_EQ(recorder.texts(), std::vector<std::string>(2, "Win32TCPStream::open()"));
    EXPECT_TRUE(throwsWith<StreamException>([&] { socket.close(); }, "Cannot Close the Socket! WSAENOTSOCK [10038]"));
    for (Protocol protocol : {UDP, TCP})
        socket.open(SocketAddress("no address", 1), protocol), socket.close();
    EXPECT_THROW(socket.close(), StreamException);
    EXPECT_TRUE(throwsWith<TCPStreamException>([&] { socket.read(1); },
                                                "Error reading from Socket WSAENOTSOCK [10038]"));

    Win32Socket bound; // bound, not listening: nobody accepts
    socket.open(SocketAddress(loopback, bindFreePort(bound, TCP)), TCP);
    EXPECT_TRUE(corvo_test::raisedAt<TCPStreamException>([&] { socket.connect(); }, "Can't connect WSAECONNREFUSED [10061]",
                                                         "src/Win32/Win32Socket.cpp", "Vesk::Corvo::Win32Socket::connect"));
    socket.close();
    bound.close();
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Socket, OneStartUpForAllSocketsEndedByTheLast)
{
    // No socket lives between tests: WinSock is down.
    EXPECT_EQ(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP), INVALID_SOCKET);
    EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
    auto first = std::make_unique<Win32Socket>();
    auto second = std::make_unique<Win32Socket>();
    first.reset();
    const SOCKET raw = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    EXPECT_NE(raw, INVALID_SOCKET);
    EXPECT_EQ(closesocket(raw), 0);
    EXPECT_EQ(inet_addr("not an address"), INADDR_NONE);
    second.reset();
    EXPECT_EQ(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP), INVALID_SOCKET);
}

TEST(SocketErrorDictionary, NamesTheCodesOfTheTable)
{
    const Win32SocketErrorDictionary dictionary;
    const std::pair<long, const char*> rows[] = {
        {-1, "Unknown Error Code: [-1]"},     {6, "WSA_INVALID_HANDLE [6]"},
        {997, "WSA_IO_PENDING [997]"},         {10035, "WSAEWOULDBLOCK [10035]"},
        {10071, "WSAEREMOTE [10071]"},         {10072, "Unknown Error Code: [10072]"},
        {10093, "WSANOTINITIALISED [10093]"},  {10112, "WSAEREFUSED [10112]"},
        {11024, "WSA_QOS_EUNKOWNPSOBJ [11024]"}, {11031, "WSA_QOS_RESERVED_PETYPE [11031]"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(dictionary.getErrorMessage(row.first), row.second);
    int known = 0;
    for (long code = -1; code < 12000; ++code)
        known += dictionary.getErrorMessage(code).rfind("Unknown", 0) != 0;
    EXPECT_EQ(known, 95);
}
