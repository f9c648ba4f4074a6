// Win32SerialStream on a pseudo-terminal pair, whose other end a small
// Linux helper (Python) holds. The test starts it; under Wine it links COM9
// of the prefix to the pty, so that Wine's own serial calls are the ones
// used. Wine gives a Linux child no pipes, so requests and replies are
// files, each written under a temporary name and renamed into place.
#include "CorvoSerialStream.h"
#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include "Posix/SerialSettings.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

using namespace Vesk::Corvo;
using corvo_test::throwsWith;
namespace fs = std::filesystem;

namespace {

const char* const helperScript = R"(import fcntl, os, struct, sys, termios, time
base, link = sys.argv[1], sys.argv[2]
os.setsid() # the pty becomes this session's terminal, not that of Wine's server
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
    open(base + '.tmp', 'w', encoding='latin-1').write(text)
    os.rename(base + '.tmp', base + '.rep')
rates = {getattr(termios, 'B%d' % r): r for r in (4800, 9600, 19200, 115200, 921600)}
reply('ready')
while wait(lambda: os.path.exists(base + '.req'), 60):
    word, _, arg = open(base + '.req', encoding='latin-1').read().partition(' ')
    os.remove(base + '.req')
    if word == 'settings':
        i, o, c, l, ispeed, ospeed, cc = termios.tcgetattr(slave)
        raw = not l & (termios.ICANON | termios.ECHO | termios.ISIG) and not o & termios.OPOST and not i & (termios.IXON | termios.IXOFF | termios.ICRNL) and not c & termios.CRTSCTS
        reply('%d %d %s' % (rates.get(ospeed, 0), 2 if c & termios.CSTOPB else 1, 'raw' if raw else 'cooked'))
    elif word == 'send': # returns once the bytes wait in the port's queue
        os.write(master, arg.encode('latin-1')); wait(lambda: queued() >= len(arg)); reply('ok')
    elif word == 'later': # sends once the port's queue is empty
        wait(lambda: queued() == 0); os.write(master, arg.encode('latin-1')); reply('ok')
    elif word == 'receive':
        data = b''
        while len(data) < int(arg): data += os.read(master, int(arg) - len(data))
        reply(data.decode('latin-1'))
    else:
        break
os.remove(link)
reply('bye')
)";

std::string bytesOf(const Packet_T<char>& packet) { return std::string(packet.m_buffer, packet.m_size); }

#ifdef _WIN32
std::string localPath(std::string unixPath)
{
    for (char& c : unixPath)
        c = c == '/' ? '\\' : c;
    return "Z:" + unixPath;
}

bool start(std::string command)
{
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    if (!CreateProcessA(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return false;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}
#else
std::string localPath(const std::string& unixPath) { return unixPath; }

bool start(const std::string& command) { return std::system((command + " &").c_str()) == 0; }
#endif

// Each case starts the helper and tells it what to do one request at a
// time.
class SerialStream : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const std::string python = "/usr/bin/python3";
#ifdef _WIN32
        const char* prefix = std::getenv("WINEPREFIX");
        const std::string base = "/tmp/corvo-serial-" + std::to_string(GetCurrentProcessId());
        const std::string link = std::string(prefix ? prefix : "") + "/dosdevices/com9";
        port = "9"; // Wine knows COM1 to COM9 by their plain names
#else
        const char* prefix = "";
        const std::string base = "/tmp/corvo-serial-" + std::to_string(getpid());
        const std::string link = port = base + ".tty";
#endif
        m_base = localPath(base);
        if (!prefix || !fs::exists(localPath(python)))
            GTEST_SKIP() << "no pseudo-terminal pair: needs " << python << " on Linux, and WINEPREFIX under Wine";
        std::ofstream(m_base + ".py") << helperScript;
        m_running = start(python + " " + base + ".py " + base + " " + link) && command("") == "ready";
        fs::remove(m_base + ".py");
        if (!m_running)
            GTEST_SKIP() << "no pseudo-terminal pair: the helper did not start";
    }
    void TearDown() override
    {
        if (m_running)
            command("quit"); // waits until the link has gone
    }

    // Sends the request, if there is one, and gives the reply, or nothing
    // after 20 seconds.
    std::string command(const std::string& text)
    {
        if (!text.empty()) {
            std::ofstream(m_base + ".new") << text;
            fs::rename(m_base + ".new", m_base + ".req");
        }
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!fs::exists(m_base + ".rep") && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        std::stringstream reply;
        reply << std::ifstream(m_base + ".rep").rdbuf();
        fs::remove(m_base + ".rep");
        return reply.str();
    }

    std::string port; // what follows "COM"
    std::string m_base;
    bool m_running = false;
};

