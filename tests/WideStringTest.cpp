// The wide string helpers and the Tokenizer.
#include "CorvoException.h"
#include "CorvoString.h"
#include "CorvoTokenizer.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

const std::string NARROW_FAILURE = "Error on conversion tstr_to_str";

std::vector<std::wstring> tokensOf(Tokenizer& tokenizer)
{
    std::vector<std::wstring> tokens;
    while (tokenizer.nextToken())
        tokens.push_back(tokenizer.getToken());
    return tokens;
}

} // namespace

TEST(WideString, WideningSignExtendsEachByteTo16BitsWithoutCodePage)
{
    const std::wstring wide = str_to_tstr(std::string("a\0\x7F\x80\xE9\xFF", 6));
    ASSERT_EQ(wide.size(), 6u);
    const unsigned long expected[] = {0x61, 0x00, 0x7F, 0xFF80, 0xFFE9, 0xFFFF};
    for (std::size_t i = 0; i < wide.size(); ++i)
        EXPECT_EQ(static_cast<unsigned long>(wide[i]), expected[i]) << "at " << i;
    EXPECT_EQ(str_to_tstr(""), L"");
}

TEST(WideString, NarrowingKeepsLowBytesAndRefusesWiderCharacters)
{
    EXPECT_EQ(tstr_to_str(std::wstring(L"a\0\x00E9\x00FF", 4)), std::string("a\0\xE9\xFF", 4));
    EXPECT_EQ(tstr_to_str(L""), "");
    EXPECT_TRUE(throwsWith<Exception>([] { tstr_to_str(str_to_tstr("\xE9")); }, NARROW_FAILURE));
    EXPECT_TRUE(throwsWith<Exception>([] { tstr_to_str(L"ab\x0100"); }, NARROW_FAILURE));
    // The root class itself, not a descendant.
    try {
        tstr_to_str(L"\x0100");
        ADD_FAILURE() << "no exception";
    } catch (const Exception& e) {
        EXPECT_EQ(dynamic_cast<const StringEncodingException*>(&e), nullptr);
    }
}

TEST(WideString, CopiesAndLineEnd)
{
    const std::wstring text(L"x\0y", 3);
    EXPECT_EQ(tstr_to_wstr(text), text);
    EXPECT_EQ(wstr_to_tstr(text), text);
    std::wostringstream out;
    EXPECT_EQ(&tendl(out << L"line"), &out);
    EXPECT_EQ(out.str(), L"line\n");
}

TEST(WideString, PlusAppendsToItsLeftOperand)
{
    std::wstring text(L"id");
    std::wstring& result = text + -5;
    EXPECT_EQ(&result, &text);
    EXPECT_EQ(text, L"id-5");
    text + 2147483647;
    EXPECT_EQ(text, L"id-52147483647");
}

TEST(WideString, TrimRemovesOuterWhiteSpaceOnly)
{
    std::wstring text(L" \t\r\na b\t");
    EXPECT_EQ(&trim(text), &text);
    EXPECT_EQ(text, L"a b");

    const std::wstring original(L"  x ");
    EXPECT_EQ(trim(original), L"x");
    EXPECT_EQ(original, L"  x ");

    std::wstring left(L" \tx "), right(L" x\t\n");
    EXPECT_EQ(trimLeft(left), L"x ");
    EXPECT_EQ(trimRight(right), L" x");

    for (const wchar_t* blank : {L"", L" ", L" \t\r\n\v\f"}) {
        std::wstring all(blank);
        EXPECT_EQ(trim(all), L"");
        all = blank;
        EXPECT_EQ(trimLeft(all), L"");
        all = blank;
        EXPECT_EQ(trimRight(all), L"");
    }
}

