// Integer limits, Address and the alignment functions.
#include "CorvoBasicTypes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>

using namespace Vesk::Corvo;

static_assert(sizeof(SInt16) == 2 && sizeof(SInt32) == 4 && sizeof(UInt32) == 4);
static_assert(sizeof(SIntPtr_t) == sizeof(void*) && sizeof(IntPtr_t) == sizeof(void*));
static_assert(std::is_same_v<decltype(MIN_SInt8), const char>);

TEST(BasicTypes, LimitsAreTheExportedValues)
{
    // Read through the exported objects, as applications read them.
    const std::pair<long long, long long> limits[] = {
        {MIN_SInt8, -128},        {MAX_SInt8, 127},          {MIN_UInt8, 0},          {MAX_UInt8, 255},
        {MIN_SInt16, -32768},     {MAX_SInt16, 32767},       {MIN_UInt16, 0},         {MAX_UInt16, 65535},
        {MIN_SInt32, INT32_MIN},  {MAX_SInt32, INT32_MAX},   {MIN_UInt32, 0},         {MAX_UInt32, UINT32_MAX},
        {MIN_SIntPtr_t, INTPTR_MIN}, {MAX_SIntPtr_t, INTPTR_MAX}, {MIN_IntPtr_t, 0}};
    for (const auto& [value, expected] : limits)
        EXPECT_EQ(value, expected);
    EXPECT_EQ(MAX_IntPtr_t, UINTPTR_MAX);
}

TEST(BasicTypes, AddressHoldsPointerAndIntegerAlike)
{
    // unsigned long, as applications write it, also where a pointer is wider.
    EXPECT_EQ(Address(0x1234ul).getInt(), 0x1234u);
    EXPECT_EQ(Address(0ul).getPointer(), nullptr);
    // The whole pointer survives both ways, also above 32 bits.
    const IntPtr_t high = static_cast<IntPtr_t>(1) << (sizeof(void*) * 8 - 1);
    EXPECT_EQ(Address(Address(high).getPointer()).getInt(), high);
}

// Alignments from 2 to 256 round up to their next multiple; others leave
// alignAddress's input alone and make isAlignedTo false; 1 aligns everything.
TEST(BasicTypes, AlignmentBounds)
{
    // Address, alignment, the aligned address, whether the address was aligned.
    const std::tuple<IntPtr_t, unsigned int, IntPtr_t, bool> rows[] = {
        {0x1000, 4, 0x1000, true},  {0x1001, 4, 0x1004, false},   {0x1001, 256, 0x1100, false}, {0x1100, 256, 0x1100, true},
        {0x1001, 1, 0x1001, true},  {0x1001, 0, 0x1001, false},   {0x1001, 512, 0x1001, false}, {0, 256, 0, true},
        {0, 0, 0, false},           {0x1001, 2, 0x1002, false},   {0x10FF, 64, 0x1100, false}};
    const auto at = [](IntPtr_t value) { return reinterpret_cast<void*>(value); };
    for (const auto& [address, alignment, aligned, wasAligned] : rows) {
        EXPECT_EQ(alignAddress(at(address), Alignment(alignment)), at(aligned)) << address << " to " << alignment;
        EXPECT_EQ(isAlignedTo(at(address), Alignment(alignment)), wasAligned) << address << " to " << alignment;
    }
}
