// Editing Utf8String beyond the differential model (Utf8StringModel.cpp):
// the refusals that it does not encode, each checked to leave the text as it
// was, and the forms that it does not drive.
#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using namespace Vesk::Corvo;
using corvo_test::outcomeOf;

namespace {

const unsigned int npos = Utf8String::npos;

// "aé€": code points of one, two and three bytes.
const char* const text = "a\xC3\xA9\xE2\x82\xAC";

struct EditRefusal
{
    const char* call;
    std::function<void(Utf8String&)> edit;
    std::string outcome;
};

} // namespace

TEST(Utf8StringEdit, RefusalsLeaveTheTextAlone)
{
    const std::string null = "StringEncodingException: null pointer detected";
    const std::string tooLong = "std::length_error: string too long";
    const std::string badPosition = "std::out_of_range: invalid string position";
    Utf8String other("xy");
    const std::vector<EditRefusal> rows = {
        {"append(nullptr, 1)", [](Utf8String& t) { t.append(nullptr, 1u); }, null},
        {"assign(nullptr, 0)", [](Utf8String& t) { t.assign(nullptr, 0u); }, null},
        {"insert(0, nullptr, 1)", [](Utf8String& t) { t.insert(0, nullptr, 1u); }, null},
        {"replace(0, 1, nullptr, 1)", [](Utf8String& t) { t.replace(0, 1, nullptr, 1u); }, null},
        {"append(nullptr, npos)", [](Utf8String& t) { t.append(nullptr, npos); }, tooLong},
        // More bytes than max_size(), refused before anything is allocated.
        {"append(2^31, U+10000)", [](Utf8String& t) { t.append(0x80000000u, 0x10000ul); }, tooLong},
        {"replace(end, begin)", [](Utf8String& t) { t.replace(t.end(), t.begin(), "z"); }, badPosition},
        {"erase(begin, another's end)", [&](Utf8String& t) { t.erase(t.begin(), other.end()); }, badPosition},
    };
    for (const EditRefusal& row : rows) {
        Utf8String s(text);
        EXPECT_EQ(outcomeOf([&] { row.edit(s); }), row.outcome) << row.call;
        EXPECT_STREQ(s.c_str(), text) << row.call;
    }
}

TEST(Utf8StringEdit, UnexaminedBytesStayAndReadsReportThem)
{
    Utf8String raw;
    raw.insert(0, "a\xFF");
    EXPECT_STREQ(raw.c_str(), "a\xFF");
    EXPECT_THROW(raw.size(), utf8::invalid_utf8);
    EXPECT_THROW(raw.erase(++raw.begin()), utf8::invalid_utf8);
    EXPECT_STREQ(raw.c_str(), "a\xFF");

    // The repairing forms mark cut and overlong sequences too.
    Utf8String s("x");
    s.append("\xE2\x82");
    s += "\xC0\xAF";
    EXPECT_EQ(std::vector<unsigned long>(s.begin(), s.end()), (std::vector<unsigned long>{0x78, 0xFFFD, 0xFFFD}));
}

TEST(Utf8StringEdit, ConcatenationInTheFormsTheModelLeavesOut)
{
    const Utf8String s("b\xC3\xA9");
    EXPECT_STREQ((s + 0x41ul).c_str(), "b\xC3\xA9" "A");
    EXPECT_STREQ((s + s).c_str(), "b\xC3\xA9" "b\xC3\xA9");
    EXPECT_STREQ(("\xFF" + s).c_str(), "\xEF\xBF\xBD" "b\xC3\xA9");
    EXPECT_THROW(s + 0x110000ul, utf8::invalid_code_point);
}
