// The Logger beside spdlog and POCO, record for record: lines of the same
// length, a flush per record on every side, files on the directory given as
// the first argument (default /dev/shm). A raw write(2) of the same line is
// the limit. Rounds are interleaved, each round in another order; the
// medians of the time per record and of the ratios are printed, a ratio
// being the peer's time over Corvo's (above 1: Corvo is faster). A fourth
// argument runs only the cases whose name holds it, as under callgrind:
//
//   corvo_log_bench [directory] [rounds] [records] [case]
#include "ZimLogToRollingFilePolicy.h"
#include "ZimLogger.h"

#include <Poco/AutoPtr.h>
#include <Poco/FileChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>
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
#include <filesystem>
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
// Corvo's head: "yyyy/mm/dd hh:mm:ss [[DEBUG]bench] ", which the peers print
// too, behind the thread number (POCO's own thread numbers are 0 outside
// its threads: it prints the process number, as long on the main thread).
const char* const spdlogPattern = "%t - %Y/%m/%d %H:%M:%S [[DEBUG]bench] %v";
const char* const pocoPattern = "%P - %L%Y/%m/%d %H:%M:%S [[DEBUG]bench] %t";
// A rolling line has one column more, " - <record number> - ": the peers'
// text is longer by as much, for record numbers of six digits.
const std::string rollingPad = "123456 - ";
const unsigned long long rollingSize = 64 << 10;
const unsigned short rollingFiles = 5;

std::string directory = "/dev/shm";
unsigned baseRecords = 40000;

std::string path(const std::string& name) { return directory + "/corvo-log-bench-" + name; }

void freshDirectory(const std::string& dir)
{
    std::filesystem::remove_all(dir);
    std::filesystem::create_directory(dir);
}

// Nanoseconds per record, for records spread over threads.
double timed(unsigned threads, unsigned records, const std::function<void(unsigned count)>& perThread)
{
    const unsigned each = records / threads;
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> workers;
    for (unsigned t = 1; t < threads; ++t)
        workers.emplace_back(perThread, each);
    perThread(each);
    for (std::thread& worker : workers)
        worker.join();
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / (each * threads);
}

std::map<std::string, std::size_t> lineLengths;

// What one side does for one case: the text, the threads, the records.
struct Load
{
    std::string text;
    unsigned threads;
    unsigned records;
};

void noteLineLength(const std::string& side, const Load& load, const std::string& file)
{
    std::ifstream in(file.c_str());
    std::string line;
    std::getline(in, line);
    lineLengths[side + "/" + std::to_string(load.text.size())] = line.size() + 1;
}

double corvoFile(const Load& load)
{
    const std::string file = path("corvo.log");
    std::remove(file.c_str());
    double ns;
    {
        Vesk::Zim::LogToFilePolicy policy(file);
        Logger::getSingleton().addPolicy(policy, true);
        ns = timed(load.threads, load.records, [&load](unsigned count) {
            for (unsigned i = 0; i < count; ++i)
                Logger::getSingleton().log(LogDebug, tag, load.text);
        });
        Logger::getSingleton().disablePolicy("file");
    }
    noteLineLength("Corvo", load, file);
    return ns;
}

double spdlogRun(const std::shared_ptr<spdlog::logger>& logger, const Load& load, const std::string& text)
{
    logger->set_pattern(spdlogPattern);
    logger->flush_on(spdlog::level::trace);
    return timed(load.threads, load.records, [&](unsigned count) {
        for (unsigned i = 0; i < count; ++i)
            logger->info(text);
    });
}

double spdlogFile(const Load& load)
{
    const std::string file = path("spdlog.log");
    std::remove(file.c_str());
    const double ns = spdlogRun(
        std::make_shared<spdlog::logger>("f", std::make_shared<spdlog::sinks::basic_file_sink_mt>(file)), load,
        load.text);
    noteLineLength("spdlog", load, file);
    return ns;
}

// Through a Poco::Logger, as an application logs: message, pattern, channel.
double pocoRun(Poco::Channel* channel, const Load& load, const std::string& text)
{
    Poco::AutoPtr<Poco::Channel> target(channel);
    Poco::AutoPtr<Poco::FormattingChannel> formatting(
        new Poco::FormattingChannel(new Poco::PatternFormatter(pocoPattern), target));
    Poco::Logger& logger = Poco::Logger::get("bench");
    logger.setChannel(formatting);
    logger.setLevel(Poco::Message::PRIO_TRACE);
    const double ns = timed(load.threads, load.records, [&](unsigned count) {
        for (unsigned i = 0; i < count; ++i)
            logger.debug(text);
    });
    logger.setChannel(nullptr);
    return ns;
}

double pocoFile(const Load& load)
{
    const std::string file = path("poco.log");
    std::remove(file.c_str());
    const double ns = pocoRun(new Poco::FileChannel(file), load, load.text);
    noteLineLength("POCO", load, file);
    return ns;
}

// The line that the file case writes, written as it stands, by every thread
// to one descriptor opened for appending.
double rawWrite(const Load& load)
{
    const std::string file = path("raw.log");
    const std::string line = std::to_string(gettid()) + " - 2026/01/01 00:00:00 [[DEBUG]bench] " + load.text + "\n";
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
    const double ns = timed(load.threads, load.records, [&](unsigned count) {
        for (unsigned i = 0; i < count; ++i)
            if (write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
                std::abort();
    });
    close(fd);
    lineLengths["raw/" + std::to_string(load.text.size())] = line.size();
    return ns;
}

double corvoRolling(const Load& load)
{
    const std::string dir = path("corvo-rolling");
    freshDirectory(dir);
    double ns;
    {
        Vesk::Zim::LogToRollingFilePolicy policy(dir, "c-%hu.log", rollingFiles, rollingSize);
        Logger::getSingleton().addPolicy(policy, true);
        ns = timed(1, load.records, [&load](unsigned count) {
            for (unsigned i = 0; i < count; ++i)
                Logger::getSingleton().log(LogDebug, tag, load.text);
        });
        Logger::getSingleton().disablePolicy("file");
    }
    return ns;
}

double spdlogRolling(const Load& load)
{
    const std::string dir = path("spdlog-rolling");
    freshDirectory(dir);
    return spdlogRun(std::make_shared<spdlog::logger>("r", std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
                                                                dir + "/s.log", rollingSize, rollingFiles - 1)),
                     load, rollingPad + load.text);
}

