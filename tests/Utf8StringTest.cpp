// Utf8String: random scripts checked step by step against the code-point
// model (Utf8StringModel.cpp), and what the model does not reach: refusals
// that it never provokes, bad bytes in the text, the encodings and their
// scratch buffers, and streams.
#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"
#include "Utf8StringModel.h"

#include <gtest/gtest.h>

#include <functional>
#include <iomanip>
#include <random>
#include <sstream>
#include <tuple>
#include <vector>

using namespace Vesk::Corvo;

namespace {

const unsigned int npos = Utf8String::npos;

// "aé€😀": code points of one to four bytes.
const std::string mixed = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

struct SeededChoices : corvo_model::Choices
{
    explicit SeededChoices(unsigned int seed) : m_random(seed) {}
    unsigned int below(unsigned int bound) override { return m_random() % bound; }
    bool exhausted() const override { return false; }
    std::mt19937 m_random;
};

} // namespace

TEST(Utf8StringModel, EditsAndReadsAgreeWithTheCodePointModel)
{
    const unsigned int seed = 20261123;
    for (unsigned int script = 0; script < 4000; ++script) {
        SeededChoices choices(seed + script);
        ASSERT_EQ(corvo_model::runScript(choices, 30), "") << "seed " << seed + script << " (script " << script << ")";
    }
}

// Each refusal leaves the texts as they were. `bad` holds "a", a byte that
// begins no sequence, and "b": insert(pos, const char*) lets it in unexamined.
TEST(Utf8String, RefusalsBeyondTheModel)
{
    const std::string null = "StringEncodingException: null pointer detected";
    const std::string tooLong = "std::length_error: string too long";
    const std::string badPosition = "std::out_of_range: invalid string position";
    const std::string room = "StringEncodingException: Not enough space";
    const std::string invalid = "utf8::invalid_utf8: Invalid UTF-8";
    Utf8String t, bad, other("xy");
    const std::tuple<const char*, std::function<void()>, std::string> rows[] = {
        // npos is no count of a char pointer: a 64-bit std::string would read
        // 4 GiB. More bytes than max_size() are refused before allocating.
        {"Utf8String(nullptr, npos)", [] { Utf8String(nullptr, npos); }, tooLong},
        {"Utf8String(nullptr, 1)", [] { Utf8String(nullptr, 1); }, null},
        {"Utf8String(2^31, U+10000)", [] { Utf8String(0x80000000u, 0x10000ul); }, tooLong},
        {"Utf8String(last, first)", [&] { Utf8String(--t.end(), ++t.begin()); }, tooLong},
        {"reserve(npos)", [&] { t.reserve(npos); }, tooLong},
        {"append(nullptr, 1)", [&] { t.append(nullptr, 1u); }, null},
        {"assign(nullptr, 0)", [&] { t.assign(nullptr, 0u); }, null},
        {"insert(0, nullptr, 1)", [&] { t.insert(0, nullptr, 1u); }, null},
        {"replace(0, 1, nullptr, 1)", [&] { t.replace(0, 1, nullptr, 1u); }, null},
        {"append(nullptr, npos)", [&] { t.append(nullptr, npos); }, tooLong},
        {"append(2^31, U+10000)", [&] { t.append(0x80000000u, 0x10000ul); }, tooLong},
        {"replace(end, begin)", [&] { t.replace(t.end(), t.begin(), "z"); }, badPosition},
        {"erase(begin, another's end)", [&] { t.erase(t.begin(), other.end()); }, badPosition},
        // A needle that starts with a trail byte matches inside a sequence.
        {"find(trail byte)", [&] { t.find("\xA9"); }, room},
        {"rfind(trail bytes)", [&] { t.rfind("\x82\xAC"); }, room},
        {"find(nullptr, 0, 1)", [&] { t.find(nullptr, 0, 1); }, null},
        {"rfind(nullptr, 0, 0)", [&] { t.rfind(nullptr, 0, 0); }, null},
        {"at(before the bad byte)", [&] { bad.at(0); }, "ok"},
        {"at(the bad byte)", [&] { bad.at(1); }, "StringEncodingException: Invalid UTF-8"},
        {"at(past the bad byte)", [&] { bad.at(2); }, badPosition},
        {"size", [&] { bad.size(); }, invalid},
        {"asUtf16", [&] { bad.asUtf16(); }, invalid},
        {"asUtf32", [&] { bad.asUtf32(); }, invalid},
        {"erase(the bad byte)", [&] { bad.erase(++bad.begin()); }, invalid},
        {"compare", [&] { bad.compare(Utf8String("a")); }, invalid},
        {"operator==", [&] { (void)(bad == "ab"); }, invalid},
        {"find_first_of", [&] { bad.find_first_of("b"); }, invalid},
        {"find_last_not_of", [&] { bad.find_last_not_of("b"); }, invalid},
        // find looks at the bytes only up to the hit.
        {"find before the bad byte", [&] { bad.find(0x61ul); }, "ok"},
        {"find past the bad byte", [&] { bad.find(0x62ul); }, "StringEncodingException: Invalid UTF-8"},
    };
    for (const auto& [call, run, outcome] : rows) {
        t = mixed;
        bad = "ab";
        bad.insert(1, "\xFF");
        EXPECT_EQ(corvo_test::outcomeOf(run), outcome) << call;
        EXPECT_TRUE(std::string(t.c_str()) == mixed && std::string(bad.c_str()) == "a\xFF" "b") << call;
    }
    EXPECT_EQ(t.find(nullptr, 0, npos), npos);
}

