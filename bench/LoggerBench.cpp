// The Logger beside spdlog, record for record: the same line length, a flush
// per record on both sides, files on the directory given as the first
// argument (default /dev/shm). A raw write(2) of the same line is the limit.
// Rounds are interleaved; the medians and their ratios are printed.
//
//   corvo_log_bench [directory] [rounds] [records]
#include "ZimLogToRollingFilePolicy.h"
#include "ZimLogger.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

using Vesk::Zim::Logger;
using Vesk::Zim::LogDebug;

namespace {

const std::string tag = "bench";
// Corvo's head: "yyyy/mm/dd hh:mm:ss [[DEBUG]bench] "; spdlog prints the same.
const char* const pattern = "%t - %Y/%m/%d %H:%M:%S [[DEBUG]bench] %v";
// A rolling line has one column more, " - <record number> - ": spdlog's text
// is longer by as much, for record numbers of six digits.
const std::string rollingPad = "123456 - ";
const std::string text(64, 'x');

std::string directory = "/dev/shm";
unsigned records = 40000;

std::string path(const std::string& name) { return directory + "/corvo-log-bench-" + name; }

void removeSeries(const std::string& dir)
{
    for (int i = 0; i < 10; ++i) {
        std::remove((dir + "/c-" + std::to_string(i) + ".log").c_str());
        std::remove((dir + "/s.log").c_str());
        std::remove((dir + "/s." + std::to_string(i) + ".log").c_str());
    }
}

double timed(unsigned threads, const std::function<void()>& perThread)
{
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> workers;
    for (unsigned t = 1; t < threads; ++t)
        workers.emplace_back(perThread);
    perThread();
    for (std::thread& worker : workers)
        worker.join();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    return records / seconds.count();
}

std::size_t firstLineLength(const std::string& file)
{
    std::ifstream in(file.c_str());
    std::string line;
    std::getline(in, line);
    return line.size() + 1;
}

std::map<std::string, std::size_t> lineLengths;

double corvoFile(unsigned threads)
{
    const std::string file = path("corvo.log");
    std::remove(file.c_str());
    double rate;
    {
        Vesk::Zim::LogToFilePolicy policy(file);
        Logger::getSingleton().addPolicy(policy, true);
        rate = timed(threads, [threads] {
            for (unsigned i = 0; i < records / threads; ++i)
                Logger::getSingleton().log(LogDebug, tag, text);
        });
        Logger::getSingleton().disablePolicy("file");
    }
    lineLengths["corvo file"] = firstLineLength(file);
    return rate;
}

double spdlogRun(const std::shared_ptr<spdlog::logger>& logger, unsigned threads, const std::string& line)
{
    logger->set_pattern(pattern);
    logger->flush_on(spdlog::level::trace);
    return timed(threads, [&] {
        for (unsigned i = 0; i < records / threads; ++i)
            logger->info(line);
    });
}

double spdlogFile(unsigned threads)
{
    const std::string file = path("spdlog.log");
    std::remove(file.c_str());
    const double rate =
        spdlogRun(std::make_shared<spdlog::logger>("f", std::make_shared<spdlog::sinks::basic_file_sink_mt>(file)),
                  threads, text);
    lineLengths["spdlog file"] = firstLineLength(file);
    return rate;
}

double corvoRolling()
{
    const std::string dir = path("rolling");
    removeSeries(dir);
    double rate;
    {
        Vesk::Zim::LogToRollingFilePolicy policy(dir, "c-%hu.log", 5, 1 << 20);
        Logger::getSingleton().addPolicy(policy, true);
        rate = timed(1, [] {
            for (unsigned i = 0; i < records; ++i)
                Logger::getSingleton().log(LogDebug, tag, text);
        });
        Logger::getSingleton().disablePolicy("file");
    }
    lineLengths["corvo rolling"] = firstLineLength(dir + "/c-1.log") + 5; // "0" -> "123456"
    return rate;
}

double spdlogRolling()
{
    const std::string dir = path("rolling");
    removeSeries(dir);
    const double rate = spdlogRun(
        std::make_shared<spdlog::logger>(
            "r", std::make_shared<spdlog::sinks::rotating_file_sink_mt>(dir + "/s.log", 1 << 20, 5)),
        1, rollingPad + text);
    lineLengths["spdlog rolling"] = firstLineLength(dir + "/s.log");
    return rate;
}

double corvoConsole()
{
    Logger::getSingleton().logToConsole(true);
    const double rate = timed(1, [] {
        for (unsigned i = 0; i < records; ++i)
            Logger::getSingleton().log(LogDebug, tag, text);
    });
    Logger::getSingleton().logToConsole(false);
    return rate;
}

double spdlogConsole()
{
    return spdlogRun(std::make_shared<spdlog::logger>("c", std::make_shared<spdlog::sinks::stdout_sink_mt>()), 1,
                     text);
}

// The line that the file case writes, written as it stands.
double rawWrite()
{
    const std::string file = path("raw.log");
    const std::string line = std::to_string(gettid()) + " - 2026/01/01 00:00:00 [[DEBUG]bench] " + text + "\n";
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
    const double rate = timed(1, [&] {
        for (unsigned i = 0; i < records; ++i)
            if (write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
                std::abort();
    });
    close(fd);
    lineLengths["raw write"] = line.size();
    return rate;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1)
        directory = argv[1];
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 12;
    if (argc > 3)
        records = static_cast<unsigned>(std::atoi(argv[3]));
    ::mkdir(path("rolling").c_str(), 0755);

    // The console cases write to /dev/null; the report goes to the old output.
    FILE* report = fdopen(dup(1), "w");
    if (!std::freopen("/dev/null", "w", stdout))
        return 1;
    Logger::getSingleton();

    struct Case
    {
        const char* name;
        std::function<double()> corvo;
        std::function<double()> other;
    };
    const std::vector<Case> cases = {
        {"file, 1 thread", [] { return corvoFile(1); }, [] { return spdlogFile(1); }},
        {"file, 4 threads", [] { return corvoFile(4); }, [] { return spdlogFile(4); }},
        {"rolling 1 MiB x 5, 1 thread", corvoRolling, spdlogRolling},
        {"console to /dev/null", corvoConsole, spdlogConsole},
        {"file, 1 thread, vs raw write(2)", [] { return corvoFile(1); }, rawWrite},
    };
    std::vector<std::vector<double>> corvo(cases.size()), other(cases.size()), ratio(cases.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t c = 0; c < cases.size(); ++c) {
            // Alternate who goes first, so that neither side always gets the
            // warmer page cache.
            double a, b;
            if (round % 2) {
                b = cases[c].other();
                a = cases[c].corvo();
            } else {
                a = cases[c].corvo();
                b = cases[c].other();
            }
            corvo[c].push_back(a);
            other[c].push_back(b);
            ratio[c].push_back(a / b);
        }
    }

    std::fprintf(report, "%d rounds of %u records, files in %s; medians in records/s\n", rounds, records,
                 directory.c_str());
    std::fprintf(report, "%-34s %12s %12s %8s\n", "case", "Corvo", "other", "ratio");
    for (std::size_t c = 0; c < cases.size(); ++c)
        std::fprintf(report, "%-34s %11.0fk %11.0fk %8.2f\n", cases[c].name, median(corvo[c]) / 1000,
                     median(other[c]) / 1000, median(ratio[c]));
    std::fprintf(report, "line lengths:");
    for (const auto& entry : lineLengths)
        std::fprintf(report, " %s %zu;", entry.first.c_str(), entry.second);
    std::fprintf(report, "\n");
    std::fclose(report);
    return 0;
}
