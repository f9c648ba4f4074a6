// Judging and repairing UTF-8, one code point to bytes and back, and the
// walks between code-point positions and byte offsets.
#include "CorvoException.h"
#include "CorvoUtf8Internal.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {
const unsigned int npos = Utf8String::npos;
const std::string mark = "\xEF\xBF\xBD";
} // namespace

TEST(IsValidUtf8, NullEmptyAndLengthRules)
{
    EXPECT_TRUE(isValidUtf8("", npos));
    EXPECT_FALSE(isValidUtf8(nullptr, npos));
    EXPECT_FALSE(isValidUtf8(nullptr, 0));
    EXPECT_TRUE(isValidUtf8("\xFF", 0));
    // An explicit length reads past NUL bytes; npos stops at the first.
    EXPECT_FALSE(isValidUtf8("a\0\xFF", 3));
    EXPECT_TRUE(isValidUtf8("a\0\xFF", npos));
    // A sequence cut off by the length is invalid.
    EXPECT_FALSE(isValidUtf8("\xC3\xA9", 1));
    EXPECT_TRUE(isValidUtf8("\xEF\xBF\xBE", npos));
}

struct RepairRow
{
    std::string input;
    std::string repaired;
};

class ValidateUtf8 : public ::testing::TestWithParam<RepairRow>
{
};

TEST_P(ValidateUtf8, RepairsAndStrictRefusal)
{
    const RepairRow& row = GetParam();
    EXPECT_EQ(validateUtf8(row.input, false), row.repaired);
    if (row.input == row.repaired)
        EXPECT_EQ(validateUtf8(row.input, true), row.input);
    else
        EXPECT_TRUE(throwsWith<StringEncodingException>([&] { validateUtf8(row.input, true); },
                                                        "Invalid UTF-8 string encoding detected"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ValidateUtf8,
    ::testing::Values(
        RepairRow{"", ""}, RepairRow{"plain", "plain"},
        RepairRow{std::string("a\0b", 3), std::string("a\0b", 3)},
        RepairRow{"\xEF\xBF\xBE", "\xEF\xBF\xBE"}, RepairRow{"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
        // A byte that begins no sequence: one mark each.
        RepairRow{"a\xFF" "b", "a" + mark + "b"}, RepairRow{"\xF8\x80", mark + mark},
        RepairRow{"\xE2\x82\xAC\x80\x80", "\xE2\x82\xAC" + mark + mark},
        // Too few trail bytes, overlong, surrogate, above U+10FFFF: one mark
        // for the lead byte and the trail bytes behind it.
        RepairRow{"\xE2\x28\xA1", mark + "(" + mark}, RepairRow{"\xC3\x28", mark + "("},
        RepairRow{"\xC0\xAF", mark}, RepairRow{"\xED\xA0\x80", mark},
        RepairRow{"\xF4\x90\x80\x80" "z", mark + "z"}, RepairRow{"\xF0\x80\x80\x80\x80", mark},
        RepairRow{"\xE2\x82x\xE2\x82\xAC", mark + "x\xE2\x82\xAC"},
        // Cut off by the end: one mark, and the repair stops.
        RepairRow{"\xC3", mark}, RepairRow{"\xE2\x82", mark}, RepairRow{"a\xF0\x9F\x98", "a" + mark}));

TEST(Utf8Encoder, EncodesValidCodePointsAndRefusesOthers)
{
    const Utf8Encoder ascii(0x41);
    EXPECT_EQ(std::string(ascii.m_bytes, ascii.m_length), "A");
    const Utf8Encoder top(0x10FFFF);
    EXPECT_EQ(std::string(top.m_bytes, top.m_length), "\xF4\x8F\xBF\xBF");
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Encoder(0x110000); }, "Invalid code point"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Encoder(0xD800); }, "Invalid code point"));
    if constexpr (sizeof(unsigned long) > 4) {
        // Must not wrap around to U+0041.
        const unsigned long wide = static_cast<unsigned long>(1) << 32 | 0x41;
        EXPECT_TRUE(throwsWith<StringEncodingException>([&] { Utf8Encoder{wide}; }, "Invalid code point"));
    }
}

