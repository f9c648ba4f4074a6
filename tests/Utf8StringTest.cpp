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
using corvo_test::expectOutcomes;
using corvo_test::outcomeOf;

namespace {

const unsigned int npos = Utf8String::npos;

// "aé€😀": code points of one to four bytes.
const std::string mixed = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

std::vector<unsigned long> codePoints(const Utf8String& s) { return std::vector<unsigned long>(s.begin(), s.end()); }

std::vector<unsigned long> cps(std::initializer_list<unsigned long> l) { return l; }

const std::string tooLong = "std::length_error: string too long";
const std::string badPosition = "std::out_of_range: invalid string position";
const std::string badCodePoint = "utf8::invalid_code_point: Invalid code point";

} // namespace

TEST(Utf8String, Refusals)
{
    const Utf8String s(mixed);
    Utf8String t(mixed);
    const Utf8String::iterator first = ++t.begin(), last = --t.end();
    // "ab", a sequence cut off, "xz".
    Utf8String bad("ab\xC3\xA9z");
    const_cast<char*>(bad.c_str())[3] = 'x';
    char buffer[4];
    expectOutcomes({
        // The counted char pointer form walks strictly; npos is no count
        // there, as a 64-bit std::string would read 4 GiB.
        {"Utf8String(bad byte counted)", [] { Utf8String("a\xFF", 2); }, tooLong},
        {"Utf8String(5 of 4)", [] { Utf8String(mixed.c_str(), 5); }, tooLong},
        {"Utf8String(npos)", [] { Utf8String(mixed.c_str(), npos); }, tooLong},
        {"Utf8String(nullptr, npos)", [] { Utf8String(nullptr, npos); }, tooLong},
        {"Utf8String(nullptr, 1)", [] { Utf8String(nullptr, 1); }, "StringEncodingException: null pointer detected"},
        {"Utf8String(1, U+D800)", [] { Utf8String(1, 0xD800ul); }, badCodePoint},
        {"Utf8String(2, U+110000)", [] { Utf8String(2, 0x110000ul); }, badCodePoint},
        {"Utf8String(npos, A)", [] { Utf8String(npos, 0x41ul); },
         "StringEncodingException: Utf8String::npos not allowed here"},
        // More bytes than max_size(), refused before anything is allocated.
        {"Utf8String(2^31, U+10000)", [] { Utf8String(0x80000000u, 0x10000ul); }, tooLong},
        {"Utf8String(s, size + 1)", [&] { Utf8String(s, s.size() + 1); }, badPosition},
        {"Utf8String(s, npos)", [&] { Utf8String(s, npos); }, badPosition},
        {"Utf8String(last, first)", [&] { Utf8String(last, first); }, tooLong},
        {"reserve(npos)", [&] { t.reserve(npos); }, tooLong},
        {"resize(npos)", [&] { t.resize(npos, 0x41); }, tooLong},
        {"at(npos)", [&] { s.at(npos); }, badPosition},
        {"copy from size + 1", [&] { s.copy(buffer, 1, s.size() + 1); }, badPosition},
        // Bad bytes in the text: reading them is refused.
        {"at(past the bad bytes)", [&] { bad.at(3); }, badPosition},
        {"at(bad bytes)", [&] { bad.at(2); }, "StringEncodingException: Invalid UTF-8"},
        {"size() of bad bytes", [&] { bad.size(); }, "utf8::invalid_utf8: Invalid UTF-8"},
        {"asUtf16() of bad bytes", [&] { bad.asUtf16(); }, "utf8::invalid_utf8: Invalid UTF-8"},
        {"asUtf32() of bad bytes", [&] { bad.asUtf32(); }, "utf8::invalid_utf8: Invalid UTF-8"},
    });
    EXPECT_EQ(bad.at(1), 0x62u);
    EXPECT_EQ(std::string(t.c_str()), mixed);
}

