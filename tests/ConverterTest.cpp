// Converter and Win32LocaleConverter: the Unicode forms, hexadecimal text,
// and ANSI text, which is Windows-1252 here (on Linux the tests run in the C
// locale, under Wine with a Western locale).
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

// The bytes that convertHexStringToBytesArray hands over, or "false".
std::string readHex(const std::wstring& hex)
{
    unsigned char stale = 0;
    unsigned char* bytes = &stale;
    unsigned int length = 7;
    if (!Converter::convertHexStringToBytesArray(hex, &bytes, length))
        return bytes == nullptr && length == 0 ? "false" : "false, with output left";
    std::string result(reinterpret_cast<char*>(bytes), length);
    delete[] bytes;
    return result;
}

} // namespace

TEST(Converter, HexTextIsTwoDigitsPerByte)
{
    const unsigned char bytes[] = {0x00, 0xAB, 0xFF, 0x10};
    EXPECT_EQ(Converter::convertBytesArrayToHexString(bytes, 4), L"00abff10");
    EXPECT_EQ(Converter::convertBytesArrayToHexString(nullptr, 0), L"");
    EXPECT_EQ(readHex(L"00abFF10"), std::string("\x00\xAB\xFF\x10", 4));
    // An odd last character is not looked at; the empty text is an array.
    EXPECT_EQ(readHex(L"abz"), "\xAB");
    EXPECT_EQ(readHex(L""), "");
    // A bad digit anywhere; the array built so far is released.
    for (const wchar_t* bad : {L"zz", L"0z", L"00g0", L"0x10", L"\x00E9"})
        EXPECT_EQ(readHex(std::wstring(bad) + L"0"), "false") << bad;

    unsigned char sentinel = 0;
    unsigned char* out = &sentinel;
    unsigned int length = 7;
    EXPECT_TRUE(throwsWith<Exception>(
        [&] { Converter::convertHexStringToBytesArray(L"00\x0130", &out, length); },
        "Error on conversion tstr_to_str"));
    EXPECT_EQ(out, &sentinel);
    EXPECT_EQ(length, 7u);
}

TEST(Converter, BytesToStringWidensWithoutDecoding)
{
    const unsigned char bytes[] = {'a', 0x00, 0xE9};
    EXPECT_EQ(Converter::convertBytesArrayToString(bytes, 3), (std::wstring{L'a', 0, 0xFFE9}));
    EXPECT_EQ(Converter::convertBytesArrayToString(nullptr, 0), L"");
}

TEST(Converter, SurrogatePairsAndBadUnicode)
{
    const std::wstring pair{0xD800, 0xDC00};
    EXPECT_EQ(Converter::toUtf16(Utf8String(std::string("\xF0\x90\x80\x80"))), pair);
    EXPECT_EQ(bytesOf(Converter::toUtf8(pair)), "\xF0\x90\x80\x80");

    for (const std::wstring& bad : {std::wstring{0xD800}, std::wstring{L'a', 0xDC00},
                                    std::wstring{0xD800, L'b'}})
        EXPECT_TRUE(throwsWith<utf8::invalid_utf16>([&] { Converter::toUtf32(bad); },
                                                    "Invalid UTF-16"));
    for (unsigned long bad : {0x110000ul, 0xD800ul})
        EXPECT_TRUE(throwsWith<utf8::invalid_code_point>(
            [&] { Converter::toUtf16(Utf32(1, bad)); }, "Invalid code point"));

    // Where wchar_t and unsigned long are wider than the forms they carry,
    // larger values are refused, not cut to their low bits.
    if constexpr (sizeof(wchar_t) > 2) {
        EXPECT_THROW(Converter::toUtf8(std::wstring(1, static_cast<wchar_t>(0x10041))),
                     utf8::invalid_utf16);
    }
    if constexpr (sizeof(unsigned long) > 4) {
        EXPECT_THROW(Converter::toUtf8(Utf32(1, static_cast<unsigned long>((1ull << 32) | 0x41))),
                     utf8::invalid_code_point);
    }
}

TEST(Converter, NulStaysInUnicodeFormsAndEmptyStaysEmpty)
{
    EXPECT_EQ(bytesOf(Converter::toUtf8(std::wstring(L"a\0b", 3))), std::string("a\0b", 3));
    EXPECT_EQ(bytesOf(Converter::toUtf8(Utf32{'a', 0, 'b'})), std::string("a\0b", 3));
    EXPECT_TRUE(Converter::toUtf8(std::wstring()).empty());
    EXPECT_TRUE(Converter::toUtf16(Utf32()).empty());
    EXPECT_TRUE(Converter::toUtf32(std::wstring()).empty());
}

TEST(LocaleConverter, AnsiIsWindows1252AndEndsAtNul)
{
    EXPECT_EQ(bytesOf(Win32LocaleConverter::ansiToUtf8("plain 123")), "plain 123");
    // 0x80 is where 1252 differs from Latin-1: the euro sign.
    EXPECT_EQ(bytesOf(Converter::toUtf8(std::string("caf\xE9\x80\0x", 7))),
              "caf\xC3\xA9\xE2\x82\xAC");
    EXPECT_TRUE(Converter::toUtf8(std::string()).empty());
}

// Random valid text from all planes, UTF-8 to UTF-16 and back, and to UTF-32.
TEST(ConverterProperty, RoundTripsKeepRandomValidText)
{
    const unsigned seed = 20260601;
    std::cout << "[ seed     ] " << seed << std::endl;
    std::mt19937 random(seed);
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        Utf32 codePoints;
        std::string bytes;
        for (int i = random() % 20; i > 0; --i) {
            // Each encoding length about as often as the others.
            const utf8::uint32_t limits[] = {0x80, 0x800, 0x10000, 0x110000};
            utf8::uint32_t cp = random() % limits[random() % 4];
            if (cp >= 0xD800 && cp <= 0xDFFF)
                cp -= 0x800;
            codePoints += cp;
            utf8::append(cp, std::back_inserter(bytes));
        }
        const std::wstring utf16 = Converter::toUtf16(Utf8String(bytes));
        EXPECT_EQ(bytesOf(Converter::toUtf8(utf16)), bytes);
        EXPECT_EQ(Converter::toUtf32(utf16), codePoints);
        EXPECT_EQ(Converter::toUtf32(Utf8String(bytes)), codePoints);
        EXPECT_EQ(bytesOf(Converter::toUtf8(codePoints)), bytes);
    }
}
