// Editing Utf8String: the refusals of every form, each checked to leave the
// text as it was, and the cases where code points and bytes part ways.
#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::throwsWith;

namespace {

const unsigned int npos = Utf8String::npos;

// "aé€": code points of one, two and three bytes.
const char* const text = "a\xC3\xA9\xE2\x82\xAC";

// The edit throws E with the given text and leaves s as it was.
template <typename E, typename F>
::testing::AssertionResult refusedUnchanged(Utf8String& s, F edit, const std::string& what)
{
    const std::string before = s.c_str();
    const ::testing::AssertionResult thrown = throwsWith<E>([&] { edit(s); }, what);
    if (!thrown)
        return thrown;
    if (before != s.c_str())
        return ::testing::AssertionFailure() << "text changed to \"" << s.c_str() << "\"";
    return ::testing::AssertionSuccess();
}

std::vector<unsigned long> codePoints(const Utf8String& s)
{
    return std::vector<unsigned long>(s.begin(), s.end());
}

} // namespace

TEST(Utf8StringEditRefusals, PositionPastTheEnd)
{
    Utf8String s(text);
    const Utf8String other("xy");
    const std::string bad = "invalid string position";
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.insert(4, other); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.insert(4, other, 0, 1); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.insert(4, "xy", 1u); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.insert(4, "xy"); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.insert(npos, 1u, 0x41ul); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.erase(4, 0); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.replace(4, 1, other); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.replace(npos, 1, other, 0, 1); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.replace(4, 1, "xy", 1u); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.replace(4, 1, "xy"); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.replace(4, 1, 2u, 0x41ul); }, bad));
    // The position of the target is checked before the count of the bytes.
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.insert(4, "xy", 5u); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [](Utf8String& t) { t.replace(4, 0, "xy", npos); }, bad));
}

TEST(Utf8StringEditRefusals, SourcePositionPastTheEndOfTheSource)
{
    Utf8String s(text);
    const Utf8String other("xy");
    const std::string bad = "invalid string position";
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.append(other, 3, 1); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.assign(other, npos, 0); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.insert(0, other, 3, 1); }, bad));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(s, [&](Utf8String& t) { t.replace(0, 1, other, 3, 1); }, bad));
}

TEST(Utf8StringEditRefusals, CountedBytesMustBeMetExactly)
{
    Utf8String s(text);
    const std::string tooLong = "string too long";
    // More code points than there are, npos, and a bad sequence in the way.
    for (const unsigned int n : {3u, npos}) {
        EXPECT_TRUE(refusedUnchanged<std::length_error>(s, [n](Utf8String& t) { t.append("x\xC3\xA9", n); }, tooLong));
        EXPECT_TRUE(refusedUnchanged<std::length_error>(s, [n](Utf8String& t) { t.assign("x\xC3\xA9", n); }, tooLong));
        EXPECT_TRUE(refusedUnchanged<std::length_error>(s, [n](Utf8String& t) { t.insert(1, "x\xC3\xA9", n); }, tooLong));
        EXPECT_TRUE(refusedUnchanged<std::length_error>(s, [n](Utf8String& t) { t.replace(1, 1, "xy", n); }, tooLong));
        EXPECT_TRUE(refusedUnchanged<std::length_error>(
            s, [n](Utf8String& t) { t.replace(t.begin(), t.end(), "xy", n); }, tooLong));
    }
    EXPECT_TRUE(refusedUnchanged<std::length_error>(s, [](Utf8String& t) { t.append("x\xFFy", 2u); }, tooLong));
    EXPECT_TRUE(refusedUnchanged<std::length_error>(s, [](Utf8String& t) { t.append(nullptr, npos); }, tooLong));
    s.append("x\xFFy", 1u);
    EXPECT_STREQ(s.c_str(), "a\xC3\xA9\xE2\x82\xACx");
}

TEST(Utf8StringEditRefusals, CountedNullPointer)
{
    Utf8String s(text);
    const std::string null = "null pointer detected";
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.append(nullptr, 1u); }, null));
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.assign(nullptr, 0u); }, null));
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.insert(0, nullptr, 1u); }, null));
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.replace(0, 1, nullptr, 1u); }, null));
}

