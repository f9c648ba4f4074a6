// Win32FileStream64 beside write(2) and read(2) on the same file in tmpfs,
// chunk by chunk, and beside POCO's FileInputStream for reads; the ratios
// of their throughputs at the end. Both read forms: into a packet (one
// copy, by design) and into the caller's buffer. The ratios are of CPU
// times: on tmpfs nothing waits, and on a loaded machine the real time
// mostly measures the wait for a processor.
#include "CorvoFileStream64.h"

#include <Poco/FileStream.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

using Vesk::Corvo::Packet_T;
using Vesk::Corvo::Win32FileStream64;

namespace {

// The file goes back to its start after this many bytes, so that every
// form moves the same bytes of the same file.
const long fileSize = 64L << 20;

std::string benchFile() { return "/dev/shm/corvo-stream-bench-" + std::to_string(getpid()); }

void prepareFile()
{
    const int fd = open(benchFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const std::vector<char> block(1 << 20, 'f');
    for (long done = 0; done < fileSize; done += long(block.size()))
        if (write(fd, block.data(), block.size()) != long(block.size()))
            std::perror("write");
    close(fd);
}

// Runs step(chunk) over the file, rewinding with rewind() at its end.
template <typename Step, typename Rewind>
void run(benchmark::State& state, Step step, Rewind rewind)
{
    const long chunk = state.range(0);
    long position = 0;
    for (auto _ : state) {
        if (position + chunk > fileSize) {
            rewind();
            position = 0;
        }
        step(chunk);
        position += chunk;
    }
    state.SetBytesProcessed(state.iterations() * chunk);
}

void writeRaw(benchmark::State& state)
{
    const int fd = open(benchFile().c_str(), O_WRONLY);
    std::vector<char> buffer(state.range(0), 'w');
    run(state, [&](long chunk) { benchmark::DoNotOptimize(write(fd, buffer.data(), chunk)); },
        [&] { lseek(fd, 0, SEEK_SET); });
    close(fd);
}

void writeStream(benchmark::State& state)
{
    Win32FileStream64 file;
    file.open(benchFile(), "r+");
    std::vector<char> buffer(state.range(0), 'w');
    run(state, [&](long chunk) { file.write(buffer.data(), unsigned(chunk)); }, [&] { file.setOffset(0); });
    file.close();
}

void readRaw(benchmark::State& state)
{
    const int fd = open(benchFile().c_str(), O_RDONLY);
    std::vector<char> buffer(state.range(0));
    run(state, [&](long chunk) { benchmark::DoNotOptimize(read(fd, buffer.data(), chunk)); },
        [&] { lseek(fd, 0, SEEK_SET); });
    close(fd);
}

void readStreamBuffer(benchmark::State& state)
{
    Win32FileStream64 file;
    file.open(benchFile(), "r");
    std::vector<char> buffer(state.range(0));
    run(state, [&](long chunk) { file.read(buffer.data(), unsigned(chunk)); }, [&] { file.setOffset(0); });
    file.close();
}

void readPoco(benchmark::State& state)
{
    Poco::FileInputStream file(benchFile());
    std::vector<char> buffer(state.range(0));
    run(state, [&](long chunk) { file.read(buffer.data(), chunk); },
        [&] {
            file.clear();
            file.seekg(0);
        });
}

void readStreamPacket(benchmark::State& state)
{
    Win32FileStream64 file;
    file.open(benchFile(), "r");
    run(state,
        [&](long chunk) {
            Packet_T<char> packet = file.read(unsigned(chunk));
            benchmark::DoNotOptimize(packet.m_buffer);
        },
        [&] { file.setOffset(0); });
    file.close();
}

// Keeps the time of every run for the table of ratios: the median where
// runs are repeated (--benchmark_repetitions), else the one run.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration ? !run.repetitions || run.repetitions == 1
                                                  : run.aggregate_name == "median")
                seconds[run.run_name.str()] = run.GetAdjustedCPUTime();
    }
    std::map<std::string, double> seconds;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    // Each raw form right beside its stream forms, so that a change in the
    // machine's load falls on both sides of a ratio alike.
    const std::pair<const char*, void (*)(benchmark::State&)> forms[] = {
        {"writeRaw", writeRaw},
        {"writeStream", writeStream},
        {"readRaw", readRaw},
        {"readStreamBuffer", readStreamBuffer},
        {"readStreamPacket", readStreamPacket},
        {"readPoco", readPoco}};
    for (long chunk : {64L, 4L << 10, 64L << 10, 1L << 20})
        for (const auto& form : forms)
            benchmark::RegisterBenchmark(form.first, form.second)->Arg(chunk);
    prepareFile();
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    unlink(benchFile().c_str());

    std::printf("\nthroughput of Win32FileStream64 / raw (1.00 = as fast as write(2) or read(2))\n");
    std::printf("%10s %8s %14s %14s %10s\n", "chunk", "write", "read(buffer)", "read(packet)", "POCO/Corvo");
    for (const char* chunk : {"64", "4096", "65536", "1048576"}) {
        auto ratio = [&](const std::string& raw, const std::string& stream) {
            const auto r = reporter.seconds.find(raw + "/" + chunk), s = reporter.seconds.find(stream + "/" + chunk);
            return r == reporter.seconds.end() || s == reporter.seconds.end() ? 0.0 : r->second / s->second;
        };
        std::printf("%10s %8.2f %14.2f %14.2f %10.2f\n", chunk, ratio("writeRaw", "writeStream"),
                    ratio("readRaw", "readStreamBuffer"), ratio("readRaw", "readStreamPacket"),
                    ratio("readPoco", "readStreamPacket"));
    }
    return 0;
}
