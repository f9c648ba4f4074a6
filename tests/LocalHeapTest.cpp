// Win32LocalHeap: zero fill, the bound, refusal of foreign blocks, and the
// blocks that threads keep for their next allocations.
#include "CorvoLocalHeap.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <memory>
#include <vector>

namespace {

using Vesk::Corvo::Exception;
using Vesk::Corvo::Win32LocalHeap;

bool allBytesAre(const void* block, std::size_t size, unsigned char value)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(block);
    return std::all_of(bytes, bytes + size, [value](unsigned char byte) { return byte == value; });
}

// Rounds of one block of each size held at once (in turning order): each
// must come zeroed and keep the pattern written to it until it is freed.
// The last round's blocks go to kept, or are left to the heap's destruction.
bool churn(Win32LocalHeap& heap, const std::vector<unsigned int>& sizes, int rounds, unsigned char pattern,
           std::vector<void*>* kept = nullptr)
{
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::pair<void*, unsigned int>> held;
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const unsigned int size = sizes[(i + round) % sizes.size()];
            void* block = heap.allocate(size);
            if (block == nullptr || !allBytesAre(block, size, 0))
                return false;
            held.emplace_back(static_cast<void*>(std::memset(block, pattern, size)), size);
        }
        for (const auto& [block, size] : held) {
            if (!allBytesAre(block, size, pattern))
                return false;
            if (round + 1 < rounds)
                heap.free(block);
            else if (kept)
                kept->push_back(block);
        }
    }
    return true;
}

TEST(LocalHeap, BlocksAreZeroFilledAlsoWhenReused)
{
    Win32LocalHeap heap(0, 0);
    EXPECT_TRUE(churn(heap, {1, 16, 100, 4096, 70000, 3u << 20}, 3, 0xA5));
}

TEST(LocalHeap, TheLargerSizeBoundsTheHeapInEitherOrder)
{
    const unsigned int maximum = 65536;
    for (const auto& sizes : {std::make_pair(1024u, maximum), std::make_pair(maximum, 1024u)}) {
        Win32LocalHeap heap(sizes.first, sizes.second);
        EXPECT_EQ(heap.allocate(maximum + 1), nullptr);
        std::vector<void*> blocks;
        while (void* block = heap.allocate(1024)) {
            blocks.push_back(block);
            ASSERT_LE(blocks.size(), maximum / 1024);
        }
        ASSERT_GE(blocks.size(), 8u);
        // Full, yet usable: a freed block is served again, and zeroed.
        std::memset(blocks.back(), 0xFF, 1024);
        heap.free(blocks.back());
        blocks.back() = heap.allocate(1024);
        ASSERT_NE(blocks.back(), nullptr);
        EXPECT_TRUE(allBytesAre(blocks.back(), 1024, 0));
        for (void* block : blocks)
            heap.free(block);
        // Freed blocks merge again: one block of most of the heap fits, and
        // is left to the heap's destruction.
        EXPECT_NE(heap.allocate(maximum / 2), nullptr);
    }
}

TEST(LocalHeap, FreeIgnoresNullAndRefusesWhatIsNotItsBlock)
{
    Win32LocalHeap heap(0, 0), other(0, 0);
    heap.free(nullptr);
    // Another heap's block, a freed one, and a pointer into a block even
    // behind bytes that look like a start.
    void* foreign = other.allocate(64);
    std::size_t* words = static_cast<std::size_t*>(heap.allocate(256));
    words[8] = 48 | 3;
    void* freed = heap.allocate(64);
    heap.free(freed);
    for (void* pointer : {foreign, freed, static_cast<void*>(words + 10)})
        EXPECT_TRUE(corvo_test::throwsWith<Exception>([&] { heap.free(pointer); }, "Error freeing a memory block! "));
    heap.free(words);
    // Both heaps are whole after the refusals.
    EXPECT_TRUE(allBytesAre(heap.allocate(64), 64, 0));
    other.free(foreign);
}

// Four threads churn two heaps at once, each in its own pattern, and keep
// their last blocks of the lasting heap for this thread to free. The first
// heap is destroyed while the threads keep blocks of it: a heap made later
// (perhaps at the same address) must not serve them again, and threads that
// end give their blocks back to the heap that lives on.
TEST(LocalHeap, ThreadsShareHeapsAndKeptBlocksOutliveNeitherHeapNorThread)
{
    std::unique_ptr<Win32LocalHeap> first(new Win32LocalHeap(0, 0));
    Win32LocalHeap lasting(0, 0);
    std::vector<std::vector<void*>> kept(4);
    std::vector<std::promise<void>> churned(4);
    std::promise<void> destroyed;
    const std::shared_future<void> firstIsGone = destroyed.get_future().share();
    std::vector<std::future<bool>> threads;
    for (int t = 0; t < 4; ++t)
        threads.push_back(std::async(std::launch::async, [&, t] {
            const unsigned char pattern = static_cast<unsigned char>(0x11 * (t + 1));
            std::vector<unsigned int> sizes;
            for (unsigned int i = 0; i < 16; ++i)
                sizes.push_back(1 + (t * 7 + i * 131) % 3000);
            const bool before = churn(*first, sizes, 100, pattern) && churn(lasting, sizes, 200, pattern, &kept[t]);
            churned[t].set_value();
            firstIsGone.wait();
            Win32LocalHeap second(0, 0);
            return before && churn(second, sizes, 100, pattern) && churn(lasting, sizes, 100, pattern);
        }));
    for (std::promise<void>& done : churned)
        done.get_future().wait();
    first.reset();
    destroyed.set_value();
    for (const std::vector<void*>& blocks : kept)
        for (void* block : blocks)
            EXPECT_NO_THROW(lasting.free(block));
    for (std::future<bool>& thread : threads)
        EXPECT_TRUE(thread.get());
    EXPECT_TRUE(churn(lasting, {16, 200, 4000}, 300, 0xA5));
}

} // namespace
