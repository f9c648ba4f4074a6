// Converter and Win32LocaleConverter: the Unicode forms, hexadecimal text,
// and text of the ANSI code page (Windows-1252 here: on Linux the tests run
// in the C locale, under Wine with a Western LANG).
#include "CorvoConverter.h"
#include "CorvoException.h"
#include "CorvoLocaleConverter.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <iostream>
#include <iterator>
#include <random>
#include <string>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

typedef Converter::Utf32String Utf32;

std::string bytesOf(const Utf8String& text) { return std::string(text.c_str(), text.bytes()); }

std::wstring units(std::initializer_list<unsigned> values)
{
    std::wstring text;
    for (unsigned value : values)
        text += static_cast<wchar_t>(value);
    return text;
}

// Owns what convertHexStringToBytesArray hands over.
struct HexResult
{
    ~HexResult() { delete[] bytes; }

    bool ok = false;
    unsigned char* bytes = nullptr;
    unsigned int length = 0;

    std::string asString() const { return std::string(reinterpret_cast<char*>(bytes), length); }
};

void readHex(const std::wstring& hex, HexResult& result)
{
    result.ok = Converter::convertHexStringToBytesArray(hex, &result.bytes, result.length);
}

} // namespace

TEST(Converter, BytesToHexIsLowerCaseHighNibbleFirst)
{
    const unsigned char bytes[] = {0x00, 0xAB, 0xFF, 0x10, 0x09};
    EXPECT_EQ(Converter::convertBytesArrayToHexString(bytes, 5), L"00abff1009");
    EXPECT_EQ(Converter::convertBytesArrayToHexString(nullptr, 0), L"");
}

TEST(Converter, HexToBytesAcceptsBothCasesAndDropsAnOddLastCharacter)
{
    HexResult mixed;
    readHex(L"00abFF9c", mixed);
    EXPECT_TRUE(mixed.ok);
    EXPECT_EQ(mixed.asString(), std::string("\x00\xAB\xFF\x9C", 4));

    for (const wchar_t* odd : {L"abc", L"abz"}) {
        HexResult result;
        readHex(odd, result);
        EXPECT_TRUE(result.ok) << odd;
        EXPECT_EQ(result.asString(), "\xAB") << odd;
    }

    HexResult empty;
    readHex(L"", empty);
    EXPECT_TRUE(empty.ok);
    EXPECT_EQ(empty.length, 0u);
    EXPECT_NE(empty.bytes, nullptr);
}

TEST(Converter, HexToBytesFailsOnABadDigitAndThrowsAboveByteRange)
{
    // A bad first or second digit, in the first or a later pair; the array
    // built so far is released (ASan would see a leak).
    for (const std::wstring& bad : {std::wstring(L"zz"), std::wstring(L"0z"), std::wstring(L"00g0"),
                                    std::wstring(L"0011-2"), std::wstring(L"0x10"),
                                    units({0xE9, '0'})}) {
        unsigned char stale = 0;
        unsigned char* bytes = &stale;
        unsigned int length = 7;
        EXPECT_FALSE(Converter::convertHexStringToBytesArray(bad, &bytes, length));
        EXPECT_EQ(bytes, nullptr);
        EXPECT_EQ(length, 0u);
    }

    unsigned char sentinel = 0;
    unsigned char* bytes = &sentinel;
    unsigned int length = 7;
    EXPECT_TRUE(throwsWith<Exception>(
        [&] { Converter::convertHexStringToBytesArray(L"00\x0130", &bytes, length); },
        "Error on conversion tstr_to_str"));
    EXPECT_EQ(bytes, &sentinel);
    EXPECT_EQ(length, 7u);
}

TEST(Converter, BytesToStringWidensWithoutDecoding)
{
    const unsigned char bytes[] = {'a', 0x00, 0xE9};
    EXPECT_EQ(Converter::convertBytesArrayToString(bytes, 3), units({'a', 0, 0xFFE9}));
    EXPECT_EQ(Converter::convertBytesArrayToString(nullptr, 0), L"");
}

TEST(Converter, SupplementaryCharactersBecomeSurrogatePairs)
{
    const Utf8String text(std::string("\xF0\x90\x80\x80"));
    const std::wstring pair = units({0xD800, 0xDC00});
    EXPECT_EQ(Converter::toUtf16(text), pair);
    EXPECT_EQ(bytesOf(Converter::toUtf8(pair)), "\xF0\x90\x80\x80");
    EXPECT_EQ(Converter::toUtf32(pair), Utf32(1, 0x10000));
    EXPECT_EQ(Converter::toUtf16(Utf32(1, 0x10FFFF)), units({0xDBFF, 0xDFFF}));
}

