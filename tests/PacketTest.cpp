// Packets, the stream base through a small derived stream, and the socket
// value types.
#include "CorvoPacket.h"
#include "CorvoSocketAddress.h"
#include "CorvoStream.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::raisedAt;
using corvo_test::throwsWith;

namespace {

std::string bytesOf(const Packet_T<char>& packet) { return std::string(packet.m_buffer, packet.m_size); }

// Remembers every write and serves reads from a script.
class ScriptStream : public Stream
{
public:
    void open(const std::string&) override {}
    void close() override {}
    void flush() override {}
    bool isOpen() const override { return true; }

    Stream& write(unsigned int size, char* const buffer) override { return writes.emplace_back(buffer, size), *this; }
    Stream& read(unsigned int size, char* buffer) override
    {
        for (unsigned int i = 0; i < size && next < script.size(); ++i)
            buffer[i] = script[next++];
        return *this;
    }

    std::vector<std::string> writes;
    std::string script;
    std::size_t next = 0;
};

} // namespace

TEST(Packet, CopiesAreDeepAndKeepZeroBytesAndNullBuffersAreRefusedUnlessEmpty)
{
    const char source[] = {'a', '\0', 'b'};
    Packet_T<char> original(3, source), copy(original), assigned(1, "z");
    assigned = original;
    Packet_T<char>& self = assigned;
    assigned = self;
    original.m_buffer[0] = 'X';
    EXPECT_EQ(bytesOf(copy) + bytesOf(assigned), std::string("a\0ba\0b", 6));
    for (const char* pointer : {static_cast<const char*>(nullptr), source}) // no block, whatever the pointer
        EXPECT_EQ(Packet_T<char>(0, pointer).m_buffer, nullptr);
    const std::string header = "include/CorvoPacket.h", constructor = "Vesk::Corvo::Packet_T<char>::Packet_T";
    EXPECT_TRUE(raisedAt<Exception>([] { Packet_T<char>(5, nullptr); }, "Input buffer pointing to nullptr", header, constructor));
    Packet_T<char> broken(0, nullptr);
    broken.m_size = 4; // a size without a block
    const std::string reason = "Input buffer pointing to nullptr and size != 0!";
    EXPECT_TRUE(raisedAt<Exception>([&] { Packet_T<char>{broken}; }, reason, header, constructor));
    EXPECT_TRUE(raisedAt<Exception>([&] { assigned = broken; }, reason, header, "Vesk::Corvo::Packet_T<char>::operator ="));
    EXPECT_EQ(bytesOf(assigned), std::string("a\0b", 3));
    broken.m_size = 0;
}

TEST(Stream, OperatorsGoThroughReadAndWrite)
{
    ScriptStream stream;
    stream << std::string("ab") << std::string() << Packet_T<char>(2, "xy");
    EXPECT_EQ(stream.writes, (std::vector<std::string>{"ab", std::string(1, '\0'), "", std::string(1, '\0'), "xy"}));

    stream.script = std::string("ab\0cd", 5);
    std::string text = "x";
    stream >> text;
    EXPECT_EQ(text, "xab");
    stream >> text; // then "cd" and a read that delivers nothing
    EXPECT_EQ(text, "xabcd");

    for (Stream::StreamStatus status : {Stream::StreamReady, Stream::StreamClosed, Stream::StreamEnd, Stream::StreamFailed})
        EXPECT_FALSE(static_cast<Stream&>(stream) == status);
}

TEST(IPPacket, TakesTheBytesThenTheAddress)
{
    EXPECT_TRUE(SocketAddress().host.empty() && SocketAddress().port == 0);
    const IPPacket packet("abc", 3, SocketAddress("10.1.2.3", 7));
    EXPECT_EQ(bytesOf(packet.packet), "abc");
    EXPECT_TRUE(packet.address.host == "10.1.2.3" && packet.address.port == 7);
    EXPECT_TRUE(throwsWith<Exception>([] { IPPacket(nullptr, 3, SocketAddress()); }, "Input buffer pointing to nullptr"));
}
