// Win32SerialStream on a pseudo-terminal. On Linux the test holds the
// master side itself; under Wine a Linux helper (Python, started through
// Wine like any program) holds it and links a COM port of the prefix to the
// slave, so that Wine's own serial calls are the ones used.
#include "CorvoSerialStream.h"
#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include "Posix/SerialSettings.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#endif

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

std::string bytesOf(const Packet_T<char>& packet) { return std::string(packet.m_buffer, packet.m_size); }

Packet_T<char> packetOf(const std::string& text)
{
    return Packet_T<char>(static_cast<unsigned int>(text.size()), text.data());
}

// The other end of the line.
class Peer
{
public:
    virtual ~Peer() = default;
    // The line as "rate stop-bits raw|cooked", from the tty (a
    // pseudo-terminal always keeps 8 bits without parity).
    virtual std::string settings() = 0;
    // Returns once the bytes wait in the port's input queue.
    virtual void send(const std::string& bytes) = 0;
    // Sends once the port's input queue is empty.
    virtual void sendOnceRead(const std::string& bytes) = 0;
    virtual std::string receive(std::size_t count) = 0;

    std::string port; // what follows "COM"
};

#ifndef _WIN32

template <typename Test>
void waitUntil(Test test)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!test() && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
}

class PtyPeer : public Peer
{
public:
    PtyPeer()
    {
        m_master = posix_openpt(O_RDWR | O_NOCTTY);
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0)
            throw std::runtime_error("no pseudo-terminal");
        port = ptsname(m_master);
        m_probe = open(port.c_str(), O_RDWR | O_NOCTTY);
    }
    ~PtyPeer() override
    {
        close(m_probe);
        close(m_master);
    }

    std::string settings() override
    {
        termios t;
        tcgetattr(m_probe, &t);
        const bool raw = !(t.c_lflag & (ICANON | ECHO | ISIG)) && !(t.c_oflag & OPOST) &&
                         !(t.c_iflag & (IXON | IXOFF | ICRNL)) && !(t.c_cflag & CRTSCTS);
        const speed_t speeds[] = {B9600, B19200, B115200, B921600, B4800};
        const int rates[] = {9600, 19200, 115200, 921600, 4800};
        int rate = 0;
        for (int i = 0; i < 5; ++i)
            if (cfgetospeed(&t) == speeds[i])
                rate = rates[i];
        return std::to_string(rate) + ((t.c_cflag & CSTOPB) ? " 2 " : " 1 ") + (raw ? "raw" : "cooked");
    }
    void send(const std::string& bytes) override
    {
        ASSERT_EQ(ssize_t(bytes.size()), write(m_master, bytes.data(), bytes.size()));
        waitUntil([&] { return queued() >= int(bytes.size()); });
    }
    void sendOnceRead(const std::string& bytes) override
    {
        waitUntil([&] { return queued() == 0; });
        ASSERT_EQ(ssize_t(bytes.size()), write(m_master, bytes.data(), bytes.size()));
    }
    std::string receive(std::size_t count) override
    {
        std::string data(count, '\0');
        for (std::size_t got = 0; got < count;) {
            const ssize_t n = read(m_master, &data[got], count - got);
            if (n <= 0)
                break;
            got += std::size_t(n);
        }
        return data;
    }

private:
    int queued()
    {
        int count = -1;
        ioctl(m_probe, FIONREAD, &count);
        return count;
    }

    int m_master;
    int m_probe;
};

std::unique_ptr<Peer> makePeer(std::string&) { return std::make_unique<PtyPeer>(); }

#else

// The same end in a Linux process, started through Wine like any program.
// Wine gives such a process no pipes, so requests and replies are files:
// each is written under a temporary name and renamed into place.
const char* const helperScript = R"(import fcntl, os, struct, sys, termios, time
base, link = sys.argv[1], sys.argv[2]
os.setsid() # the slave becomes this session's terminal, not Wine's
master, slave = os.openpty()
fcntl.ioctl(slave, termios.TIOCSCTTY, 0)
if os.path.lexists(link): os.remove(link)
os.symlink(os.ttyname(slave), link)
def queued(): return struct.unpack('i', fcntl.ioctl(slave, termios.FIONREAD, b'0000'))[0]
def wait(test, seconds=10):
    end = time.monotonic() + seconds
    while not test() and time.monotonic() < end: time.sleep(0.001)
    return test()
def reply(text):
    open(base + '.tmp', 'w').write(text)
    os.rename(base + '.tmp', base + '.rep')