TEST(Utf8String, Construction)
{
    const Utf8String empty;
    EXPECT_TRUE(empty.size() == 0 && empty.bytes() == 0 && empty.empty() && empty.begin() == empty.end());
    EXPECT_EQ(empty.max_size(), 0xFFFFFFFEu);

    // The repairing forms; the std::string one keeps NUL code points.
    EXPECT_EQ(codePoints(Utf8String(std::string("a\xFF"))), cps({0x61, 0xFFFD}));
    EXPECT_EQ(Utf8String("a\xFF").bytes(), 4u);
    EXPECT_EQ(Utf8String(std::string("a\0b", 3)).size(), 3u);
    EXPECT_EQ(Utf8String("a\0b").size(), 1u);
    // The counted form counts code points.
    EXPECT_EQ(codePoints(Utf8String("a\xFF", 1)), cps({0x61}));
    EXPECT_EQ(Utf8String(mixed.c_str(), 4).bytes(), 10u);
    EXPECT_EQ(Utf8String(mixed.c_str(), 0).bytes(), 0u);

    EXPECT_EQ(codePoints(Utf8String(3, 0x20ACul)), cps({0x20AC, 0x20AC, 0x20AC}));
    EXPECT_TRUE(Utf8String(0, 0xD800ul).empty()); // n 0 never looks at the code point

    const Utf8String s(mixed);
    EXPECT_EQ(codePoints(Utf8String(s, 1, 2)), cps({0xE9, 0x20AC}));
    EXPECT_EQ(codePoints(Utf8String(s, 3, npos)), cps({0x1F600}));
    EXPECT_EQ(codePoints(Utf8String(s, 1, 100)), cps({0xE9, 0x20AC, 0x1F600}));
    EXPECT_TRUE(Utf8String(s, s.size()).empty());
    Utf8String t(mixed);
    EXPECT_EQ(codePoints(Utf8String(++t.begin(), --t.end())), cps({0xE9, 0x20AC}));
}

TEST(Utf8String, AssignmentForms)
{
    Utf8String s("start");
    s = std::string("x\xC3");
    EXPECT_EQ(codePoints(s), cps({0x78, 0xFFFD}));
    s = 0x1F600ul;
    EXPECT_EQ(codePoints(s), cps({0x1F600}));
    EXPECT_THROW(s = 0xDFFFul, utf8::invalid_code_point);
    EXPECT_EQ(codePoints(s), cps({0x1F600}));
    const Utf8String& self = s;
    s = self;
    EXPECT_EQ(codePoints(s), cps({0x1F600}));
}

TEST(Utf8String, ResizeCountsCodePoints)
{
    Utf8String s(mixed);
    EXPECT_EQ(s.length(), 4u);
    s.resize(2, 0x41);
    EXPECT_EQ(codePoints(s), cps({0x61, 0xE9}));
    s.resize(4, 0x20AC);
    EXPECT_EQ(codePoints(s), cps({0x61, 0xE9, 0x20AC, 0x20AC}));
    EXPECT_THROW(s.resize(5, 0xD800), utf8::invalid_code_point);
    EXPECT_EQ(s.size(), 4u);
    s.resize(4, 0xD800); // equal size: the code point is not looked at
    s.resize(0, 0xD800);
    EXPECT_TRUE(s.empty());
    s = mixed;
    s.clear();
    EXPECT_TRUE(s.empty() && s.bytes() == 0);
}

// Positions 0 to size() are accepted, size() standing behind the last code
// point; at() and [] accept only 0 to size() - 1.
TEST(Utf8String, IndexRule)
{
    const Utf8String s(mixed);
    const std::vector<unsigned long> expected = codePoints(s);
    for (unsigned int pos = 0; pos <= s.size() + 1; ++pos) {
        const bool inside = pos < s.size();
        unsigned long at = 0, indexed = 0;
        EXPECT_EQ(outcomeOf([&] { at = s.at(pos); }), inside ? "ok" : badPosition) << pos;
        EXPECT_EQ(outcomeOf([&] { indexed = s[pos]; }), inside ? "ok" : badPosition) << pos;
        EXPECT_EQ(at, inside ? expected[pos] : 0) << pos;
        EXPECT_EQ(indexed, at) << pos;
        EXPECT_EQ(outcomeOf([&] { Utf8String(s, pos); }), pos <= s.size() ? "ok" : badPosition) << pos;
    }
}

