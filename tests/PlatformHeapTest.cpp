// Private heaps by their Win32 names: under Wine against the real API, on
// Linux against Corvo's layer.
#include "CorvoPlatform.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <tuple>

namespace {

// A maximum is rounded up to whole pages, and a heap with a maximum serves
// no single block of about 1 MiB or more (Windows in a 64-bit process:
// "slightly less than 1,024 KB"), however much of the heap is free. Wine
// rounds a maximum up to 64 KiB; the rows hold for both roundings. Rows:
// the initial size, the maximum, a block's size, whether it is served.
const std::tuple<std::size_t, std::size_t, std::size_t, bool> heapRows[] = {
    {0, 0, 0, true},                      {0, 0, 4u << 20, true},
    {0, 16, 16, true},                    {0, 16, 64u << 10, false},
    {4096, 16u << 20, 512u << 10, true},  {4096, 16u << 20, 1012u << 10, true},
    {4096, 16u << 20, 1u << 20, false},   {0, 16u << 20, 4u << 20, false}};

TEST(PlatformHeap, WhatAHeapServesInOneBlock)
{
    for (const auto& [initial, maximum, request, served] : heapRows) {
        const HANDLE heap = HeapCreate(0, initial, maximum);
        ASSERT_NE(heap, nullptr) << maximum;
        void* block = HeapAlloc(heap, HEAP_ZERO_MEMORY, request);
        EXPECT_EQ(block != nullptr, served) << maximum << ", a block of " << request;
        EXPECT_TRUE(block == nullptr || HeapFree(heap, 0, block)) << maximum << ", a block of " << request;
        EXPECT_NE(HeapDestroy(heap), FALSE) << maximum;
    }
}

} // namespace