TEST(Utf8String, EncodingsAndTheirScratchBuffers)
{
    EXPECT_TRUE(Utf8String().empty() && Utf8String().max_size() == 0xFFFFFFFEu);
    EXPECT_EQ(Utf8String("a\0b").size(), 1u); // a char pointer ends at its NUL, std::string does not

    const Utf8String text(mixed);
    EXPECT_TRUE(text.c_str() == text.data() && text.c_str() == text.asUtf8());
    const wchar_t* wide = text.asUtf16();
    EXPECT_EQ(std::vector<unsigned>(wide, wide + 6), (std::vector<unsigned>{0x61, 0xE9, 0x20AC, 0xD83D, 0xDE00, 0}));
    EXPECT_EQ(text.asWideString(), wide);
    const unsigned long* points = text.asUtf32();
    EXPECT_EQ(std::vector<unsigned long>(points, points + 5),
              (std::vector<unsigned long>{0x61, 0xE9, 0x20AC, 0x1F600, 0}));
    // A NUL code point ends the terminated view.
    EXPECT_EQ(std::wstring(Utf8String(std::string("a\0b", 3)).asUtf16()), L"a");

    // A buffer shows the text as it was, whatever edits or swap do later.
    Utf8String a("ab"), b("xyz");
    const wchar_t* aUnits = a.asUtf16();
    const wchar_t* bUnits = b.asUtf16();
    a = "cd";
    swap(a, b);
    EXPECT_TRUE(std::wstring(aUnits) == L"ab" && std::wstring(bUnits) == L"xyz" && std::wstring(a.asUtf16()) == L"xyz");
}

TEST(Utf8String, ExtractionRepairsAndInsertionStopsAtNul)
{
    std::istringstream in("w\xFFord second\nthird line\n"), empty("");
    Utf8String word, line, second, target("kept?");
    in >> word;
    getline(in, line);
    getline(in, second, ' ');
    EXPECT_TRUE(in && word == Utf8String("w\xEF\xBF\xBDord") && line == " second" && second == "third");
    // Nothing to read: the target is emptied all the same.
    empty >> target;
    EXPECT_TRUE(!empty && target.empty());

    std::ostringstream out;
    out << std::setw(6) << std::setfill('.') << Utf8String(std::string("ab\0cd", 5));
    EXPECT_EQ(out.str(), "....ab");
}