TEST(WideString, ReplaceInSkipsWhatItInserted)
{
    std::wstring text(L"aXa");
    EXPECT_EQ(&replaceIn(text, L"a", L"aa"), &text);
    EXPECT_EQ(text, L"aaXaa");

    text = L"abcabc";
    EXPECT_EQ(replaceIn(text, L"", L"z"), L"abcabc");
    EXPECT_EQ(replaceIn(text, L"q", L"z"), L"abcabc");
    EXPECT_EQ(replaceIn(text, L"b", L""), L"acac");
    EXPECT_EQ(replaceIn(text, L"ac", L"x"), L"xx");
    text = L"";
    EXPECT_EQ(replaceIn(text, L"a", L"b"), L"");
    // Matches do not overlap: the search goes on behind a replacement.
    text = L"aaa";
    EXPECT_EQ(replaceIn(text, L"aa", L"b"), L"ba");
}

TEST(WideString, IsNumericReadsOneWholeDecimalNumberForTheThreeBases)
{
    for (const wchar_t* number : {L"12", L"-1.5", L"1e3", L" 12", L"+.5", L"9"})
        EXPECT_TRUE(isNumeric(number, 512)) << number;
    for (const wchar_t* other : {L"12 ", L"12a", L"", L" ", L"ff", L"1,5", L"--1"})
        EXPECT_FALSE(isNumeric(other, 512)) << other;

    // The base selects nothing: hex digits stay non-numeric, decimals stay
    // numeric, and unknown bases (among them this platform's own flag
    // values where they differ) refuse everything.
    EXPECT_FALSE(isNumeric(L"ff", 2048));
    EXPECT_TRUE(isNumeric(L"9", 1024));
    EXPECT_TRUE(isNumeric(L"1.5", 2048));
    for (int base : {0, 8, 10, 16, 511, 4096})
        EXPECT_FALSE(isNumeric(L"12", base)) << base;
}

TEST(Tokenizer, RunsOfDelimitersGiveNoEmptyTokens)
{
    Tokenizer words(L"  a  \tb\r\nc \n");
    EXPECT_EQ(tokensOf(words), (std::vector<std::wstring>{L"a", L"b", L"c"}));
    // After the end: false again, with the last token kept.
    EXPECT_FALSE(words.nextToken());
    EXPECT_EQ(words.getToken(), L"c");

    EXPECT_EQ(Tokenizer::defaultDelimiters, L" \t\n\r");

    Tokenizer csv(L";x;;y z;", L";");
    EXPECT_EQ(tokensOf(csv), (std::vector<std::wstring>{L"x", L"y z"}));
}

TEST(Tokenizer, NothingToCutGivesFalseAndAnEmptyToken)
{
    for (const wchar_t* text : {L"", L" \t\r\n "}) {
        Tokenizer tokenizer(text);
        EXPECT_FALSE(tokenizer.nextToken());
        EXPECT_EQ(tokenizer.getToken(), L"");
    }
    Tokenizer whole(L" a b ", L"");
    ASSERT_TRUE(whole.nextToken());
    EXPECT_EQ(whole.getToken(), L" a b ");
    EXPECT_FALSE(whole.nextToken());
}

TEST(Tokenizer, PerCallDelimitersStartFromTheEndingDelimiter)
{
    Tokenizer tokenizer(L"a,b c d");
    ASSERT_TRUE(tokenizer.nextToken(L","));
    EXPECT_EQ(tokenizer.getToken(), L"a");
    // The position stands on the comma, which is no delimiter for this call.
    ASSERT_TRUE(tokenizer.nextToken(L" "));
    EXPECT_EQ(tokenizer.getToken(), L",b");
    // Without a set of its own, the stored one holds again.
    ASSERT_TRUE(tokenizer.nextToken());
    EXPECT_EQ(tokenizer.getToken(), L"c");

    Tokenizer copy(tokenizer);
    ASSERT_TRUE(tokenizer.nextToken());
    EXPECT_EQ(tokenizer.getToken(), L"d");
    EXPECT_EQ(copy.getToken(), L"c");
    ASSERT_TRUE(copy.nextToken());
    EXPECT_EQ(copy.getToken(), L"d");
}
