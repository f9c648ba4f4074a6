// A console reporter for benchmarks that come in pairs, "Case/Corvo" and
// "Case/<reference>": after the usual table it prints, per case, Corvo's
// time over the reference's (below 1: Corvo is faster).
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
            (side == "Corvo" ? pair.corvo : pair.reference) = run.GetAdjustedRealTime();
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n%-40s %10s\n", "case", "Corvo/ref");
        for (const auto& entry : m_pairs)
            if (entry.second.corvo > 0 && entry.second.reference > 0)
                std::printf("%-40s %10.2f\n", entry.first.c_str(),
                            entry.second.corvo / entry.second.reference);
    }

private:
    struct Pair
    {
        double corvo = 0, reference = 0;
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