TEST(Utf8Decoder, DecodesOneSequenceAndReportsBadOnes)
{
    const Utf8Decoder e(std::string("\xC3\xA9z").c_str());
    EXPECT_EQ(e.m_codePoint, 0xE9u);
    EXPECT_EQ(e.m_length, 2u);
    EXPECT_EQ(e.m_maxLength, 5u);
    const Utf8Decoder emoji("\xF0\x9F\x98\x80");
    EXPECT_EQ(emoji.m_codePoint, 0x1F600u);
    EXPECT_EQ(emoji.m_length, 4u);

    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Decoder(nullptr); }, "null pointer detected"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Decoder("\xC3"); }, "Invalid UTF-8"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Decoder("\x80"); }, "Invalid UTF-8"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Decoder("\xC0\xAF"); }, "Invalid UTF-8"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Decoder("\xED\xA0\x80"); }, "Invalid code point"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8Decoder("\xF4\x90\x80\x80"); }, "Invalid code point"));
}

TEST(PositionMapping, CodePointPositionsToByteOffsets)
{
    const char text[] = "a\xC3\xA9";
    EXPECT_EQ(codePointPosition2ByteOffset(text, 0, 3), 0u);
    EXPECT_EQ(codePointPosition2ByteOffset(text, 1, 3), 1u);
    EXPECT_EQ(codePointPosition2ByteOffset(text, 2, 3), 3u);
    EXPECT_EQ(codePointPosition2ByteOffset(text, 3, 3), npos);
    EXPECT_EQ(codePointPosition2ByteOffset(text, npos, 3), npos);
    // A bad sequence before the position counts as past the end.
    EXPECT_EQ(codePointPosition2ByteOffset("a\xFF" "b", 1, 3), 1u);
    EXPECT_EQ(codePointPosition2ByteOffset("a\xFF" "b", 2, 3), npos);
    // A sequence cut off by the length.
    EXPECT_EQ(codePointPosition2ByteOffset(text, 2, 2), npos);

    EXPECT_EQ(codePointPosition2ByteOffset(nullptr, npos, 3), npos);
    EXPECT_EQ(codePointPosition2ByteOffset(nullptr, npos), npos);
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { codePointPosition2ByteOffset(nullptr, 0, 0); },
                                                    "null pointer detected"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { codePointPosition2ByteOffset(nullptr, 0); },
                                                    "null pointer detected"));
}

TEST(PositionMapping, TerminatedFormEndsAtTheFirstNul)
{
    EXPECT_EQ(codePointPosition2ByteOffset("a\xC3\xA9", 2), 3u);
    EXPECT_EQ(codePointPosition2ByteOffset("a\xC3\xA9", 3), npos);
    EXPECT_EQ(codePointPosition2ByteOffset("ab\0cd", 2), 2u);
    EXPECT_EQ(codePointPosition2ByteOffset("ab\0cd", 3), npos);
    // The terminator cuts a sequence off without reading past it.
    EXPECT_EQ(codePointPosition2ByteOffset("a\xF0\x9F", 2), npos);
    EXPECT_EQ(codePointPosition2ByteOffset("\xF0\x9F\x98\x80x", 2), 5u);
}

TEST(PositionMapping, ByteOffsetsToCodePointPositions)
{
    const std::string text = "a\xC3\xA9";
    EXPECT_EQ(byteOffset2CodePointPosition(text, 0), 0u);
    EXPECT_EQ(byteOffset2CodePointPosition(text, 1), 1u);
    EXPECT_TRUE(throwsWith<StringEncodingException>([&] { byteOffset2CodePointPosition(text, 2); },
                                                    "Not enough space"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([&] { byteOffset2CodePointPosition(text, 3); },
                                                    "Index is out of range for std::string utf8_str"));
    EXPECT_EQ(byteOffset2CodePointPosition(text, npos), npos);
    EXPECT_EQ(byteOffset2CodePointPosition("", 0), npos);
}