TEST(Utf8StringEditRefusals, NposAsARepeatCount)
{
    Utf8String s(text);
    const std::string nposText = "Utf8String::npos not allowed here";
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.assign(npos, 0x41ul); }, nposText));
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.insert(0, npos, 0x41ul); }, nposText));
    EXPECT_TRUE(
        refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.insert(t.begin(), npos, 0x41ul); }, nposText));
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.replace(0, 1, npos, 0x41ul); }, nposText));
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(
        s, [](Utf8String& t) { t.replace(t.begin(), t.end(), npos, 0x41ul); }, nposText));
    // The repeat count is built before the position is looked at.
    EXPECT_TRUE(refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.replace(9, 1, npos, 0x41ul); }, nposText));

    // append runs until the length gives out instead.
    EXPECT_TRUE(refusedUnchanged<std::length_error>(s, [](Utf8String& t) { t.append(npos, 0x41ul); }, "string too long"));
    EXPECT_TRUE(refusedUnchanged<std::length_error>(
        s, [](Utf8String& t) { t.append(0x80000000u, 0x10000ul); }, "string too long"));

    try {
        s.assign(npos, 0x41ul);
    } catch (const StringEncodingException& e) {
        const std::string report = e.getDescription();
        EXPECT_NE(report.find("\nFile:\t  src/CorvoUtf8String.cpp\n"), std::string::npos) << report;
        EXPECT_NE(report.find("\nFunction: Vesk::Corvo::Utf8String::assign\n"), std::string::npos) << report;
    }
}

TEST(Utf8StringEditRefusals, InvalidCodePoints)
{
    Utf8String s(text);
    const std::string invalid = "Invalid code point";
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t.push_back(0x110000ul); }, invalid));
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t.push_back(0xDC00ul); }, invalid));
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t += 0xD800ul; }, invalid));
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t.append(3u, 0xDFFFul); }, invalid));
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t.assign(2u, 0xD800ul); }, invalid));
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t.insert(1, 2u, 0xD800ul); }, invalid));
    EXPECT_TRUE(
        refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t.insert(t.end(), 2u, 0xD800ul); }, invalid));
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(s, [](Utf8String& t) { t.replace(0, 1, 1u, 0xD800ul); }, invalid));
    EXPECT_TRUE(refusedUnchanged<utf8::invalid_code_point>(
        s, [](Utf8String& t) { t.replace(t.begin(), t.end(), 1u, 0x110000ul); }, invalid));
    // The iterator form encodes through the library's encoder.
    EXPECT_TRUE(
        refusedUnchanged<StringEncodingException>(s, [](Utf8String& t) { t.insert(t.begin(), 0x110000ul); }, invalid));

    // With nothing to write, the code point is never looked at.
    s.append(0u, 0x110000ul);
    s.insert(0, 0u, 0xD800ul);
    EXPECT_STREQ(s.c_str(), text);
    s.assign(0u, 0x110000ul);
    EXPECT_TRUE(s.empty());
}

TEST(Utf8StringEditRefusals, EraseAtTheEndOrOnBadBytes)
{
    Utf8String s(text);
    EXPECT_TRUE(refusedUnchanged<utf8::not_enough_room>(s, [](Utf8String& t) { t.erase(t.end()); }, "Not enough space"));
    s.insert(1, "\xFF");
    Utf8String::iterator at = s.begin();
    ++at;
    EXPECT_THROW(s.erase(at), utf8::invalid_utf8);
    EXPECT_EQ(s.bytes(), 7u);
}

TEST(Utf8StringEdit, PositionsAreCodePoints)
{
    Utf8String s("a\xC3\xA9" "b");
    s.erase(1, 1); // one code point, two bytes
    EXPECT_STREQ(s.c_str(), "ab");

    s = text;
    s.replace(1, 1, Utf8String("\xF0\x9F\x98\x80xyz"));
    EXPECT_STREQ(s.c_str(), "a\xF0\x9F\x98\x80xyz\xE2\x82\xAC");
    s.replace(1, npos, "-");
    EXPECT_STREQ(s.c_str(), "a-");

    s = text;
    s.insert(s.size(), Utf8String("!"));
    EXPECT_STREQ(s.c_str(), "a\xC3\xA9\xE2\x82\xAC!");
    s.erase(s.size(), 5);
    s.erase(0, npos);
    EXPECT_TRUE(s.empty());
}

TEST(Utf8StringEdit, CountsOnTheTargetStopAtTheEndButSourceBytesMustBeThere)
{
    Utf8String s("z");
    s.append(Utf8String("\xC3\xA9"), 0, 2); // cut to the one code point there
    EXPECT_STREQ(s.c_str(), "z\xC3\xA9");
    EXPECT_THROW(s.append("\xC3\xA9", 2u), std::length_error);
    EXPECT_STREQ(s.c_str(), "z\xC3\xA9");
    s.assign(Utf8String(text), 1, npos);
    EXPECT_STREQ(s.c_str(), "\xC3\xA9\xE2\x82\xAC");
}

