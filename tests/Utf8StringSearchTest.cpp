// Comparing and searching Utf8String: every refusal, the order by code point
// value, and positions that are code points although searches match bytes.
#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

const unsigned int npos = Utf8String::npos;

// "aé€": code points of one, two and three bytes.
const Utf8String text("a\xC3\xA9\xE2\x82\xAC");

} // namespace

TEST(Utf8StringCompareRefusals, StartPastTheEndAndCountsPastTheText)
{
    const std::string outside = "Index is out of range for Corvo::Utf8String";
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.compare(4, 0, text); }, outside));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.compare(0, 1, text, 4, 0); }, outside));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.compare(npos, npos, "a"); }, outside));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.compare(4, 0, "a", 1); }, outside));
    try {
        text.compare(4, 0, text);
    } catch (const StringEncodingException& e) {
        EXPECT_NE(e.getDescription().find("\nFunction: Vesk::Corvo::Utf8String::compare\n"), std::string::npos);
    }

    // An explicit count is not cut: reading past the end is a bad position,
    // but only if the comparison gets that far.
    const Utf8String copy(text);
    EXPECT_TRUE(throwsWith<std::out_of_range>([&] { text.compare(0, 5, copy, 0, 5); }, "invalid string position"));
    EXPECT_EQ(text.compare(0, 5, Utf8String("b"), 0, 5), -1);
    EXPECT_EQ(text.compare(3, 0, copy, 3, 0), 0);
}

TEST(Utf8StringCompare, OrderIsByCodePointValue)
{
    const Utf8String empty;
    EXPECT_EQ(empty.compare(Utf8String()), 0);
    EXPECT_EQ(empty.compare(""), 0);
    EXPECT_EQ(empty.compare(text), -1);
    EXPECT_EQ(text.compare(empty), 1);

    // U+00E9 has two bytes, U+FFFD three: values decide, not lengths.
    EXPECT_EQ(Utf8String("\xC3\xA9").compare(Utf8String("\xEF\xBF\xBD")), -1);
    EXPECT_EQ(Utf8String("\xF0\x9F\x98\x80").compare("\xEF\xBF\xBD"), 1);
    EXPECT_EQ(Utf8String("a").compare(text), -1);
    EXPECT_EQ(text.compare("a"), 1);

    EXPECT_EQ(text.compare(1, npos, Utf8String("\xC3\xA9\xE2\x82\xAC")), 0);
    EXPECT_EQ(text.compare(0, 1, text, 0, 2), -1);
    EXPECT_EQ(text.compare(1, 1, "\xC3\xA9\xE2\x82\xAC", 1), 0);
    EXPECT_EQ(text.compare(2, 1, "x\xE2\x82\xAC"), 1);
    // A bad byte in a const char* compares as U+FFFD.
    EXPECT_EQ(Utf8String("\xEF\xBF\xBD").compare("\xFF"), 0);
}

TEST(Utf8StringCompare, RelationalOperatorsInAllThreeForms)
{
    const Utf8String a("a");
    const Utf8String b("b");
    EXPECT_TRUE(a == Utf8String("a") && a != b && a < b && a <= b && b > a && b >= a);
    EXPECT_FALSE(a == b || a != a || b < a || b <= a || a > b || a >= b);
    EXPECT_TRUE(a == "a" && a != "b" && a < "b" && a <= "a" && b > "a" && b >= "b");
    EXPECT_FALSE(a == "b" || a < "a" || a > "a");
    // Text on the right: the sense is mirrored.
    EXPECT_TRUE("a" == a && "b" != a && "a" < b && "a" <= a && "b" > a && "b" >= b);
    EXPECT_FALSE("b" < a || "a" > b || "b" <= a || "a" >= b);
    EXPECT_TRUE("\xFF" == Utf8String("\xEF\xBF\xBD"));
    EXPECT_TRUE(Utf8String() == "" && Utf8String() < "a");
}

