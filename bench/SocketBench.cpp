// Win32Socket beside the same traffic through raw send(2)/recv(2) on
// loopback: 64 KiB throughput each way, and the round trip of 64 bytes
// (p50 and p99) against an echo thread. The peer thread is the same raw code
// for both sides of each pair; the ratios are printed at the end.
#include "CorvoSocket.h"
#include "ZimLogger.h"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <thread>
#include <vector>

using namespace Vesk::Corvo;

namespace {

const int chunk = 64 * 1024;
const int small = 64;

// A raw listener on a free loopback port.
int rawListener(unsigned short& port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(fd, 1) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        std::abort();
    port = ntohs(address.sin_port);
    return fd;
}

int rawConnect(unsigned short port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        std::abort();
    return fd;
}

bool rawSendAll(int fd, const char* data, int size)
{
    for (int done = 0; done < size;) {
        const ssize_t count = ::send(fd, data + done, static_cast<std::size_t>(size - done), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        done += static_cast<int>(count);
    }
    return true;
}

bool rawReceiveAll(int fd, char* data, int size)
{
    for (int done = 0; done < size;) {
        const ssize_t count = ::recv(fd, data + done, static_cast<std::size_t>(size - done), 0);
        if (count <= 0)
            return false;
        done += static_cast<int>(count);
    }
    return true;
}

// The raw peer's work: swallow everything, feed chunks, or echo 64 bytes.
enum PeerWork { Drain, Feed, Echo };

void runPeer(int fd, PeerWork work)
{
    std::vector<char> buffer(chunk, 'p');
    bool going = true;
    while (going) {
        if (work == Drain)
            going = ::recv(fd, buffer.data(), chunk, 0) > 0;
        else if (work == Feed)
            going = rawSendAll(fd, buffer.data(), chunk);
        else
            going = rawReceiveAll(fd, buffer.data(), small) && rawSendAll(fd, buffer.data(), small);
    }
    ::close(fd);
}

// One connection on loopback whose far end is a raw peer thread; the near
// end is a Win32Socket or a raw descriptor.
struct Connection
{
    Connection(PeerWork work, bool throughClass)
    {
        unsigned short port;
        const int listener = rawListener(port);
        if (throughClass) {
            socket.open(SocketAddress("127.0.0.1", port), TCP);
            socket.connect();
        } else {
            fd = rawConnect(port);
        }
        const int accepted = ::accept(listener, nullptr, nullptr);
        ::close(listener);
        peer = std::thread(runPeer, accepted, work);
    }
    ~Connection()
    {
        if (fd >= 0) {
            ::shutdown(fd, SHUT_RDWR);
            ::close(fd);
        } else {
            socket.close();
        }
        peer.join();
    }

    Win32Socket socket;
    int fd = -1;
    std::thread peer;
};

void Send64K(benchmark::State& state, bool throughClass)
{
    Connection connection(Drain, throughClass);
    const std::vector<char> data(chunk, 'd');
    const Packet_T<char> packet(chunk, data.data());
    for (auto _ : state) {
        if (throughClass)
            connection.socket.send(packet);
        else
            rawSendAll(connection.fd, data.data(), chunk);
    }
    state.SetBytesProcessed(state.iterations() * chunk);
}

void Receive64K(benchmark::State& state, bool throughClass)
{
    Connection connection(Feed, throughClass);
    std::vector<char> data(chunk);
    for (auto _ : state) {
        if (throughClass)
            benchmark::DoNotOptimize(connection.socket.receive(chunk).m_buffer);
        else
            rawReceiveAll(connection.fd, data.data(), chunk);
    }
    state.SetBytesProcessed(state.iterations() * chunk);
}

void RoundTrip64(benchmark::State& state, bool throughClass)
{
    Connection connection(Echo, throughClass);
    std::vector<char> data(small, 'r');
    const Packet_T<char> packet(small, data.data());
    std::vector<double> times;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (throughClass) {
            connection.socket.write(packet);
            for (unsigned int got = 0; got < small;)
                got += connection.socket.read(small - got).m_size;
        } else {
            rawSendAll(connection.fd, data.data(), small);
            rawReceiveAll(connection.fd, data.data(), small);
        }
        times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    state.counters["p50_us"] = times[times.size() / 2];
    state.counters["p99_us"] = times[times.size() * 99 / 100];
}

// Pairs run one after the other, for a second each, on the wall clock: the
// peer thread's work counts.
BENCHMARK_CAPTURE(Send64K, Win32Socket, true)->MinTime(1.0)->UseRealTime();
BENCHMARK_CAPTURE(Send64K, raw, false)->MinTime(1.0)->UseRealTime();
BENCHMARK_CAPTURE(Receive64K, Win32Socket, true)->MinTime(1.0)->UseRealTime();
BENCHMARK_CAPTURE(Receive64K, raw, false)->MinTime(1.0)->UseRealTime();
BENCHMARK_CAPTURE(RoundTrip64, Win32Socket, true)->MinTime(1.0)->UseRealTime();
BENCHMARK_CAPTURE(RoundTrip64, raw, false)->MinTime(1.0)->UseRealTime();

// Keeps each run's figures for the ratios.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            // "Send64K/raw/min_time:1.000/real_time" is kept as "Send64K/raw".
            const std::string name = run.benchmark_name();
            Figures& figures = results[name.substr(0, name.find('/', name.find('/') + 1))];
            figures.time = run.GetAdjustedRealTime();
            for (const auto& counter : run.counters)
                figures.counters[counter.first] = counter.second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    struct Figures
    {
        double time = 0;
        std::map<std::string, double> counters;
    };
    std::map<std::string, Figures> results;
};

} // namespace

int main(int argc, char** argv)
{
    // Built before the benchmarks' threads, as the Logger asks.
    Vesk::Zim::Logger::getSingleton();
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\nWin32Socket against raw (above 1 is slower):\n");
    for (const char* name : {"Send64K", "Receive64K", "RoundTrip64"}) {
        const auto own = reporter.results.find(std::string(name) + "/Win32Socket");
        const auto raw = reporter.results.find(std::string(name) + "/raw");
        if (own == reporter.results.end() || raw == reporter.results.end())
            continue;
        if (std::string(name) == "RoundTrip64")
            std::printf("  %-12s p50 %.3fx  p99 %.3fx\n", name,
                        own->second.counters["p50_us"] / raw->second.counters["p50_us"],
                        own->second.counters["p99_us"] / raw->second.counters["p99_us"]);
        else
            std::printf("  %-12s time %.3fx (throughput %.3fx of raw)\n", name,
                        own->second.time / raw->second.time, raw->second.time / own->second.time);
    }
    return 0;
}
