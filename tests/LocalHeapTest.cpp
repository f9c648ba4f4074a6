// Win32LocalHeap: zero fill, the bound, refusal of foreign blocks, several
// threads at once, and destruction with blocks still held.
#include "CorvoLocalHeap.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Vesk::Corvo::Exception;
using Vesk::Corvo::Win32LocalHeap;
using corvo_test::throwsWith;

const char freeFailure[] = "Error freeing a memory block! ";

bool allBytesAre(const void* block, std::size_t size, unsigned char value)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(block);
    return std::all_of(bytes, bytes + size, [value](unsigned char byte) { return byte == value; });
}

// The second block of each size is left to the heap's destruction.
TEST(LocalHeap, BlocksAreZeroFilledAlsoWhenReused)
{
    Win32LocalHeap heap(0, 0);
    for (unsigned int size : {1u, 16u, 100u, 4096u, 70000u, 3u << 20}) {
        for (int round = 0; round < 2; ++round) {
            void* block = heap.allocate(size);
            ASSERT_NE(block, nullptr) << size;
            EXPECT_TRUE(allBytesAre(block, size, 0)) << size << " round " << round;
            std::memset(block, 0xA5, size);
            if (round == 0)
                heap.free(block);
        }
    }
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
    Win32LocalHeap heap(0, 0);
    Win32LocalHeap other(0, 0);
    heap.free(nullptr);
    // Another heap's block, a freed one, and a pointer into a block even
    // behind bytes that look like a start.
    void* foreign = other.allocate(64);
    std::size_t* words = static_cast<std::size_t*>(heap.allocate(256));
    words[8] = 48 | 3;
    void* freed = heap.allocate(64);
    heap.free(freed);
    for (void* pointer : {foreign, freed, static_cast<void*>(words + 10)})
        EXPECT_TRUE(throwsWith<Exception>([&] { heap.free(pointer); }, freeFailure)) << pointer;
    heap.free(words);
    // Both heaps are whole after the refusals.
    EXPECT_TRUE(allBytesAre(heap.allocate(64), 64, 0));
    other.free(foreign);
}

// Each thread keeps its last round's blocks; this thread frees them, so
// blocks go back across threads too.
TEST(LocalHeap, ThreadsAllocateAndFreeAtOnce)
{
    Win32LocalHeap heap(0, 0);
    std::vector<int> faults(4, 0);
    std::vector<std::vector<void*>> kept(4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&heap, &faults, &kept, t] {
            const unsigned char pattern = static_cast<unsigned char>(0x11 * (t + 1));
            std::vector<std::pair<void*, unsigned int>> held;
            for (unsigned int round = 0; round < 300; ++round) {
                held.clear();
                for (unsigned int i = 0; i < 16; ++i) {
                    const unsigned int size = 1 + (round * 7 + i * 131) % 3000;
                    void* block = heap.allocate(size);
                    if (block == nullptr || !allBytesAre(block, size, 0))
                        return static_cast<void>(++faults[t]);
                    std::memset(block, pattern, size);
                    held.emplace_back(block, size);
                }
                for (const auto& block : held) {
                    faults[t] += allBytesAre(block.first, block.second, pattern) ? 0 : 1;
                    if (round < 299)
                        heap.free(block.first);
                    else
                        kept[t].push_back(block.first);
                }
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(faults, std::vector<int>(4, 0));
    for (const std::vector<void*>& blocks : kept) {
        ASSERT_EQ(blocks.size(), 16u);
        for (void* block : blocks)
            EXPECT_NO_THROW(heap.free(block));
    }
}

// Threads keep freed blocks for their next allocations. A heap destroyed
// while a thread keeps some of its blocks must not serve them again through
// a heap made later (perhaps at the same address), and a thread that ends
// gives its blocks back to a heap that lives on.
TEST(LocalHeap, KeptBlocksOutliveNeitherTheirHeapNorTheirThread)
{
    auto churn = [](Win32LocalHeap& heap) {
        for (unsigned int size : {16u, 200u, 4000u})
            for (int i = 0; i < 300; ++i) {
                void* block = heap.allocate(size);
                if (block == nullptr || !allBytesAre(block, size, 0))
                    return false;
                std::memset(block, 0xA5, size);
                heap.free(block);
            }
        return true;
    };
    std::unique_ptr<Win32LocalHeap> first(new Win32LocalHeap(0, 0));
    Win32LocalHeap lasting(0, 0);
    std::promise<void> kept, destroyed;
    std::future<bool> later = std::async(std::launch::async, [&] {
        const bool before = churn(*first) && churn(lasting);
        kept.set_value();
        destroyed.get_future().wait();
        Win32LocalHeap second(0, 0);
        return before && churn(second) && churn(lasting);
    });
    kept.get_future().wait();
    first.reset();
    destroyed.set_value();
    EXPECT_TRUE(later.get());
    EXPECT_TRUE(churn(lasting));
}

} // namespace