TEST(Converter, BadUnicodeRaisesTheUtfcppException)
{
    for (const std::wstring& bad : {units({0xD800}), units({'a', 0xDC00}), units({0xD800, 'b'}),
                                    units({0xDBFF, 0xD800})}) {
        EXPECT_TRUE(throwsWith<utf8::invalid_utf16>([&] { Converter::toUtf8(bad); },
                                                    "Invalid UTF-16"));
        EXPECT_THROW(Converter::toUtf32(bad), utf8::invalid_utf16);
    }
    for (unsigned long bad : {0x110000ul, 0xD800ul, 0xDFFFul, 0xFFFFFFFFul}) {
        EXPECT_TRUE(throwsWith<utf8::invalid_code_point>([&] { Converter::toUtf8(Utf32(1, bad)); },
                                                         "Invalid code point"));
        EXPECT_THROW(Converter::toUtf16(Utf32(1, bad)), utf8::invalid_code_point);
    }
}

TEST(Converter, ElementsWiderThanTheirFormAreRefusedNotTruncated)
{
    // Only where wchar_t and unsigned long are wider than UTF-16 and UTF-32
    // need them: values beyond would otherwise lose their high bits.
    if constexpr (sizeof(wchar_t) > 2) {
        const std::wstring wide(1, static_cast<wchar_t>(0x10041));
        EXPECT_THROW(Converter::toUtf8(wide), utf8::invalid_utf16);
        EXPECT_THROW(Converter::toUtf8(std::wstring(1, static_cast<wchar_t>(-1))),
                     utf8::invalid_utf16);
    }
    if constexpr (sizeof(unsigned long) > 4) {
        const auto wide = static_cast<unsigned long>((1ull << 32) | 0x41);
        EXPECT_THROW(Converter::toUtf8(Utf32(1, wide)), utf8::invalid_code_point);
    }
}

TEST(Converter, EmbeddedNulStaysInUnicodeFormsAndEmptyStaysEmpty)
{
    EXPECT_EQ(bytesOf(Converter::toUtf8(units({'a', 0, 'b'}))), std::string("a\0b", 3));
    EXPECT_EQ(bytesOf(Converter::toUtf8(Utf32{'a', 0, 'b'})), std::string("a\0b", 3));
    EXPECT_EQ(Converter::toUtf16(Utf8String(std::string("a\0b", 3))), units({'a', 0, 'b'}));

    EXPECT_TRUE(Converter::toUtf8(std::string()).empty());
    EXPECT_TRUE(Converter::toUtf8(std::wstring()).empty());
    EXPECT_TRUE(Converter::toUtf8(Utf32()).empty());
    EXPECT_TRUE(Converter::toUtf16(Utf8String()).empty());
    EXPECT_TRUE(Converter::toUtf16(Utf32()).empty());
    EXPECT_TRUE(Converter::toUtf32(Utf8String()).empty());
    EXPECT_TRUE(Converter::toUtf32(std::wstring()).empty());
}

TEST(LocaleConverter, AnsiIsWindows1252AndEndsAtNul)
{
    EXPECT_EQ(bytesOf(Win32LocaleConverter::ansiToUtf8("plain text 123")), "plain text 123");
    EXPECT_EQ(bytesOf(Win32LocaleConverter::ansiToUtf8("caf\xE9")), "caf\xC3\xA9");
    // Where 1252 differs from Latin-1: 0x80 is the euro sign.
    EXPECT_EQ(bytesOf(Win32LocaleConverter::ansiToUtf8("\x80")), "\xE2\x82\xAC");
    EXPECT_EQ(bytesOf(Win32LocaleConverter::ansiToUtf8(std::string("ab\0cd", 5))), "ab");
    EXPECT_TRUE(Win32LocaleConverter::ansiToUtf8("").empty());

    EXPECT_EQ(bytesOf(Converter::toUtf8(std::string("\xE9t\xE9\0x", 5))), "\xC3\xA9t\xC3\xA9");
}

// Random valid text, all planes, through every route: UTF-8 to UTF-16 and
// back, to UTF-32, and across between UTF-16 and UTF-32.
TEST(ConverterProperty, RoundTripsKeepRandomValidText)
{
    const unsigned seed = 20260601;
    std::cout << "[ seed     ] " << seed << std::endl;
    std::mt19937 random(seed);
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        Utf32 codePoints;
        std::string bytes;
        std::size_t pairs = 0;
        const int length = random() % 20;
        for (int i = 0; i < length; ++i) {
            // Favour the boundaries of the encodings over the bulk of plane 1+.
            const utf8::uint32_t limits[] = {0x80, 0x800, 0x10000, 0x110000};
            utf8::uint32_t cp = random() % limits[random() % 4];
            if (cp >= 0xD800 && cp <= 0xDFFF)
                cp -= 0x800;
            codePoints += cp;
            pairs += cp >= 0x10000;
            utf8::append(cp, std::back_inserter(bytes));
        }
        const Utf8String text(bytes);
        const std::wstring utf16 = Converter::toUtf16(text);
        EXPECT_EQ(utf16.size(), codePoints.size() + pairs);
        EXPECT_EQ(bytesOf(Converter::toUtf8(utf16)), bytes);
        EXPECT_EQ(Converter::toUtf32(text), codePoints);
        EXPECT_EQ(bytesOf(Converter::toUtf8(codePoints)), bytes);
        EXPECT_EQ(Converter::toUtf16(codePoints), utf16);
        EXPECT_EQ(Converter::toUtf32(utf16), codePoints);
    }
}