TEST(Utf8StringSubstr, TakesCodePointsAndRefusesAPositionPastTheEnd)
{
    Utf8String s(text);
    EXPECT_STREQ(s.substr(1, 1).c_str(), "\xC3\xA9");
    EXPECT_STREQ(s.substr(1).c_str(), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_TRUE(s.substr(3).empty());
    EXPECT_TRUE(throwsWith<std::out_of_range>([&] { s.substr(4); }, "invalid string position"));
}

TEST(Utf8StringFindRefusals, BadNeedlesAndHitsThatAreNoCodePoint)
{
    const std::string invalid = "Invalid code point";
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.find(0xD800ul); }, invalid));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.rfind(0x110000ul); }, invalid));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.find_first_of(0xD800ul, 9); }, invalid));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.find_last_of(0xD800ul); }, invalid));

    const std::string atEnd = "Index is out of range for std::string utf8_str";
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.find("", 3); }, atEnd));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.rfind(""); }, atEnd));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.rfind(Utf8String(), 7); }, atEnd));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.find("xy", 3, 0); }, atEnd));

    // A needle that starts with a trail byte matches inside a sequence.
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.find("\xA9"); }, "Not enough space"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.rfind("\x82\xAC"); }, "Not enough space"));

    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.find(nullptr, 0, 1); }, "null pointer detected"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { text.rfind(nullptr, 0, 0); }, "null pointer detected"));
    EXPECT_EQ(text.find(nullptr, 0, npos), npos);
}

TEST(Utf8StringFind, AnswersCodePointPositions)
{
    const Utf8String s("\xC3\xA9" "a\xC3\xA9" "a");
    EXPECT_EQ(s.find(0x61ul, 0), 1u);
    EXPECT_EQ(s.find(0x61ul, 2), 3u);
    EXPECT_EQ(s.rfind(0x61ul), 3u);
    EXPECT_EQ(s.rfind(0x61ul, 2), 1u);
    EXPECT_EQ(s.find(Utf8String("\xC3\xA9" "a"), 1), 2u);
    EXPECT_EQ(s.find("a\xC3\xA9"), 1u);
    EXPECT_EQ(s.find("a\xC3\xA9zz", 0, 2), 1u);
    EXPECT_EQ(s.rfind("\xC3\xA9" "a!", npos, 2), 2u);
    EXPECT_EQ(s.find("\xFF"), npos); // unrepaired
    EXPECT_EQ(s.find(0x62ul), npos);

    // A position past the end finds nothing forward and means the end backward.
    EXPECT_EQ(s.find(Utf8String("a"), 5), npos);
    EXPECT_EQ(s.rfind(Utf8String("a"), 5), 3u);
    // Counted needles that are not all there find nothing.
    EXPECT_EQ(s.find("a", 0, 2), npos);
    EXPECT_EQ(s.rfind("a\xFF", npos, 2), npos);

    // An empty needle matches where the search starts, but not at the end.
    EXPECT_EQ(s.find(""), 0u);
    EXPECT_EQ(s.find("", 3), 3u);
    EXPECT_EQ(s.find("", 5), npos);
    EXPECT_EQ(Utf8String().find(""), npos);
    EXPECT_EQ(Utf8String().rfind(""), npos);
    EXPECT_EQ(s.rfind("", 2), 2u);
}

