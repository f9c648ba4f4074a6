// Comparing and searching Utf8String beyond the differential model
// (Utf8StringModel.cpp): needles that it never builds, bad bytes in the text,
// and the relational operators in all three forms.
#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"

#include <gtest/gtest.h>


using namespace Vesk::Corvo;

TEST(Utf8StringSearch, RefusalsOfNeedlesAndOfBadText)
{
    // "aé€", and "a", a bad byte, "b".
    const Utf8String text("a\xC3\xA9\xE2\x82\xAC");
    Utf8String bad("ab");
    bad.insert(1, "\xFF");
    const std::string room = "StringEncodingException: Not enough space";
    const std::string null = "StringEncodingException: null pointer detected";
    const std::string invalid = "utf8::invalid_utf8: Invalid UTF-8";
    corvo_test::expectOutcomes({
        // A needle that starts with a trail byte matches inside a sequence.
        {"find(trail byte)", [&] { text.find("\xA9"); }, room},
        {"rfind(trail bytes)", [&] { text.rfind("\x82\xAC"); }, room},
        {"find(nullptr, 0, 1)", [&] { text.find(nullptr, 0, 1); }, null},
        {"rfind(nullptr, 0, 0)", [&] { text.rfind(nullptr, 0, 0); }, null},
        {"compare", [&] { bad.compare(Utf8String("a")); }, invalid},
        {"find_first_of", [&] { bad.find_first_of("b"); }, invalid},
        {"find_last_not_of", [&] { bad.find_last_not_of("b"); }, invalid},
        {"operator==", [&] { (void)(bad == "ab"); }, invalid},
        // find looks at the bytes only up to the hit.
        {"find past the bad byte", [&] { bad.find(0x62ul); }, "StringEncodingException: Invalid UTF-8"},
        {"find before the bad byte", [&] { bad.find(0x61ul); }, "ok"},
    });
    EXPECT_EQ(text.find(nullptr, 0, Utf8String::npos), Utf8String::npos);
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
