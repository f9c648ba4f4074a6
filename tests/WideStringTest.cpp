// The wide string helpers and the Tokenizer.
#include "CorvoException.h"
#include "CorvoString.h"
#include "CorvoTokenizer.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

std::vector<std::wstring> tokensOf(Tokenizer& tokenizer)
{
    std::vector<std::wstring> tokens;
    while (tokenizer.nextToken())
        tokens.push_back(tokenizer.getToken());
    return tokens;
}

} // namespace

TEST(WideString, WideningSignExtendsBytesAndNarrowingRefusesAbove255)
{
    const std::wstring wide = str_to_tstr(std::string("a\0\x7F\x80\xE9\xFF", 6));
    EXPECT_EQ(wide, (std::wstring{L'a', 0, 0x7F, 0xFF80, 0xFFE9, 0xFFFF}));
    EXPECT_EQ(tstr_to_str(std::wstring(L"a\0\x00E9\x00FF", 4)), std::string("a\0\xE9\xFF", 4));
    EXPECT_EQ(tstr_to_str(L""), "");
    // So a byte from 0x80 up does not come back.
    EXPECT_TRUE(throwsWith<Exception>([&] { tstr_to_str(wide); }, "Error on conversion tstr_to_str"));
    EXPECT_THROW(tstr_to_str(std::wstring(1, static_cast<wchar_t>(-1))), Exception);
}

// operator+, trim and replaceIn change their argument and return it.
TEST(WideString, InPlaceEdits)
{
    std::wstring id(L"id"), text(L" \t\r\na b\t"), left(L" x "), right(L" x "), doubled(L"aXa");
    EXPECT_TRUE(&(id + -5) == &id && &trim(text) == &text && &replaceIn(doubled, L"a", L"aa") == &doubled);
    // What replaceIn puts in is not searched again; trim of a constant works on a copy.
    EXPECT_TRUE(id == L"id-5" && text == L"a b" && doubled == L"aaXaa");
    EXPECT_EQ(trimLeft(left) + trimRight(right), L"x  x");
    const std::wstring original(L" x ");
    EXPECT_TRUE(trim(original) == L"x" && original == L" x " && trim(std::wstring()).empty() &&
                trim(std::wstring(L" \t\r\n\v\f")).empty());
    // An empty needle replaces nothing; an empty replacement removes.
    EXPECT_EQ(replaceIn(replaceIn(text = L"abab", L"", L"z"), L"b", L""), L"aa");
}

TEST(WideString, IsNumericReadsOneWholeDecimalNumberForTheThreeBases)
{
    for (const wchar_t* number : {L"12", L"-1.5", L"1e3", L" 12"})
        EXPECT_TRUE(isNumeric(number, 512)) << number;
    for (const wchar_t* other : {L"12 ", L"12a", L"", L" "})
        EXPECT_FALSE(isNumeric(other, 512)) << other;
    // The base selects nothing; this platform's own flag values are no base.
    EXPECT_TRUE(!isNumeric(L"ff", 2048) && isNumeric(L"9", 1024));
    for (int base : {10, 16, 8, 2})
        EXPECT_FALSE(isNumeric(L"12", base)) << base;
}

TEST(Tokenizer, RunsOfDelimitersGiveNoEmptyTokensAndEachCallMayHaveItsOwnSet)
{
    Tokenizer words(L" a  \tb\r\n");
    EXPECT_EQ(tokensOf(words), (std::vector<std::wstring>{L"a", L"b"}));
    EXPECT_TRUE(!words.nextToken() && words.getToken() == L"b");

    Tokenizer blank(L" \t\r\n");
    EXPECT_TRUE(!blank.nextToken() && blank.getToken().empty());

    Tokenizer whole(L" a ", L"");
    EXPECT_EQ(tokensOf(whole), (std::vector<std::wstring>{L" a "}));

    // A set given to one call starts from the delimiter that ended the token.
    Tokenizer tokenizer(L"a,b c d");
    ASSERT_TRUE(tokenizer.nextToken(L",") && tokenizer.getToken() == L"a");
    ASSERT_TRUE(tokenizer.nextToken(L" ") && tokenizer.getToken() == L",b");
    // The stored set again, and a copy goes on independently.
    ASSERT_TRUE(tokenizer.nextToken());
    Tokenizer copy(tokenizer);
    EXPECT_EQ(tokensOf(tokenizer), (std::vector<std::wstring>{L"d"}));
    EXPECT_EQ(copy.getToken(), L"c");
    EXPECT_EQ(tokensOf(copy), (std::vector<std::wstring>{L"d"}));
}
