// A console reporter for benchmarks that come in pairs, "Case/Corvo" and
// "Case/<reference>": after the usual table it prints, per case, Corvo's
// time over the reference's (below 1: Corvo is faster), in real time and in
// CPU time, which a loaded machine disturbs less.
#ifndef CORVO_BENCH_RATIO_REPORTER_H
#define CORVO_BENCH_RATIO_REPORTER_H

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>

namespace corvo_bench {

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred || (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median"))
                continue;
            const std::string& name = run.run_name.function_name;
            const std::size_t slash = name.find('/');
            if (slash == std::string::npos)
                continue;
            std::string side = name.substr(slash + 1);
            side = side.substr(0, side.find('/'));
            Pair& pair = m_pairs[name.substr(0, slash)];
            Times& times = side == "Corvo" ? pair.corvo : pair.reference;
            times.real = run.GetAdjustedRealTime();
            times.cpu = run.GetAdjustedCPUTime();
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n%-40s %10s %10s\n", "case", "Corvo/ref", "CPU");
        for (const auto& entry : m_pairs) {
            const Pair& pair = entry.second;
            if (pair.corvo.real > 0 && pair.reference.real > 0 && pair.reference.cpu > 0)
                std::printf("%-40s %10.2f %10.2f\n", entry.first.c_str(), pair.corvo.real / pair.reference.real,
                            pair.corvo.cpu / pair.reference.cpu);
        }
    }

private:
    struct Times
    {
        double real = 0, cpu = 0;
    };
    struct Pair
    {
        Times corvo, reference;
    };
    std::map<std::string, Pair> m_pairs;
};

// The main of a benchmark program that prints the ratios.
inline int runWithRatios(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

} // namespace corvo_bench

#endif
