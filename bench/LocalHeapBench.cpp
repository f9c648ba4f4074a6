// Win32LocalHeap beside the private heaps of mimalloc (mi_heap_zalloc) and
// jemalloc (an arena of its own, mallocx with MALLOCX_ZERO), and beside
// glibc's calloc: each round allocates a batch of zero-filled blocks of one
// size and frees them again, on one thread or two sharing one heap. The
// ratios, peer's time over Corvo's, are printed at the end; run with
// --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true for
// medians of interleaved runs.
//
// Both peers replace malloc when they are linked, so they are loaded with
// dlopen, each in its own namespace: calloc stays glibc's. jemalloc needs
// more static TLS than glibc keeps for libraries loaded late, so the
// program starts itself again with a larger reserve when it is short.
#include "CorvoLocalHeap.h"

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

const int batch = 32;

std::unique_ptr<Vesk::Corvo::Win32LocalHeap> sharedHeap;

// The few entry points of a peer, resolved at start.
template <typename Function>
Function resolve(void* library, const char* name)
{
    void* symbol = library != nullptr ? dlsym(library, name) : nullptr;
    return reinterpret_cast<Function>(symbol);
}

struct MimallocCalls
{
    void* (*heapNew)() = nullptr;
    void* (*heapZalloc)(void*, std::size_t) = nullptr;
    void (*free)(void*) = nullptr;
} mimalloc;

struct JemallocCalls
{
    void* (*mallocx)(std::size_t, int) = nullptr;
    void (*dallocx)(void*, int) = nullptr;
    int (*mallctl)(const char*, void*, std::size_t*, void*, std::size_t) = nullptr;
    unsigned arena = 0;
} jemalloc;

// jemalloc's flags, as its header spells them.
int jemallocArena(unsigned arena) { return static_cast<int>((arena + 1) << 20); }
const int jemallocZero = 0x40;

bool loadPeers()
{
    void* mi = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
    mimalloc.heapNew = resolve<void* (*)()>(mi, "mi_heap_new");
    mimalloc.heapZalloc = resolve<void* (*)(void*, std::size_t)>(mi, "mi_heap_zalloc");
    mimalloc.free = resolve<void (*)(void*)>(mi, "mi_free");
    void* je = dlopen("libjemalloc.so.2", RTLD_NOW | RTLD_LOCAL);
    jemalloc.mallocx = resolve<void* (*)(std::size_t, int)>(je, "mallocx");
    jemalloc.dallocx = resolve<void (*)(void*, int)>(je, "dallocx");
    jemalloc.mallctl = resolve<int (*)(const char*, void*, std::size_t*, void*, std::size_t)>(je, "mallctl");
    std::size_t length = sizeof jemalloc.arena;
    if (mimalloc.heapNew == nullptr || mimalloc.heapZalloc == nullptr || mimalloc.free == nullptr ||
        jemalloc.mallocx == nullptr || jemalloc.dallocx == nullptr || jemalloc.mallctl == nullptr ||
        jemalloc.mallctl("arenas.create", &jemalloc.arena, &length, nullptr, 0) != 0)
        return false;
    return true;
}

struct Calloc
{
    static void* allocate(std::size_t size) { return std::calloc(1, size); }
    static void release(void* block) { std::free(block); }
};

// A mimalloc heap serves only the thread that made it: one per thread.
struct Mimalloc
{
    static void* allocate(std::size_t size)
    {
        thread_local void* heap = mimalloc.heapNew();
        return mimalloc.heapZalloc(heap, size);
    }
    static void release(void* block) { mimalloc.free(block); }
};

struct Jemalloc
{
    static void* allocate(std::size_t size)
    {
        return jemalloc.mallocx(size, jemallocArena(jemalloc.arena) | jemallocZero);
    }
    static void release(void* block) { jemalloc.dallocx(block, 0); }
};

struct Corvo
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
    BENCHMARK_TEMPLATE(allocateAndFree, Allocator)->RangeMultiplier(16)->Range(16, 4096)->Threads(1); \
    BENCHMARK_TEMPLATE(allocateAndFree, Allocator)->RangeMultiplier(16)->Range(16, 4096)->Threads(2)

HEAP_BENCHMARK(Corvo);
HEAP_BENCHMARK(Calloc);
HEAP_BENCHMARK(Mimalloc);
HEAP_BENCHMARK(Jemalloc);

// Keeps the time of each run, by name.
class TimeReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration ? !run.repetitions || run.repetitions == 1
                                                  : run.aggregate_name == "median")
                times[run.run_name.str()] = run.GetAdjustedCPUTime();
    }

    std::map<std::string, double> times;
};

} // namespace

int main(int argc, char** argv)
{
    if (!loadPeers()) {
        if (std::getenv("GLIBC_TUNABLES") != nullptr) {
            const char* reason = dlerror();
            std::fprintf(stderr, "mimalloc or jemalloc not loaded: %s\n", reason ? reason : "a call is missing");
            return 1;
        }
        setenv("GLIBC_TUNABLES", "glibc.rtld.optional_static_tls=16384", 1);
        execv("/proc/self/exe", argv);
        return 1;
    }
    sharedHeap.reset(new Vesk::Corvo::Win32LocalHeap(0, 0));
    benchmark::Initialize(&argc, argv);
    TimeReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    sharedHeap.reset();

    // CPU time, which waiting for a processor on a loaded machine does not
    // swell; with two threads it is the time of the pair.
    std::printf("\nCorvo's time per block, and peer's time / Corvo's (above 1: Corvo is faster)\n");
    std::printf("%-18s %10s %8s %9s %9s\n", "case", "Corvo ns", "calloc", "mimalloc", "jemalloc");
    for (const char* size : {"16", "256", "4096"})
        for (const char* threads : {"1", "2"}) {
            const std::string rest = std::string("/") + size + "/threads:" + threads;
            const auto corvo = reporter.times.find("allocateAndFree<Corvo>" + rest);
            if (corvo == reporter.times.end())
                continue;
            auto ratio = [&](const char* peer) {
                const auto found = reporter.times.find(std::string("allocateAndFree<") + peer + ">" + rest);
                return found == reporter.times.end() ? 0.0 : found->second / corvo->second;
            };
            std::printf("%-18s %10.1f %8.2f %9.2f %9.2f\n", (std::string(size) + " B, " + threads + " thr").c_str(),
                        corvo->second / batch, ratio("Calloc"), ratio("Mimalloc"), ratio("Jemalloc"));
        }
    return 0;
}
