// Converter and Win32LocaleConverter: the Unicode forms, the one reading of
// wide text behind them, hexadecimal text, and ANSI text, which is
// Windows-1252 here (on Linux the tests run in the C locale, under Wine with
// a Western locale).
#include "CorvoConverter.h"
#include "CorvoException.h"
#include "CorvoLocaleConverter.h"
#include "CorvoWideText.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

typedef Converter::Utf32String Utf32;

std::string bytesOf(const Utf8String& text) { return std::string(text.c_str(), text.bytes()); }

// The bytes that convertHexStringToBytesArray hands over, or "false".
std::string readHex(const std::wstring& hex)
{
    unsigned char stale = 0, *bytes = &stale;
    unsigned int length = 7;
    if (!Converter::convertHexStringToBytesArray(hex, &bytes, length))
        return bytes == nullptr && length == 0 ? "false" : "false, with output left";
    std::string result(reinterpret_cast<char*>(bytes), length);
    delete[] bytes;
    return result;
}

} // namespace

TEST(Converter, BytesToHexTextAndBack)
{
    const unsigned char bytes[] = {0x00, 0xAB, 0xFF, 0x10};
    EXPECT_EQ(Converter::convertBytesArrayToHexString(bytes, 4), L"00abff10");
    // As text, the bytes widen without decoding.
    EXPECT_EQ(Converter::convertBytesArrayToString(bytes, 3), (std::wstring{0, 0xFFAB, 0xFFFF}));
    EXPECT_TRUE(Converter::convertBytesArrayToHexString(nullptr, 0).empty() &&
                Converter::convertBytesArrayToString(nullptr, 0).empty());
    EXPECT_EQ(readHex(L"00abFF10"), std::string("\x00\xAB\xFF\x10", 4));
    // An odd last character is not looked at; the empty text is an array.
    EXPECT_TRUE(readHex(L"abz") == "\xAB" && readHex(L"").empty());
    // A bad digit anywhere; the array built so far is released.
    for (const wchar_t* bad : {L"zz", L"0z", L"00g0", L"0x10", L"\x00E9"})
        EXPECT_EQ(readHex(std::wstring(bad) + L"0"), "false") << bad;

    // A wide character that no byte holds throws before the output is touched.
    unsigned char sentinel = 0, *out = &sentinel;
    unsigned int length = 7;
    EXPECT_TRUE(throwsWith<Exception>([&] { Converter::convertHexStringToBytesArray(L"00\x0130", &out, length); },
                                      "Error on conversion tstr_to_str"));
    EXPECT_TRUE(out == &sentinel && length == 7u);
}

// The units themselves are WideText's table below; here, that the Unicode
// forms keep NUL and let bad values reach the caller.
TEST(Converter, UnicodeFormsKeepNulAndRefuseBadValues)
{
    EXPECT_EQ(bytesOf(Converter::toUtf8(std::wstring(L"a\0b", 3))), std::string("a\0b", 3));
    EXPECT_EQ(bytesOf(Converter::toUtf8(Utf32{'a', 0, 'b'})), std::string("a\0b", 3));
    EXPECT_EQ(Converter::toUtf32(Converter::toUtf16(Utf32{0x10000, 0})), (Utf32{0x10000, 0}));
    EXPECT_TRUE(throwsWith<utf8::invalid_utf16>([] { Converter::toUtf32(std::wstring{0xD800}); }, "Invalid UTF-16"));
    // The last one must not be cut to U+0041 where unsigned long is wider.
    const unsigned long wide = sizeof(unsigned long) > 4 ? static_cast<unsigned long>(0x41) << 16 << 16 | 0x41 : 0xD800;
    for (unsigned long bad : {0x110000ul, 0xD800ul, wide})
        EXPECT_TRUE(throwsWith<utf8::invalid_code_point>([&] { Converter::toUtf16(Utf32(1, bad)); }, "Invalid code point"));
}

TEST(LocaleConverter, AnsiIsWindows1252AndEndsAtNul)
{
    // 0x80 is where 1252 differs from Latin-1: the euro sign.
    EXPECT_EQ(bytesOf(Converter::toUtf8(std::string("caf\xE9\x80\0x", 7))), "caf\xC3\xA9\xE2\x82\xAC");
    EXPECT_TRUE(Win32LocaleConverter::ansiToUtf8("").empty());
}

// appendUtf8 in both of its modes. Elements above 0xFFFF exist only where
// wchar_t is 32 bits; the rows with them are skipped elsewhere.
TEST(WideText, UnitsToUtf8)
{
    const std::string mark = "\xEF\xBF\xBD";
    const long none = -1;
    // Units, the text with bad units replaced, the unit that utf8::invalid_utf16 names.
    const std::vector<std::tuple<std::vector<unsigned long>, std::string, long>> rows = {
        {{'a', 0, 'b'}, std::string("a\0b", 3), none},
        {{0xE9, 0x20AC, 0xFFFF}, "\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBF", none},
        {{0xD83D, 0xDE00, 0xDBFF, 0xDFFF}, "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", none},
        // A lone surrogate: a lead at the end or before anything but a trail,
        // a trail without a lead.
        {{'a', 0xD800}, "a" + mark, 0xD800},
        {{0xD800, 'b'}, mark + "b", 'b'},
        {{0xD800, 0xD800, 0xDC00}, mark + "\xF0\x90\x80\x80", 0xD800},
        {{'a', 0xDC00, 'b'}, "a" + mark + "b", 0xDC00},
        // Beyond 16 bits: no unit, also where its low bits would make one.
        {{0x1F600}, mark, 0xF600},
        {{0xD83D, 0x1DE00}, mark + mark, 0xDE00},
        {{0xFFFFFFFF, 'z'}, mark + "z", 0xFFFF},
    };
    for (const auto& [units, replaced, thrown] : rows) {
        if (sizeof(wchar_t) == 2 && std::any_of(units.begin(), units.end(), [](unsigned long u) { return u > 0xFFFF; }))
            continue;
        const std::wstring text(units.begin(), units.end());
        std::string out = "x", strict;
        appendUtf8(out, text.data(), text.size(), BadUnit::Replace);
        EXPECT_EQ(out, "x" + replaced) << replaced;
        try {
            appendUtf8(strict, text.data(), text.size(), BadUnit::Throw);
            EXPECT_TRUE(strict == replaced && thrown == none) << replaced;
        } catch (const utf8::invalid_utf16& e) {
            EXPECT_EQ(e.utf16_word(), thrown) << replaced;
        }
    }
}