rates = {getattr(termios, 'B%d' % r): r for r in (4800, 9600, 19200, 115200, 921600)}
reply('ready')
while wait(lambda: os.path.exists(base + '.req'), 60):
    word, _, arg = open(base + '.req').read().partition(' ')
    os.remove(base + '.req')
    if word == 'settings':
        i, o, c, l, ispeed, ospeed, cc = termios.tcgetattr(slave)
        raw = not l & (termios.ICANON | termios.ECHO | termios.ISIG) and not o & termios.OPOST and not i & (termios.IXON | termios.IXOFF | termios.ICRNL) and not c & termios.CRTSCTS
        reply('%d %d %s' % (rates.get(ospeed, 0), 2 if c & termios.CSTOPB else 1, 'raw' if raw else 'cooked'))
    elif word == 'send':
        data = bytes.fromhex(arg); os.write(master, data); wait(lambda: queued() >= len(data)); reply('ok')
    elif word == 'later':
        wait(lambda: queued() == 0); os.write(master, bytes.fromhex(arg)); reply('ok')
    elif word == 'receive':
        data = b''
        while len(data) < int(arg): data += os.read(master, int(arg) - len(data))
        reply(data.hex())
    else:
        break
os.remove(link)
)";

std::string hexOf(const std::string& bytes)
{
    std::string hex;
    char two[3];
    for (unsigned char byte : bytes) {
        std::snprintf(two, sizeof two, "%02x", byte);
        hex += two;
    }
    return hex;
}

std::string windowsPath(std::string unixPath)
{
    for (char& c : unixPath)
        c = c == '/' ? '\\' : c;
    return "Z:" + unixPath;
}

class HelperPeer : public Peer
{
public:
    // Leaves why empty when the helper runs.
    explicit HelperPeer(std::string& why)
    {
        const char* prefix = std::getenv("WINEPREFIX");
        const std::string python = "/usr/bin/python3";
        if (!prefix || GetFileAttributesA(windowsPath(python).c_str()) == INVALID_FILE_ATTRIBUTES) {
            why = "needs WINEPREFIX and " + python + " on the Linux side";
            return;
        }
        const std::string base = "/tmp/corvo-serial-peer-" + std::to_string(GetCurrentProcessId());
        m_base = windowsPath(base);
        writeFile(m_base + ".py", helperScript);
        port = "9"; // Wine knows COM1 to COM9 by name
        std::string command = python + " " + base + ".py " + base + " " + prefix + "/dosdevices/com" + port;
        STARTUPINFOA start = {};
        start.cb = sizeof start;
        PROCESS_INFORMATION process;
        if (!CreateProcessA(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process) ||
            reply() != "ready")
            why = "the Linux helper did not start";
        DeleteFileA((m_base + ".py").c_str());
    }
    ~HelperPeer() override { request("quit"); }

    std::string settings() override { return command("settings"); }
    void send(const std::string& bytes) override { command("send " + hexOf(bytes)); }
    void sendOnceRead(const std::string& bytes) override { command("later " + hexOf(bytes)); }
    std::string receive(std::size_t count) override
    {
        const std::string hex = command("receive " + std::to_string(count));
        std::string bytes;
        for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
            bytes += char(std::stoi(hex.substr(i, 2), nullptr, 16));
        return bytes;
    }

private:
    static void writeFile(const std::string& path, const std::string& text)
    {
        if (FILE* file = std::fopen(path.c_str(), "wb")) {
            std::fputs(text.c_str(), file);
            std::fclose(file);
        }
    }
    void request(const std::string& text)
    {
        writeFile(m_base + ".new", text);
        MoveFileA((m_base + ".new").c_str(), (m_base + ".req").c_str());
    }
    // The helper's reply, or nothing after 20 seconds.
    std::string reply()
    {
        const std::string path = m_base + ".rep";
        for (int i = 0; i < 20000 && GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES; ++i)
            Sleep(1);
        std::string text;
        if (FILE* file = std::fopen(path.c_str(), "rb")) {
            for (int c; (c = std::fgetc(file)) != EOF;)
                text += char(c);
            std::fclose(file);
        }
        DeleteFileA(path.c_str());
        return text;
    }
    std::string command(const std::string& text)
    {
        request(text);
        return reply();
    }

    std::string m_base;
};

std::unique_ptr<Peer> makePeer(std::string& why)
{
    if (!GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version")) {
        why = "on Windows a serial port can't be made by a test";
        return nullptr;
    }
    auto peer = std::make_unique<HelperPeer>(why);
    return why.empty() ? std::move(peer) : nullptr;
}

#endif

class SerialStream : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string why;
        peer = makePeer(why);
        if (!peer)
            GTEST_SKIP() << "no pseudo-terminal pair: " << why;
    }

    std::unique_ptr<Peer> peer;
};

struct LineCase
{
    Bps bps;
    DataBits dataBits;
    Parity parity;
    StopBits stopBits;
    const char* settings;
};

