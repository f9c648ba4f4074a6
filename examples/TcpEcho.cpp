// tcp-echo: a TCP echo server and its client on loopback, in one process.
// The client sends each line of its input (a file, or - for standard input;
// a sample when none is named), checked and repaired as UTF-8 first, and
// prints what came back with the round-trip time. Both sides log through
// the Logger into a rolling series of files, whose directory is named at
// the end (the system's temporary directory unless --logs names one).
//   tcp-echo [--logs DIRECTORY] [FILE | -]
#include <Corvo.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

using namespace Vesk::Corvo;
using Vesk::Zim::Logger;

namespace {

const char* const sample = "hello, world\ncaf\xC3\xA9 \xE2\x82\xAC 5\nbroken \xFF bytes\n\xF0\x9F\x98\x80\n";

// Opens a listening TCP socket on the first free loopback port from 47000.
unsigned short listenOnLoopback(Win32Socket& listener)
{
    for (unsigned short port = 47000;; ++port) {
        listener.open(SocketAddress("127.0.0.1", port), TCP);
        try {
            listener.bind();
            listener.listen();
            return port;
        } catch (const TCPStreamException&) {
            listener.close();
            if (port == 47999)
                throw;
        }
    }
}

// The server: a thread with its listening socket and the one connection it
// serves, writing back everything it reads until the client closes. The
// sockets are made on the main thread, which keeps the count of sockets.
class EchoServer : public Win32Thread
{
public:
    EchoServer() : Win32Thread(&EchoServer::run) {}

    Win32Socket listener;
    Win32Socket connection;

private:
    // The thread's argument is the Win32Thread that started it.
    static void* run(void* thread)
    {
        EchoServer& self = *static_cast<EchoServer*>(static_cast<Win32Thread*>(thread));
        try {
            self.listener.accept(self.connection);
            for (Packet_T<char> packet = self.connection.read(256); packet.m_size != 0;
                 packet = self.connection.read(256))
                self.connection.write(packet);
            self.connection.close();
        } catch (const Exception& e) {
            std::fprintf(stderr, "server: %s\n", e.getDescription().c_str());
        }
        return nullptr;
    }
};

std::string readInput(const char* name)
{
    if (!name)
        return sample;
    std::ostringstream text;
    if (std::string(name) == "-") {
        text << std::cin.rdbuf();
    } else {
        std::ifstream file(name, std::ios::binary);
        if (!file)
            throw std::runtime_error(std::string("cannot read ") + name);
        text << file.rdbuf();
    }
    return text.str();
}

} // namespace

int main(int argc, char** argv)
{
    const bool logsNamed = argc > 2 && std::string(argv[1]) == "--logs";
    const std::filesystem::path logDirectory =
        logsNamed ? std::filesystem::path(argv[2]) : std::filesystem::temp_directory_path() / "corvo-tcp-echo";
    const char* inputName = argc > (logsNamed ? 3 : 1) ? argv[logsNamed ? 3 : 1] : nullptr;

    // The filter passes records at its level and above. Built before any
    // other use of the Logger, this one passes LogInfo, the lowest level, and
    // so this program's records; the default, LogDebug, would drop them and
    // keep only the library's own records of each socket call.
    Logger logger(Vesk::Zim::LogInfo);
    std::filesystem::create_directories(logDirectory);
    Vesk::Zim::LogToRollingFilePolicy logFiles(logDirectory.string(), "tcp-echo-%hu.log", 5,
                                               1024 * 1024);
    logger.addPolicy(logFiles, true);

    // The server lives as long as the process: after a failure its thread
    // may still wait for a client that never comes.
    EchoServer& server = *new EchoServer;
    try {
        std::istringstream input(readInput(inputName));

        const unsigned short port = listenOnLoopback(server.listener);
        server.start();

        Win32Socket client;
        client.open(SocketAddress("127.0.0.1", port), TCP);
        client.connect();
        std::printf("connected to the echo server on 127.0.0.1:%u\n", port);

        std::string line;
        while (std::getline(input, line)) {
            // Bad bytes become U+FFFD before the text goes out.
            const Utf8String text(line);
            const std::string bytes(text.c_str(), text.bytes());
            logger.log(Vesk::Zim::LogInfo, "tcp-echo", "sending " + numberToString(text.size()) + " code points");

            const auto start = std::chrono::steady_clock::now();
            client.send(Packet_T<char>(text.bytes(), bytes.data()));
            const Packet_T<char> echo = client.receive(text.bytes());
            const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;

            const std::string back(echo.m_buffer, echo.m_size);
            std::printf("%8.3f ms  %3u code points%s  %s\n", took.count(), text.size(),
                        isValidUtf8(line.data(), static_cast<unsigned>(line.size())) ? "" : " (repaired)",
                        back.c_str());
        }

        client.close();
        server.join(0xFFFFFFFFul);
        server.listener.close();
    } catch (const Exception& e) {
        std::fprintf(stderr, "%s\n", e.getDescription().c_str());
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    logger.disablePolicy(logFiles.getName());
    std::printf("log records are in %s\n", logDirectory.string().c_str());
    return 0;
}
