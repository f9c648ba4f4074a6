// Each Utf8String benchmark sits beside the same work done with utfcpp on a
// std::string, so that the ratio of the pair is the cost of the class.
#include "CorvoUtf8String.h"

#include <benchmark/benchmark.h>

#include <iterator>
#include <random>
#include <string>

using Vesk::Corvo::Utf8String;

namespace {

const std::size_t mebibyte = 1 << 20;

// About 1 MiB of code points of one to four bytes, with a bad byte every few
// hundred so that construction has something to repair.
std::string mixedText(bool withBadBytes)
{
    static const utf8::uint32_t pool[] = {'a', 'Z', ' ', 0xE9, 0x3A9, 0x20AC, 0x4E2D, 0x1F600};
    std::mt19937 random(42);
    std::string bytes;
    while (bytes.size() < mebibyte) {
        if (withBadBytes && random() % 300 == 0)
            bytes += '\xFF';
        else
            utf8::append(pool[random() % 8], std::back_inserter(bytes));
    }
    return bytes;
}

const std::string& damaged()
{
    static const std::string text = mixedText(true);
    return text;
}

const std::string& clean()
{
    static const std::string text = mixedText(false);
    return text;
}

// A needle near the end: the search reads almost the whole text.
const std::string needle = "\xE2\x82\xAC\xF0\x9F\x98\x80!";

std::string withNeedle()
{
    std::string text = clean();
    text += needle;
    return text;
}

void Construct_Utf8String(benchmark::State& state)
{
    for (auto _ : state) {
        Utf8String s(damaged());
        benchmark::DoNotOptimize(s.c_str());
    }
    state.SetBytesProcessed(state.iterations() * damaged().size());
}

void Construct_utfcpp(benchmark::State& state)
{
    for (auto _ : state) {
        std::string s;
        utf8::replace_invalid(damaged().begin(), damaged().end(), std::back_inserter(s), 0xFFFD);
        benchmark::DoNotOptimize(s.data());
    }
    state.SetBytesProcessed(state.iterations() * damaged().size());
}

void Size_Utf8String(benchmark::State& state)
{
    const Utf8String s(clean());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.size());
    state.SetBytesProcessed(state.iterations() * clean().size());
}

void Size_utfcpp(benchmark::State& state)
{
    const std::string& s = clean();
    for (auto _ : state)
        benchmark::DoNotOptimize(utf8::distance(s.begin(), s.end()));
    state.SetBytesProcessed(state.iterations() * clean().size());
}

void Iterate_Utf8String(benchmark::State& state)
{
    const Utf8String s(clean());
    for (auto _ : state) {
        unsigned long sum = 0;
        for (const unsigned long c : s)
            sum += c;
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * clean().size());
}

void Iterate_utfcpp(benchmark::State& state)
{
    const std::string& s = clean();
    for (auto _ : state) {
        unsigned long sum = 0;
        for (std::string::const_iterator it = s.begin(); it != s.end();)
            sum += utf8::next(it, s.end());
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * clean().size());
}

void Find_Utf8String(benchmark::State& state)
{
    const Utf8String s(withNeedle());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.find(needle.c_str()));
    state.SetBytesProcessed(state.iterations() * s.bytes());
}

// The same answer: the byte hit translated to a code-point position.
void Find_utfcpp(benchmark::State& state)
{
    const std::string s = withNeedle();
    for (auto _ : state) {
        const std::string::size_type hit = s.find(needle);
        benchmark::DoNotOptimize(utf8::distance(s.begin(), s.begin() + hit));
    }
    state.SetBytesProcessed(state.iterations() * s.size());
}

const utf8::uint32_t appended[] = {'a', 0xE9, 0x20AC, 0x1F600};
const unsigned int appendCount = 1 << 18;

void PushBack_Utf8String(benchmark::State& state)
{
    for (auto _ : state) {
        Utf8String s;
        for (unsigned int i = 0; i < appendCount; ++i)
            s.push_back(appended[i % 4]);
        benchmark::DoNotOptimize(s.c_str());
    }
    state.SetItemsProcessed(state.iterations() * appendCount);
}

void PushBack_utfcpp(benchmark::State& state)
{
    for (auto _ : state) {
        std::string s;
        for (unsigned int i = 0; i < appendCount; ++i)
            utf8::append(appended[i % 4], std::back_inserter(s));
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations() * appendCount);
}

} // namespace

BENCHMARK(Construct_Utf8String)->Unit(benchmark::kMicrosecond);
BENCHMARK(Construct_utfcpp)->Unit(benchmark::kMicrosecond);
BENCHMARK(Size_Utf8String)->Unit(benchmark::kMicrosecond);
BENCHMARK(Size_utfcpp)->Unit(benchmark::kMicrosecond);
BENCHMARK(Iterate_Utf8String)->Unit(benchmark::kMicrosecond);
BENCHMARK(Iterate_utfcpp)->Unit(benchmark::kMicrosecond);
BENCHMARK(Find_Utf8String)->Unit(benchmark::kMicrosecond);
BENCHMARK(Find_utfcpp)->Unit(benchmark::kMicrosecond);
BENCHMARK(PushBack_Utf8String)->Unit(benchmark::kMicrosecond);
BENCHMARK(PushBack_utfcpp)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