double pocoRolling(const Load& load)
{
    const std::string dir = path("poco-rolling");
    freshDirectory(dir);
    Poco::FileChannel* channel = new Poco::FileChannel(dir + "/p.log");
    channel->setProperty("rotation", std::to_string(rollingSize / 1024) + " K");
    channel->setProperty("archive", "number");
    channel->setProperty("purgeCount", std::to_string(rollingFiles - 1));
    return pocoRun(channel, load, rollingPad + load.text);
}

double corvoConsole(const Load& load)
{
    Logger::getSingleton().logToConsole(true);
    const double ns = timed(1, load.records, [&load](unsigned count) {
        for (unsigned i = 0; i < count; ++i)
            Logger::getSingleton().log(LogDebug, tag, load.text);
    });
    Logger::getSingleton().logToConsole(false);
    return ns;
}

double spdlogConsole(const Load& load)
{
    return spdlogRun(std::make_shared<spdlog::logger>("c", std::make_shared<spdlog::sinks::stdout_sink_mt>()), load,
                     load.text);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

struct Side
{
    const char* name;
    std::function<double(const Load&)> run;
};

// The first side is Corvo's.
struct Case
{
    std::string name;
    Load load;
    std::vector<Side> sides;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1)
        directory = argv[1];
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 11;
    if (argc > 3)
        baseRecords = static_cast<unsigned>(std::atoi(argv[3]));

    // The console cases write to /dev/null; the report goes to the old output.
    FILE* report = fdopen(dup(1), "w");
    if (!std::freopen("/dev/null", "w", stdout))
        return 1;
    Logger::getSingleton();

    const Side corvo{"Corvo", corvoFile}, spdlog{"spdlog", spdlogFile}, poco{"POCO", pocoFile}, raw{"raw", rawWrite};
    const std::string small(64, 'x'), kilo(1024, 'x'), large(16 << 10, 'x');
    std::vector<Case> cases = {
        {"file 64 B, 1 thread", {small, 1, baseRecords}, {corvo, spdlog, poco, raw}},
        {"file 64 B, 4 threads", {small, 4, baseRecords}, {corvo, spdlog, poco, raw}},
        {"file 1 KiB, 1 thread", {kilo, 1, baseRecords / 4}, {corvo, spdlog, poco, raw}},
        {"file 16 KiB, 1 thread", {large, 1, baseRecords / 40}, {corvo, spdlog, poco, raw}},
        {"rolling 64 KiB x 5, 1 thread",
         {small, 1, baseRecords},
         {{"Corvo", corvoRolling}, {"spdlog", spdlogRolling}, {"POCO", pocoRolling}, raw}},
        {"console to /dev/null", {small, 1, baseRecords}, {{"Corvo", corvoConsole}, {"spdlog", spdlogConsole}}},
    };
    if (argc > 4)
        cases.erase(std::remove_if(cases.begin(), cases.end(),
                                   [&](const Case& c) { return c.name.find(argv[4]) == std::string::npos; }),
                    cases.end());

    // times[case][side][round]; ratios[case][side][round], peer over Corvo.
    std::vector<std::vector<std::vector<double>>> times(cases.size()), ratios(cases.size());
    for (std::size_t c = 0; c < cases.size(); ++c) {
        times[c].resize(cases[c].sides.size());
        ratios[c].resize(cases[c].sides.size());
    }
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t c = 0; c < cases.size(); ++c) {
            // Each round starts with another side, so that none always gets
            // the warmer caches.
            const std::size_t n = cases[c].sides.size();
            std::vector<double> ns(n);
            for (std::size_t k = 0; k < n; ++k) {
                const std::size_t s = (k + static_cast<std::size_t>(round)) % n;
                ns[s] = cases[c].sides[s].run(cases[c].load);
            }
            for (std::size_t s = 0; s < n; ++s) {
                times[c][s].push_back(ns[s]);
                ratios[c][s].push_back(ns[s] / ns[0]);
            }
        }
    }

    std::fprintf(report, "%d rounds, %u records of 64 B a round (fewer of the longer), files in %s\n", rounds,
                 baseRecords, directory.c_str());
    // One line per case: each side's median, from the side `first` on.
    auto table = [&](const char* title, const auto& values, std::size_t first, const char* format) {
        std::fprintf(report, "%s\n", title);
        for (std::size_t c = 0; c < cases.size(); ++c) {
            std::fprintf(report, "  %-30s", cases[c].name.c_str());
            for (std::size_t s = first; s < cases[c].sides.size(); ++s)
                std::fprintf(report, format, cases[c].sides[s].name, median(values[c][s]));
            std::fprintf(report, "\n");
        }
    };
    table("medians in ns per record:", times, 0, " %s %.0f;");
    table("ratios, peer's time over Corvo's (above 1: Corvo is faster):", ratios, 1, " %s %.2f;");
    std::fprintf(report, "line lengths, side/text:");
    for (const auto& entry : lineLengths)
        std::fprintf(report, " %s %zu;", entry.first.c_str(), entry.second);
    std::fprintf(report, "\n");
    std::fclose(report);
    return 0;
}