TEST(Utf8StringSetSearchRefusals, CountedSetsAndStartsPastTheEnd)
{
    const std::string tooLong = "string too long";
    EXPECT_TRUE(throwsWith<std::length_error>([] { text.find_first_of("ab", 0, 3); }, tooLong));
    EXPECT_TRUE(throwsWith<std::length_error>([] { text.find_last_of("ab", npos, npos); }, tooLong));
    EXPECT_TRUE(throwsWith<std::length_error>([] { text.find_first_not_of("a\xFF", 0, 2); }, tooLong));
    EXPECT_TRUE(throwsWith<std::length_error>([] { text.find_last_not_of("a", 0, 2); }, tooLong));
    // find with the same arguments just finds nothing.
    EXPECT_EQ(text.find("ab", 0, 3), npos);

    const std::string bad = "invalid string position";
    EXPECT_TRUE(throwsWith<std::out_of_range>([] { text.find_last_of(Utf8String("a"), 3); }, bad));
    EXPECT_TRUE(throwsWith<std::out_of_range>([] { text.find_last_of("a", 7); }, bad));
    EXPECT_TRUE(throwsWith<std::out_of_range>([] { text.find_last_not_of(Utf8String("a"), 3); }, bad));
    EXPECT_TRUE(throwsWith<std::out_of_range>([] { text.find_last_not_of(0x61ul, 3); }, bad));
    EXPECT_TRUE(throwsWith<std::out_of_range>([] { text.find_last_not_of("a", 3); }, bad));
}

TEST(Utf8StringSetSearch, GoesByCodePoint)
{
    // "aé€é": é sits at 1 and 3.
    const Utf8String s("a\xC3\xA9\xE2\x82\xAC\xC3\xA9");
    const Utf8String set("\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(s.find_first_of(set), 1u);
    EXPECT_EQ(s.find_first_of(set, 2), 2u);
    EXPECT_EQ(s.find_last_of(set), 3u);
    EXPECT_EQ(s.find_last_of(set, 0), npos);
    EXPECT_EQ(s.find_first_not_of(set), 0u);
    EXPECT_EQ(s.find_first_not_of(set, 1), npos);
    EXPECT_EQ(s.find_last_not_of(set), 0u);
    EXPECT_EQ(s.find_last_not_of("a\xE2\x82\xAC", 2), 1u);
    EXPECT_EQ(s.find_first_of("\xE2\x82\xAC" "b", 0, 1), 2u);
    EXPECT_EQ(s.find_last_of("\xFF"), npos);
    EXPECT_EQ(Utf8String("a\xEF\xBF\xBD").find_last_of("\xFF"), 1u); // the set is repaired

    EXPECT_EQ(s.find_first_not_of(0x61ul), 1u);
    EXPECT_EQ(s.find_last_not_of(0xE9ul), 2u);
    EXPECT_EQ(s.find_first_not_of(0xD800ul, 2), 2u); // compared, never encoded
    EXPECT_EQ(s.find_first_of(0xE9ul, 0), s.find(0xE9ul, 0));
    EXPECT_EQ(s.find_last_of(0xE9ul, npos), s.rfind(0xE9ul, npos));

    // Empty sets, and starts at or past the end.
    EXPECT_EQ(s.find_first_of(Utf8String(), 0), npos);
    EXPECT_EQ(s.find_first_not_of(Utf8String(), 2), 2u);
    EXPECT_EQ(s.find_first_not_of(Utf8String(), 4), npos);
    EXPECT_EQ(s.find_first_of(set, 4), npos);
    EXPECT_EQ(s.find_last_not_of(Utf8String()), 3u);
    EXPECT_EQ(Utf8String().find_last_of(set), npos);
    EXPECT_EQ(Utf8String().find_last_not_of("a"), npos);
}

TEST(Utf8StringReadRefusals, BadBytesInTheText)
{
    Utf8String s("ab");
    s.insert(1, "\xFF");
    EXPECT_THROW(s.compare(Utf8String("a")), utf8::invalid_utf8);
    EXPECT_THROW(s.find_first_of("b"), utf8::invalid_utf8);
    EXPECT_THROW(s.find_last_not_of("b"), utf8::invalid_utf8);
    EXPECT_THROW(s == "ab", utf8::invalid_utf8);
    // find and rfind look at bytes only up to the hit.
    EXPECT_EQ(s.find(0x61ul), 0u);
    EXPECT_TRUE(throwsWith<StringEncodingException>([&] { s.find(0x62ul); }, "Invalid UTF-8"));
}
