// Private heaps by their Win32 names: under Wine against the real API, on
// Linux against Corvo's layer.
#include "CorvoPlatform.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

struct HeapRow
{
    const char* what;
    std::size_t initial;
    std::size_t maximum;
    std::size_t request;
    bool served;
};

// A maximum is rounded up to whole pages, and a heap with a maximum serves
// no single block of about 1 MiB or more (Windows in a 64-bit process:
// "slightly less than 1,024 KB"), however much of the heap is free. Wine
// rounds a maximum up to 64 KiB; the rows hold for both roundings.
const HeapRow heapRows[] = {
    {"growable, empty block", 0, 0, 0, true},
    {"growable, 4 MiB", 0, 0, 4u << 20, true},
    {"maximum 16, a block of 16", 0, 16, 16, true},
    {"maximum 16, a block of 64 KiB", 0, 16, 64u << 10, false},
    {"maximum 16 MiB, a block of 512 KiB", 4096, 16u << 20, 512u << 10, true},
    {"maximum 16 MiB, a block of 1012 KiB", 4096, 16u << 20, 1012u << 10, true},
    {"maximum 16 MiB, a block of 1 MiB", 4096, 16u << 20, 1u << 20, false},
    {"maximum 16 MiB, a block of 4 MiB", 0, 16u << 20, 4u << 20, false},
};

TEST(PlatformHeap, WhatAHeapServesInOneBlock)
{
    for (const HeapRow& row : heapRows) {
        const HANDLE heap = HeapCreate(0, row.initial, row.maximum);
        ASSERT_NE(heap, nullptr) << row.what;
        void* block = HeapAlloc(heap, HEAP_ZERO_MEMORY, row.request);
        EXPECT_EQ(block != nullptr, row.served) << row.what;
        if (block != nullptr) {
            EXPECT_NE(HeapFree(heap, 0, block), FALSE) << row.what;
        }
        EXPECT_NE(HeapDestroy(heap), FALSE) << row.what;
    }
}

} // namespace