TEST_F(SerialStream, OpenLeavesARawLine)
{
    const LineCase cases[] = {
        {Bps9600, DataBits8, ParityNone, StopBits1, "9600 1 raw"},
        {Bps19200, DataBits7, ParityOdd, StopBits2, "19200 2 raw"},
        {Bps115200, DataBits6, ParityEven, StopBits(3), "115200 2 raw"},
        {Bps921600, DataBits8, ParityMark, StopBits(0), "921600 2 raw"},
        {Bps4800, DataBits5, ParitySpace, StopBits1, "4800 1 raw"},
    };
    for (const LineCase& c : cases) {
        Win32SerialStream serial;
        serial.open(peer->port, c.bps, c.dataBits, c.parity, c.stopBits);
        EXPECT_EQ(c.settings, peer->settings());
        serial.close();
    }
}

TEST_F(SerialStream, ReadWaitsForEveryByteAndWriteArrives)
{
    corvo_test::Recorder recorder("serial-stream-test");
    Win32SerialStream serial;
    serial.open(peer->port, Bps9600, DataBits8, ParityNone, StopBits1);
    peer->send(std::string("a\0", 2));
    std::string got;
    std::thread reader([&] { got = bytesOf(serial.read(5)); });
    peer->sendOnceRead("cde");
    reader.join();
    EXPECT_EQ(std::string("a\0cde", 5), got);

    EXPECT_TRUE(serial.write(packetOf("xyz")));
    EXPECT_EQ("xyz", peer->receive(3));
    serial.setProperty();
    serial.close();
    serial.close();
    const std::vector<std::string> expected = {
        "Win32SerialStream::open( COM" + peer->port + ", 9600Bps, DataBits:8, Parity: 0, Stop bits:1 )",
        "Win32SerialStream::read()",
        "Win32SerialStream::write(3 bytes  )",
        "Win32SerialStream::setProperty()",
        "Win32SerialStream::close()",
        "Win32SerialStream::close()"};
    EXPECT_EQ(expected, recorder.texts());
    EXPECT_NE(std::string::npos, recorder.records[0].head.find(" [[DEBUG]Vesk::Corvo::Win32SerialStream::open] "));
}

TEST(SerialStreamFailures, ClosedAndMissingPorts)
{
    Win32SerialStream serial;
    EXPECT_TRUE(throwsWith<SerialStreamException>([&] { serial.read(1); },
                                                  "Win32SerialStream::read(): Failed to read !"));
    EXPECT_TRUE(throwsWith<SerialStreamException>([&] { serial.write(packetOf("x")); },
                                                  "Win32SerialStream::write(): Failed to write !"));
    EXPECT_TRUE(throwsWith<SerialStreamException>(
        [&] { serial.open("250", Bps9600, DataBits8, ParityNone, StopBits1); },
        "Win32SerialStream::open(): Failed to open the port!"));
    serial.close();
#ifndef _WIN32
    // A device that is no tty opens, then refuses the settings.
    EXPECT_TRUE(throwsWith<SerialStreamException>(
        [&] { serial.open("/dev/null", Bps9600, DataBits8, ParityNone, StopBits1); },
        "Win32SerialStream::open(): Failed to get current port settings!"));
    serial.close();
#endif
}

#ifndef _WIN32

// What a pseudo-terminal doesn't keep: the size and the parity.
TEST(SerialLine, ControlBlockGivesTermios)
{
    struct Case
    {
        BYTE size, parity, stopBits;
        tcflag_t flags;
    };
    const Case cases[] = {
        {8, NOPARITY, ONESTOPBIT, CS8},
        {7, ODDPARITY, TWOSTOPBITS, CS7 | PARENB | PARODD | CSTOPB},
        {6, EVENPARITY, ONESTOPBIT, CS6 | PARENB},
        {8, MARKPARITY, ONESTOPBIT, CS8 | PARENB | PARODD | CMSPAR},
        {5, SPACEPARITY, ONE5STOPBITS, CS5 | PARENB | CMSPAR | CSTOPB},
    };
    const tcflag_t line = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB;
    for (const Case& c : cases) {
        DCB dcb = {};
        dcb.BaudRate = 9600;
        dcb.ByteSize = c.size;
        dcb.Parity = c.parity;
        dcb.fParity = c.parity != NOPARITY;
        dcb.StopBits = c.stopBits;
        termios settings = {};
        ASSERT_TRUE(Posix::termiosFor(dcb, settings));
        EXPECT_EQ(c.flags, settings.c_cflag & line) << int(c.size) << int(c.parity);
        EXPECT_EQ(c.parity != NOPARITY, (settings.c_iflag & INPCK) != 0);
    }
    const Case refused[] = {{9, NOPARITY, ONESTOPBIT, 0}, {8, 5, ONESTOPBIT, 0}, {8, NOPARITY, ONE5STOPBITS, 0}};
    for (const Case& c : refused) {
        DCB dcb = {};
        dcb.BaudRate = 9600;
        dcb.ByteSize = c.size;
        dcb.Parity = c.parity;
        dcb.StopBits = c.stopBits;
        termios settings = {};
        EXPECT_FALSE(Posix::termiosFor(dcb, settings));
    }
}

#endif

} // namespace
