// The Utf8String object: construction, the index rule, refusals that a
// 64-bit std::string would not make by itself, element access, encodings,
// the byte order mark, streams and swap.
#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

const unsigned int npos = Utf8String::npos;

// "aé€😀": code points of one to four bytes.
const std::string mixed = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

std::vector<unsigned long> codePoints(const Utf8String& s)
{
    return std::vector<unsigned long>(s.begin(), s.end());
}

std::vector<unsigned long> cps(std::initializer_list<unsigned long> l) { return l; }

} // namespace

TEST(Utf8StringConstruct, EmptyText)
{
    const Utf8String s;
    EXPECT_EQ(s.size(), 0u);
    EXPECT_EQ(s.bytes(), 0u);
    EXPECT_TRUE(s.empty());
    EXPECT_STREQ(s.c_str(), "");
    EXPECT_TRUE(s.begin() == s.end());
    EXPECT_EQ(s.max_size(), 0xFFFFFFFEu);
}

TEST(Utf8StringConstruct, RepairingFormsReplaceBadBytes)
{
    const Utf8String fromString(std::string("a\xFF"));
    EXPECT_EQ(codePoints(fromString), cps({0x61, 0xFFFD}));
    EXPECT_EQ(fromString.size(), 2u);
    EXPECT_EQ(fromString.bytes(), 4u);
    EXPECT_EQ(Utf8String("a\xFF").bytes(), 4u);
    // The std::string form keeps NUL code points; the terminated form stops.
    EXPECT_EQ(Utf8String(std::string("a\0b", 3)).size(), 3u);
    EXPECT_EQ(Utf8String("a\0b").size(), 1u);
}

TEST(Utf8StringConstruct, CountedCharPointerWalksStrictly)
{
    EXPECT_EQ(codePoints(Utf8String("a\xFF", 1)), cps({0x61}));
    EXPECT_TRUE(throwsWith<std::length_error>([] { Utf8String("a\xFF", 2); }, "string too long"));
    EXPECT_EQ(Utf8String(mixed.c_str(), 4).bytes(), 10u);
    EXPECT_EQ(Utf8String(mixed.c_str(), 0).bytes(), 0u);
    EXPECT_TRUE(throwsWith<std::length_error>([] { Utf8String(mixed.c_str(), 5); }, "string too long"));
    // npos is no count here: a 64-bit std::string would read 4 GiB.
    EXPECT_TRUE(throwsWith<std::length_error>([] { Utf8String(mixed.c_str(), npos); }, "string too long"));
    EXPECT_TRUE(throwsWith<std::length_error>([] { Utf8String(nullptr, npos); }, "string too long"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8String(nullptr, 1); }, "null pointer detected"));
}

