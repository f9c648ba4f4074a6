// Win32LocalHeap beside the process heap: each round allocates a batch of
// blocks of one size and frees them again, on one thread or two sharing one
// heap. calloc is the fair twin of the zero-filled heap; malloc shows what
// the zero fill costs. The ratios to calloc are printed at the end.
#include "CorvoLocalHeap.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

const int batch = 32;

std::unique_ptr<Vesk::Corvo::Win32LocalHeap> sharedHeap;

struct Malloc
{
    static void* allocate(std::size_t size) { return std::malloc(size); }
    static void release(void* block) { std::free(block); }
};

struct Calloc
{
    static void* allocate(std::size_t size) { return std::calloc(1, size); }
    static void release(void* block) { std::free(block); }
};

struct LocalHeap
{
    static void* allocate(std::size_t size) { return sharedHeap->allocate(static_cast<unsigned int>(size)); }
    static void release(void* block) { sharedHeap->free(block); }
};

template <typename Allocator>
void allocateAndFree(benchmark::State& state)
{
    const std::size_t size = static_cast<std::size_t>(state.range(0));
    void* blocks[batch];
    for (auto _ : state) {
        for (void*& block : blocks) {
            block = Allocator::allocate(size);
            benchmark::DoNotOptimize(block);
            static_cast<char*>(block)[size - 1] = 1;
        }
        for (void* block : blocks)
            Allocator::release(block);
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

#define HEAP_BENCHMARK(Allocator)                                                                  \
    BENCHMARK_TEMPLATE(allocateAndFree, Allocator)->RangeMultiplier(4)->Range(16, 4096)->Threads(1); \
    BENCHMARK_TEMPLATE(allocateAndFree, Allocator)->RangeMultiplier(4)->Range(16, 4096)->Threads(2)

HEAP_BENCHMARK(Malloc);
HEAP_BENCHMARK(Calloc);
HEAP_BENCHMARK(LocalHeap);

// Keeps the console output and the time of each run, by name.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            times[run.benchmark_name()] = run.GetAdjustedRealTime();
            names.push_back(run.benchmark_name());
        }
    }

    std::map<std::string, double> times;
    std::vector<std::string> names; // in the order of the runs
};

} // namespace

int main(int argc, char** argv)
{
    sharedHeap.reset(new Vesk::Corvo::Win32LocalHeap(0, 0));
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    // Real time: with two threads it is the time of the pair.
    std::cout << "\nWin32LocalHeap time / calloc time (malloc / calloc beside):\n";
    for (const std::string& name : reporter.names) {
        const std::string prefix = "allocateAndFree<LocalHeap>";
        if (name.compare(0, prefix.size(), prefix) != 0)
            continue;
        const std::string rest = name.substr(prefix.size());
        const auto calloc = reporter.times.find("allocateAndFree<Calloc>" + rest);
        const auto malloc = reporter.times.find("allocateAndFree<Malloc>" + rest);
        if (calloc == reporter.times.end() || malloc == reporter.times.end())
            continue;
        std::cout << std::setw(28) << std::left << rest << std::fixed << std::setprecision(2)
                  << reporter.times[name] / calloc->second << "  (" << malloc->second / calloc->second << ")\n";
    }
    sharedHeap.reset();
    return 0;
}