TEST(Utf8StringEdit, RepairingAndUnexaminedBytes)
{
    Utf8String s;
    s.append("a\xFF");
    EXPECT_EQ(codePoints(s), std::vector<unsigned long>({0x61, 0xFFFD}));
    s.append(std::string("\0\xFF", 2));
    EXPECT_EQ(s.size(), 4u);
    s.replace(0, 4, "\xC3");
    EXPECT_EQ(codePoints(s), std::vector<unsigned long>({0xFFFD}));
    s.replace(s.begin(), s.end(), "x\xE2\x82");
    EXPECT_EQ(codePoints(s), std::vector<unsigned long>({0x78, 0xFFFD}));
    s += "\xC0\xAF";
    EXPECT_EQ(s.size(), 3u);

    Utf8String raw;
    raw.insert(0, "a\xFF");
    EXPECT_STREQ(raw.c_str(), "a\xFF");
    EXPECT_THROW(raw.size(), utf8::invalid_utf8);
}

TEST(Utf8StringEdit, SelfReferenceWorksOnTheTextAsItWas)
{
    Utf8String s(text);
    s.append(s);
    EXPECT_STREQ(s.c_str(), "a\xC3\xA9\xE2\x82\xAC" "a\xC3\xA9\xE2\x82\xAC");
    s = text;
    s.insert(1, s);
    EXPECT_STREQ(s.c_str(), "a" "a\xC3\xA9\xE2\x82\xAC" "\xC3\xA9\xE2\x82\xAC");
    s = text;
    s.assign(s.begin(), s.end());
    EXPECT_STREQ(s.c_str(), text);
    s.replace(0, 1, s, 1, 2);
    EXPECT_STREQ(s.c_str(), "\xC3\xA9\xE2\x82\xAC\xC3\xA9\xE2\x82\xAC");
    s = text;
    s.insert(s.begin(), ++s.begin(), s.end());
    EXPECT_STREQ(s.c_str(), "\xC3\xA9\xE2\x82\xAC" "a\xC3\xA9\xE2\x82\xAC");
    s = text;
    s.assign(s, 2, 1);
    EXPECT_STREQ(s.c_str(), "\xE2\x82\xAC");
}

TEST(Utf8StringEdit, IteratorFormsWorkOnBytesAndReturnFreshIterators)
{
    Utf8String s(text);
    Utf8String::iterator euro = ++(++s.begin());
    Utf8String::iterator inserted = s.insert(euro, 0x1F600ul);
    EXPECT_EQ(*inserted, 0x1F600u);
    EXPECT_EQ(inserted.base() - s.begin().base(), 3);
    EXPECT_EQ(codePoints(s), std::vector<unsigned long>({0x61, 0xE9, 0x1F600, 0x20AC}));

    Utf8String::iterator after = s.erase(inserted);
    EXPECT_EQ(*after, 0x20ACu);
    EXPECT_STREQ(s.c_str(), text);

    Utf8String::iterator same = s.erase(++s.begin(), ++s.begin());
    EXPECT_EQ(same.base() - s.begin().base(), 1);
    EXPECT_STREQ(s.c_str(), text);
    Utf8String::iterator rest = s.erase(++s.begin(), s.end());
    EXPECT_TRUE(rest == s.end());
    EXPECT_STREQ(s.c_str(), "a");

    s.insert(s.end(), 2u, 0xE9ul);
    Utf8String other("xy");
    s.insert(s.begin(), other.begin(), other.end());
    EXPECT_STREQ(s.c_str(), "xya\xC3\xA9\xC3\xA9");
    s.replace(s.begin(), ++s.begin(), other);
    s.replace(++s.begin(), s.end(), "\xE2\x82\xAC!", 1u);
    EXPECT_STREQ(s.c_str(), "x\xE2\x82\xAC");
    s.append(other.begin(), other.end());
    EXPECT_STREQ(s.c_str(), "x\xE2\x82\xACxy");
}

TEST(Utf8StringEdit, IteratorsOfAnotherTextAreRefused)
{
    Utf8String s(text);
    Utf8String other("xy");
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(
        s, [&](Utf8String& t) { t.replace(t.end(), t.begin(), "z"); }, "invalid string position"));
    EXPECT_TRUE(refusedUnchanged<std::out_of_range>(
        s, [&](Utf8String& t) { t.erase(t.begin(), other.end()); }, "invalid string position"));
}

TEST(Utf8StringEdit, Concatenation)
{
    const Utf8String s("b\xC3\xA9");
    EXPECT_STREQ((0x41ul + s).c_str(), "Ab\xC3\xA9");
    EXPECT_STREQ((s + 0x41ul).c_str(), "b\xC3\xA9" "A");
    EXPECT_STREQ((s + s).c_str(), "b\xC3\xA9" "b\xC3\xA9");
    EXPECT_STREQ((s + "\xFF").c_str(), "b\xC3\xA9\xEF\xBF\xBD");
    EXPECT_STREQ(("\xFF" + s).c_str(), "\xEF\xBF\xBD" "b\xC3\xA9");
    EXPECT_THROW(0xD800ul + s, utf8::invalid_code_point);
    EXPECT_THROW(s + 0x110000ul, utf8::invalid_code_point);
    EXPECT_STREQ(s.c_str(), "b\xC3\xA9");
}