TEST_F(SerialStream, OpenLeavesARawLineReadWaitsForEveryByteAndWriteArrives)
{
    const struct { Bps bps; DataBits dataBits; Parity parity; StopBits stopBits; const char* settings; } cases[] = {
        {Bps9600, DataBits8, ParityNone, StopBits1, "9600 1 raw"},
        {Bps19200, DataBits7, ParityOdd, StopBits2, "19200 2 raw"},
        {Bps115200, DataBits6, ParityEven, StopBits(3), "115200 2 raw"},
        {Bps921600, DataBits8, ParityMark, StopBits(0), "921600 2 raw"},
        {Bps4800, DataBits5, ParitySpace, StopBits1, "4800 1 raw"},
    };
    for (const auto& c : cases) {
        Win32SerialStream serial;
        serial.open(port, c.bps, c.dataBits, c.parity, c.stopBits);
        EXPECT_EQ(c.settings, command("settings"));
        serial.close();
    }

    corvo_test::Recorder recorder("serial-stream-test");
    Win32SerialStream serial;
    serial.open(port, Bps9600, DataBits8, ParityNone, StopBits1);
    command("send " + std::string("a\0", 2));
    auto reader = std::async(std::launch::async, [&] { return bytesOf(serial.read(5)); });
    command("later cde");
    EXPECT_EQ(std::string("a\0cde", 5), reader.get());

    EXPECT_TRUE(serial.write(Packet_T<char>(3, "xyz")));
    EXPECT_EQ("xyz", command("receive 3"));
    serial.setProperty();
    serial.close();
    serial.close();
    const std::vector<std::string> expected = {
        "Win32SerialStream::open( COM" + port + ", 9600Bps, DataBits:8, Parity: 0, Stop bits:1 )",
        "Win32SerialStream::read()", "Win32SerialStream::write(3 bytes  )", "Win32SerialStream::setProperty()",
        "Win32SerialStream::close()", "Win32SerialStream::close()"};
    EXPECT_EQ(expected, recorder.texts());
    EXPECT_NE(std::string::npos, recorder.records[0].head.find(" [[DEBUG]Vesk::Corvo::Win32SerialStream::open] "));
}

TEST(SerialStreamFailures, ClosedAndMissingPorts)
{
    Win32SerialStream serial;
    const auto open = [&](const char* port) { serial.open(port, Bps9600, DataBits8, ParityNone, StopBits1); };
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { serial.read(1); }, "Win32SerialStream::read(): Failed to read !"},
        {[&] { serial.write(Packet_T<char>(1, "x")); }, "Win32SerialStream::write(): Failed to write !"},
        {[&] { open("250"); }, "Win32SerialStream::open(): Failed to open the port!"},
#ifndef _WIN32
        // A device that is no tty opens, then refuses the settings.
        {[&] { open("/dev/null"); }, "Win32SerialStream::open(): Failed to get current port settings!"},
#endif
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(throwsWith<SerialStreamException>(row.first, row.second));
        serial.close();
    }
}

#ifndef _WIN32

// What a pseudo-terminal doesn't keep: the size and the parity.
TEST(SerialLine, ControlBlockGivesTermios)
{
    // The flags of a refused block are 0; those of every accepted one are not.
    const struct { BYTE size, parity, stopBits; tcflag_t flags; } cases[] = {
        {8, NOPARITY, ONESTOPBIT, CS8},
        {7, ODDPARITY, TWOSTOPBITS, CS7 | PARENB | PARODD | CSTOPB},
        {6, EVENPARITY, ONESTOPBIT, CS6 | PARENB},
        {8, MARKPARITY, ONESTOPBIT, CS8 | PARENB | PARODD | CMSPAR},
        {5, SPACEPARITY, ONE5STOPBITS, CS5 | PARENB | CMSPAR | CSTOPB},
        {9, NOPARITY, ONESTOPBIT, 0},
        {8, 5, ONESTOPBIT, 0},
    };
    for (const auto& c : cases) {
        const bool accepted = c.flags != 0;
        DCB dcb = {};
        dcb.BaudRate = 9600, dcb.ByteSize = c.size, dcb.Parity = c.parity, dcb.StopBits = c.stopBits;
        dcb.fParity = c.parity != NOPARITY;
        termios settings = {};
        ASSERT_EQ(accepted, Posix::termiosFor(dcb, settings)) << int(c.size) << int(c.parity);
        EXPECT_EQ(c.flags, settings.c_cflag & (CSIZE | PARENB | PARODD | CMSPAR | CSTOPB));
        EXPECT_EQ(accepted && c.parity != NOPARITY, (settings.c_iflag & INPCK) != 0);
    }
}

#endif

} // namespace