TEST(Utf8StringConstruct, RepeatedCodePoint)
{
    EXPECT_EQ(codePoints(Utf8String(3, 0x20ACul)), cps({0x20AC, 0x20AC, 0x20AC}));
    EXPECT_EQ(Utf8String(3, 0x20ACul).bytes(), 9u);
    EXPECT_TRUE(Utf8String(0, 0xD800ul).empty()); // n 0 never looks at the code point
    EXPECT_TRUE(throwsWith<utf8::invalid_code_point>([] { Utf8String(1, 0xD800ul); }, "Invalid code point"));
    EXPECT_TRUE(throwsWith<utf8::invalid_code_point>([] { Utf8String(2, 0x110000ul); }, "Invalid code point"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([] { Utf8String(npos, 0x41ul); },
                                                    "Utf8String::npos not allowed here"));
    // More bytes than max_size() is refused before anything is allocated.
    EXPECT_TRUE(throwsWith<std::length_error>([] { Utf8String(0x80000000u, 0x10000ul); }, "string too long"));
}

TEST(Utf8StringConstruct, SubstringAndIteratorRange)
{
    const Utf8String s(mixed);
    EXPECT_EQ(codePoints(Utf8String(s, 1, 2)), cps({0xE9, 0x20AC}));
    EXPECT_EQ(codePoints(Utf8String(s, 2)), cps({0x20AC, 0x1F600}));
    EXPECT_EQ(codePoints(Utf8String(s, 3, npos)), cps({0x1F600}));
    EXPECT_EQ(codePoints(Utf8String(s, 1, 100)), cps({0xE9, 0x20AC, 0x1F600}));
    EXPECT_TRUE(Utf8String(s, s.size()).empty());
    EXPECT_TRUE(throwsWith<std::out_of_range>([&] { Utf8String(s, s.size() + 1); }, "invalid string position"));
    EXPECT_TRUE(throwsWith<std::out_of_range>([&] { Utf8String(s, npos); }, "invalid string position"));

    Utf8String t(mixed);
    Utf8String::iterator first = t.begin();
    Utf8String::iterator last = t.end();
    ++first;
    --last;
    EXPECT_EQ(codePoints(Utf8String(first, last)), cps({0xE9, 0x20AC}));
    EXPECT_TRUE(Utf8String(last, last).empty());
    EXPECT_TRUE(throwsWith<std::length_error>([&] { Utf8String(last, first); }, "string too long"));
}

TEST(Utf8StringConstruct, CopiesOwnTheirText)
{
    Utf8String original(mixed);
    const Utf8String copy(original);
    original = "changed";
    EXPECT_EQ(std::string(copy.c_str()), mixed);
    EXPECT_NE(copy.c_str(), original.c_str());
}

TEST(Utf8StringAssign, AllForms)
{
    Utf8String s("start");
    s = std::string("x\xC3");
    EXPECT_EQ(codePoints(s), cps({0x78, 0xFFFD}));
    s = "\xC0\xAF" "b";
    EXPECT_EQ(codePoints(s), cps({0xFFFD, 0x62}));
    s = 0x1F600ul;
    EXPECT_EQ(codePoints(s), cps({0x1F600}));
    EXPECT_TRUE(throwsWith<utf8::invalid_code_point>([&] { s = 0xDFFFul; }, "Invalid code point"));
    EXPECT_EQ(codePoints(s), cps({0x1F600}));
    const Utf8String& self = s;
    s = self;
    EXPECT_EQ(codePoints(s), cps({0x1F600}));
    s = Utf8String(mixed);
    EXPECT_EQ(s.bytes(), 10u);
}

TEST(Utf8StringSize, CapacityReserveResizeClear)
{
    Utf8String s(mixed);
    EXPECT_EQ(s.size(), 4u);
    EXPECT_EQ(s.length(), 4u);
    s.reserve(100);
    EXPECT_GE(s.capacity(), 100u);
    s.reserve(1);
    EXPECT_EQ(s.size(), 4u);
    EXPECT_EQ(std::string(s.c_str()), mixed);
    EXPECT_TRUE(throwsWith<std::length_error>([&] { s.reserve(npos); }, "string too long"));

    s.resize(2, 0x41);
    EXPECT_EQ(codePoints(s), cps({0x61, 0xE9}));
    s.resize(4, 0x20AC);
    EXPECT_EQ(codePoints(s), cps({0x61, 0xE9, 0x20AC, 0x20AC}));
    EXPECT_TRUE(throwsWith<utf8::invalid_code_point>([&] { s.resize(5, 0xD800); }, "Invalid code point"));
    EXPECT_EQ(s.size(), 4u);
    s.resize(4, 0xD800); // equal size: the code point is not looked at
    s.resize(0, 0xD800);
    EXPECT_TRUE(s.empty());
    EXPECT_TRUE(throwsWith<std::length_error>([&] { s.resize(npos, 0x41); }, "string too long"));

    Utf8String t(mixed);
    const unsigned int capacity = t.capacity();
    t.clear();
    EXPECT_TRUE(t.empty());
    EXPECT_EQ(t.capacity(), capacity);
}

// Positions 0 to size() are accepted, size() standing behind the last code
// point; at() accepts only 0 to size() - 1.
TEST(Utf8StringIndexRule, PositionsUpToSizeAreAccepted)
{
    const Utf8String s(mixed);
    const std::vector<unsigned long> expected = codePoints(s);
    for (unsigned int pos = 0; pos <= s.size() + 1; ++pos) {
        SCOPED_TRACE(pos);
        if (pos < s.size()) {
            EXPECT_EQ(s.at(pos), expected[pos]);
            EXPECT_EQ(s[pos], expected[pos]);
        } else {
            EXPECT_TRUE(throwsWith<std::out_of_range>([&] { s.at(pos); }, "invalid string position"));
            EXPECT_TRUE(throwsWith<std::out_of_range>([&] { s[pos]; }, "invalid string position"));
        }
        if (pos <= s.size())
            EXPECT_EQ(Utf8String(s, pos).size(), s.size() - pos);
        else
            EXPECT_TRUE(throwsWith<std::out_of_range>([&] { Utf8String(s, pos); }, "invalid string position"));
    }
    EXPECT_TRUE(throwsWith<std::out_of_range>([&] { s.at(npos); }, "invalid string position"));
}

TEST(Utf8StringAccess, CopyCountsBytesAndWritesNoTerminator)
{
    const Utf8String s(mixed);
    char buffer[16];
    std::fill(std::begin(buffer), std::end(buffer), '#');
    EXPECT_EQ(s.copy(buffer, 2, 1), 5u);
    EXPECT_EQ(std::string(buffer, 6), "\xC3\xA9\xE2\x82\xAC#");
    EXPECT_EQ(s.copy(buffer, npos, 3), 4u);
    EXPECT_EQ(s.copy(buffer, 5, s.size()), 0u);
    EXPECT_TRUE(throwsWith<std::out_of_range>([&] { s.copy(buffer, 1, s.size() + 1); },
                                              "invalid string position"));
    EXPECT_EQ(s.c_str(), s.data());
    EXPECT_EQ(s.c_str(), s.asUtf8());
}

// Only insert(unsigned int, const char*) can put bad bytes into a text; this
// stands in for it by writing through the raw pointer.
TEST(Utf8StringAccess, BadBytesInTheTextAreReported)
{
    Utf8String s("ab\xC3\xA9z");
    const_cast<char*>(s.c_str())[3] = 'x'; // "ab", a cut-off sequence, "xz"
    EXPECT_TRUE(throwsWith<std::out_of_range>([&] { s.at(3); }, "invalid string position"));
    EXPECT_TRUE(throwsWith<StringEncodingException>([&] { s.at(2); }, "Invalid UTF-8"));
    EXPECT_EQ(s.at(1), 0x62u);
    EXPECT_THROW(s.size(), utf8::invalid_utf8);
    EXPECT_THROW(s.asUtf16(), utf8::invalid_utf8);
    EXPECT_THROW(s.asUtf32(), utf8::invalid_utf8);
}

TEST(Utf8StringEncodings, Utf16AndUtf32)
{
    const Utf8String astral(std::string("\xF0\x90\x80\x80"));
    EXPECT_EQ(astral.size(), 1u);
    EXPECT_EQ(astral.bytes(), 4u);
    const wchar_t* units = astral.asUtf16();
    EXPECT_EQ(static_cast<unsigned>(units[0]), 0xD800u);
    EXPECT_EQ(static_cast<unsigned>(units[1]), 0xDC00u);
    EXPECT_EQ(static_cast<unsigned>(units[2]), 0u);
    const unsigned long* points = astral.asUtf32();
    EXPECT_EQ(points[0], 0x10000u);
    EXPECT_EQ(points[1], 0u);
    EXPECT_EQ(astral.asWideString(), astral.asUtf16());

    const std::vector<unsigned> expected = {0x61, 0xE9, 0x20AC, 0xD83D, 0xDE00, 0};
    const Utf8String text(mixed);
    const wchar_t* wide = text.asUtf16();
    EXPECT_EQ(std::vector<unsigned>(wide, wide + 6), expected);
}

TEST(Utf8StringEncodings, ReturnedBufferShowsTheTextAsItWas)
{
    Utf8String s("ab");
    const wchar_t* before = s.asUtf16();
    s = "xyz";
    EXPECT_EQ(std::wstring(before), L"ab");
    EXPECT_EQ(std::wstring(s.asUtf16()), L"xyz");
    // A NUL code point ends the terminated view.
    EXPECT_EQ(std::wstring(Utf8String(std::string("a\0b", 3)).asUtf16()), L"a");
}

TEST(Utf8StringBom, AddAndPurgeLookAtTheFirstThreeBytes)
{
    Utf8String s;
    EXPECT_TRUE(s.addBOM());
    EXPECT_EQ(s.size(), 1u);
    EXPECT_EQ(s.at(0), 0xFEFFu);
    EXPECT_FALSE(s.addBOM());
    EXPECT_TRUE(s.purgeBOM());
    EXPECT_TRUE(s.empty());
    EXPECT_FALSE(s.purgeBOM());

    Utf8String doubled(std::string("\xEF\xBB\xBF\xEF\xBB\xBF" "a"));
    EXPECT_TRUE(doubled.purgeBOM());
    EXPECT_EQ(doubled.size(), 2u);
    EXPECT_EQ(doubled.at(0), 0xFEFFu);

    Utf8String shortText("\xC3\xA9");
    EXPECT_FALSE(shortText.purgeBOM());
    Utf8String oneByte("a");
    EXPECT_FALSE(oneByte.purgeBOM());
}

TEST(Utf8StringStreams, ExtractionRepairsAndInsertionStopsAtNul)
{
    std::istringstream in("w\xFFord second\nthird line\n");
    Utf8String word;
    in >> word;
    EXPECT_TRUE(in);
    EXPECT_EQ(codePoints(word), cps({0x77, 0xFFFD, 0x6F, 0x72, 0x64}));
    Utf8String line;
    getline(in, line);
    EXPECT_EQ(std::string(line.c_str()), " second");
    getline(in, line, ' ');
    EXPECT_EQ(std::string(line.c_str()), "third");

    std::istringstream empty("");
    Utf8String target("kept?");
    empty >> target;
    EXPECT_FALSE(empty);
    EXPECT_TRUE(target.empty());

    std::ostringstream out;
    out.width(6);
    out.fill('.');
    out << Utf8String(std::string("ab\0cd", 5));
    EXPECT_EQ(out.str(), "....ab");
}

TEST(Utf8StringSwap, ExchangesTextsAndKeepsScratchBuffers)
{
    Utf8String a("first");
    Utf8String b(mixed);
    const wchar_t* aUnits = a.asUtf16();
    const wchar_t* bUnits = b.asUtf16();
    swap(a, b);
    EXPECT_EQ(std::string(a.c_str()), mixed);
    EXPECT_EQ(std::string(b.c_str()), "first");
    EXPECT_EQ(std::wstring(aUnits), L"first");
    EXPECT_EQ(static_cast<unsigned>(bUnits[0]), 0x61u);
    a.swap(a);
    EXPECT_EQ(std::string(a.c_str()), mixed);
}

TEST(Utf8StringIterator, WalksBothWays)
{
    Utf8String s(mixed);
    std::vector<unsigned long> backwards;
    for (Utf8String::iterator it = s.end(); it != s.begin();)
        backwards.push_back(*--it);
    EXPECT_EQ(backwards, cps({0x1F600, 0x20AC, 0xE9, 0x61}));
    EXPECT_EQ(s.end().base() - s.begin().base(), 10);
}
