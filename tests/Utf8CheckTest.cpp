// Judging and repairing UTF-8, one code point to bytes and back, and the
// walks between code-point positions and byte offsets.
#include "CorvoException.h"
#include "CorvoUtf8Internal.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::outcomeOf;

namespace {
const unsigned int npos = Utf8String::npos;
const std::string mark = "\xEF\xBF\xBD";
const std::string encoding = "StringEncodingException: ";
} // namespace

TEST(IsValidUtf8, NullEmptyAndLengthRules)
{
    // An explicit length reads past NUL bytes, npos stops at the first, and
    // a sequence cut off by the length is invalid.
    const std::tuple<const char*, unsigned int, bool> rows[] = {
        {"", npos, true},         {nullptr, npos, false},       {nullptr, 0, false},
        {"\xFF", 0, true},        {"a\0\xFF", 3, false},        {"a\0\xFF", npos, true},
        {"\xC3\xA9", 1, false},   {"\xEF\xBF\xBE", npos, true}};
    for (const auto& [bytes, length, valid] : rows)
        EXPECT_EQ(isValidUtf8(bytes, length), valid) << (bytes ? bytes : "null") << ", " << length;
}

TEST(ValidateUtf8, RepairsAndStrictRefusal)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""}, {std::string("a\0b", 3), std::string("a\0b", 3)}, {"\xEF\xBF\xBE\xF4\x8F\xBF\xBF", "\xEF\xBF\xBE\xF4\x8F\xBF\xBF"},
        // A byte that begins no sequence: one mark each.
        {"a\xFF" "b", "a" + mark + "b"}, {"\xF8\x80", mark + mark}, {"\xE2\x82\xAC\x80\x80", "\xE2\x82\xAC" + mark + mark},
        // Too few trail bytes, overlong, surrogate, above U+10FFFF: one mark
        // for the lead byte and the trail bytes behind it.
        {"\xE2\x28\xA1", mark + "(" + mark}, {"\xC0\xAF", mark}, {"\xED\xA0\x80", mark}, {"\xF4\x90\x80\x80" "z", mark + "z"},
        {"\xF0\x80\x80\x80\x80", mark}, {"\xE2\x82x\xE2\x82\xAC", mark + "x\xE2\x82\xAC"},
        // Cut off by the end: one mark, and the repair stops.
        {"\xC3", mark}, {"a\xF0\x9F\x98", "a" + mark}};
    for (const auto& [input, repaired] : rows) {
        EXPECT_EQ(validateUtf8(input, false), repaired) << input;
        EXPECT_EQ(outcomeOf([&] { validateUtf8(input, true); }),
                  input == repaired ? "ok" : encoding + "Invalid UTF-8 string encoding detected")
            << input;
    }
}

TEST(Utf8Codec, OneCodePointToBytesAndBack)
{
    const std::pair<unsigned long, std::string> good[] = {
        {0x41, "A"}, {0xE9, "\xC3\xA9"}, {0x1F600, "\xF0\x9F\x98\x80"}, {0x10FFFF, "\xF4\x8F\xBF\xBF"}};
    for (const auto& [codePoint, bytes] : good) {
        const Utf8Encoder e(codePoint);
        EXPECT_EQ(std::string(e.m_bytes, e.m_length), bytes);
        const Utf8Decoder d((bytes + "z").c_str());
        EXPECT_TRUE(d.m_codePoint == codePoint && d.m_length == bytes.size() && d.m_maxLength == 5u) << bytes;
    }
    // The last one must not wrap around to U+0041 where unsigned long is wider.
    const unsigned long wide = sizeof(unsigned long) > 4 ? static_cast<unsigned long>(0x41) << 16 << 16 | 0x41 : 0xD800;
    for (const unsigned long bad : {0x110000ul, 0xD800ul, wide})
        EXPECT_EQ(outcomeOf([&] { Utf8Encoder{bad}; }), encoding + "Invalid code point") << bad;
    const std::pair<const char*, std::string> bad[] = {
        {nullptr, "null pointer detected"}, {"\xC3", "Invalid UTF-8"},         {"\x80", "Invalid UTF-8"},
        {"\xC0\xAF", "Invalid UTF-8"},      {"\xED\xA0\x80", "Invalid code point"}, {"\xF4\x90\x80\x80", "Invalid code point"}};
    for (const auto& [bytes, reason] : bad)
        EXPECT_EQ(outcomeOf([&] { Utf8Decoder{bytes}; }), encoding + reason) << reason;
}

TEST(PositionMapping, CodePointPositionsToByteOffsetsAndBack)
{
    // Text, position, length (npos: the terminated form), offset.
    // Positions in valid text are the model's: every Utf8String edit maps them.
    const std::tuple<const char*, unsigned int, unsigned int, unsigned int> rows[] = {
        {nullptr, npos, 3, npos}, {nullptr, npos, npos, npos},
        // A bad sequence before the position counts as past the end, and so
        // does one cut off by the length.
        {"a\xFF" "b", 1, 3, 1}, {"a\xFF" "b", 2, 3, npos}, {"a\xC3\xA9", 2, 2, npos},
        // The terminated form ends at the first NUL, cutting a sequence off
        // without reading past it (its walk over whole text is the model's).
        {"ab\0cd", 2, npos, 2}, {"ab\0cd", 3, npos, npos}, {"a\xF0\x9F", 2, npos, npos}};
    for (const auto& [text, pos, length, offset] : rows)
        EXPECT_EQ(length == npos ? codePointPosition2ByteOffset(text, pos) : codePointPosition2ByteOffset(text, pos, length),
                  offset)
            << (text ? text : "null") << ", " << pos << ", " << length;
    EXPECT_EQ(outcomeOf([] { codePointPosition2ByteOffset(nullptr, 0, 0); }), encoding + "null pointer detected");
    EXPECT_EQ(outcomeOf([] { codePointPosition2ByteOffset(nullptr, 0); }), encoding + "null pointer detected");

    // And back from byte offsets: inside a sequence, past the end.
    const std::string text = "a\xC3\xA9";
    EXPECT_TRUE(byteOffset2CodePointPosition(text, 1) == 1 && byteOffset2CodePointPosition(text, npos) == npos &&
                byteOffset2CodePointPosition("", 0) == npos);
    EXPECT_EQ(outcomeOf([&] { byteOffset2CodePointPosition(text, 2); }), encoding + "Not enough space");
    EXPECT_EQ(outcomeOf([&] { byteOffset2CodePointPosition(text, 3); }), encoding + "Index is out of range for std::string utf8_str");
}