TEST(Utf8String, CopyCountsBytesAndWritesNoTerminator)
{
    const Utf8String s(mixed);
    char buffer[16];
    std::fill(std::begin(buffer), std::end(buffer), '#');
    EXPECT_EQ(s.copy(buffer, 2, 1), 5u);
    EXPECT_EQ(std::string(buffer, 6), "\xC3\xA9\xE2\x82\xAC#");
    EXPECT_EQ(s.copy(buffer, npos, 3), 4u);
    EXPECT_EQ(s.copy(buffer, 5, s.size()), 0u);
    EXPECT_EQ(s.c_str(), s.data());
    EXPECT_EQ(s.c_str(), s.asUtf8());
}

TEST(Utf8String, Utf16AndUtf32)
{
    const Utf8String text(mixed);
    const wchar_t* wide = text.asUtf16();
    EXPECT_EQ(std::vector<unsigned>(wide, wide + 6), (std::vector<unsigned>{0x61, 0xE9, 0x20AC, 0xD83D, 0xDE00, 0}));
    const unsigned long* points = text.asUtf32();
    EXPECT_EQ(std::vector<unsigned long>(points, points + 5), cps({0x61, 0xE9, 0x20AC, 0x1F600, 0}));
    EXPECT_EQ(text.asWideString(), text.asUtf16());

    // The returned buffer shows the text as it was.
    Utf8String s("ab");
    const wchar_t* before = s.asUtf16();
    s = "xyz";
    EXPECT_EQ(std::wstring(before), L"ab");
    EXPECT_EQ(std::wstring(s.asUtf16()), L"xyz");
    // A NUL code point ends the terminated view.
    EXPECT_EQ(std::wstring(Utf8String(std::string("a\0b", 3)).asUtf16()), L"a");
}

TEST(Utf8String, ByteOrderMarkLooksAtTheFirstThreeBytes)
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
    EXPECT_EQ(codePoints(doubled), cps({0xFEFF, 0x61}));
    for (const char* shortText : {"\xC3\xA9", "a"}) {
        Utf8String t(shortText);
        EXPECT_FALSE(t.purgeBOM());
    }
}

TEST(Utf8String, ExtractionRepairsAndInsertionStopsAtNul)
{
    std::istringstream in("w\xFFord second\nthird line\n");
    Utf8String word;
    in >> word;
    EXPECT_TRUE(in);
    EXPECT_EQ(codePoints(word), cps({0x77, 0xFFFD, 0x6F, 0x72, 0x64}));
    Utf8String line;
    getline(in, line);
    EXPECT_STREQ(line.c_str(), " second");
    getline(in, line, ' ');
    EXPECT_STREQ(line.c_str(), "third");

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

TEST(Utf8String, SwapExchangesTextsAndKeepsScratchBuffers)
{
    Utf8String a("first");
    Utf8String b(mixed);
    const wchar_t* aUnits = a.asUtf16();
    const wchar_t* bUnits = b.asUtf16();
    swap(a, b);
    EXPECT_EQ(std::string(a.c_str()), mixed);
    EXPECT_STREQ(b.c_str(), "first");
    EXPECT_EQ(std::wstring(aUnits), L"first");
    EXPECT_EQ(static_cast<unsigned>(bUnits[0]), 0x61u);
    a.swap(a);
    EXPECT_EQ(std::string(a.c_str()), mixed);
}

TEST(Utf8String, IteratorWalksBothWays)
{
    Utf8String s(mixed);
    std::vector<unsigned long> backwards;
    for (Utf8String::iterator it = s.end(); it != s.begin();)
        backwards.push_back(*--it);
    EXPECT_EQ(backwards, cps({0x1F600, 0x20AC, 0xE9, 0x61}));
    EXPECT_EQ(s.end().base() - s.begin().base(), 10);
}
