// Integer limits, Address and the alignment functions.
#include "CorvoBasicTypes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

using namespace Vesk::Corvo;

TEST(BasicTypes, FixedWidthNamesKeepTheirWidthsAndLimits)
{
    static_assert(sizeof(SInt16) == 2 && sizeof(SInt32) == 4 && sizeof(UInt32) == 4);
    static_assert(sizeof(SIntPtr_t) == sizeof(void*) && sizeof(IntPtr_t) == sizeof(void*));
    static_assert(std::is_same_v<decltype(MIN_SInt8), const char>);
    EXPECT_EQ(std::to_string(MIN_SInt8) + " " + std::to_string(MAX_SInt8) + " " + std::to_string(MAX_UInt8) + " " +
                  std::to_string(MIN_SInt16) + " " + std::to_string(MAX_UInt16) + " " + std::to_string(MIN_SInt32) +
                  " " + std::to_string(MAX_SInt32) + " " + std::to_string(MAX_UInt32),
              "-128 127 255 -32768 65535 -2147483648 2147483647 4294967295");
    EXPECT_EQ(MIN_UInt8 + MIN_UInt16 + MIN_UInt32 + MIN_IntPtr_t, 0u);
    EXPECT_EQ(MAX_SInt16, 32767);
    EXPECT_EQ(MIN_SIntPtr_t, INTPTR_MIN);
    EXPECT_EQ(MAX_SIntPtr_t, INTPTR_MAX);
    EXPECT_EQ(MAX_IntPtr_t, UINTPTR_MAX);
}

TEST(BasicTypes, AddressHoldsPointerAndIntegerAlike)
{
    int object = 0;
    EXPECT_EQ(Address(&object).getPointer(), &object);
    EXPECT_EQ(Address(IntPtr_t(0x1234)).getInt(), 0x1234u);
    EXPECT_EQ(Address(IntPtr_t(0)).getInt(), Address(static_cast<void*>(nullptr)).getInt());
    // The whole pointer survives, also above 32 bits.
    const IntPtr_t high = static_cast<IntPtr_t>(1) << (sizeof(void*) * 8 - 1);
    EXPECT_EQ(Address(Address(high).getPointer()).getInt(), high);
}

namespace {
void* at(IntPtr_t value) { return reinterpret_cast<void*>(value); }
Alignment align(unsigned int bytes) { return static_cast<Alignment>(bytes); }
} // namespace

TEST(BasicTypes, AlignAddressRoundsUpWithinTwoTo256)
{
    EXPECT_EQ(alignAddress(at(0x1000), ALIGNMENT_4), at(0x1000));
    EXPECT_EQ(alignAddress(at(0x1001), ALIGNMENT_4), at(0x1004));
    EXPECT_EQ(alignAddress(at(0x1001), ALIGNMENT_256), at(0x1100));
    EXPECT_EQ(alignAddress(at(0x1001), ALIGNMENT_1), at(0x1001));
    EXPECT_EQ(alignAddress(at(0x1001), align(0)), at(0x1001));
    EXPECT_EQ(alignAddress(at(0x1001), align(512)), at(0x1001));
    EXPECT_EQ(alignAddress(nullptr, ALIGNMENT_16), nullptr);
}

TEST(BasicTypes, IsAlignedToHasItsOwnBounds)
{
    EXPECT_TRUE(isAlignedTo(at(0x1001), ALIGNMENT_1));
    EXPECT_TRUE(isAlignedTo(nullptr, ALIGNMENT_256));
    EXPECT_FALSE(isAlignedTo(nullptr, align(0)));
    EXPECT_FALSE(isAlignedTo(nullptr, align(512)));
    EXPECT_FALSE(isAlignedTo(at(0x1002), ALIGNMENT_4));
    EXPECT_TRUE(isAlignedTo(at(0x1100), ALIGNMENT_256));
}

TEST(BasicTypes, AlignedResultIsTheNextMultipleAtOrAbove)
{
    std::mt19937_64 random(20261122);
    for (int i = 0; i < 2000; ++i) {
        const IntPtr_t value = static_cast<IntPtr_t>(random()) >> 8;
        const Alignment alignment = align(1u << (1 + random() % 8));
        const IntPtr_t result = reinterpret_cast<IntPtr_t>(alignAddress(at(value), alignment));
        ASSERT_TRUE(isAlignedTo(at(result), alignment)) << value << " to " << alignment;
        ASSERT_GE(result, value);
        ASSERT_LT(result - value, static_cast<IntPtr_t>(alignment));
    }
}
