// validateUtf8 on random byte strings: the result is valid UTF-8, equals the
// input when that was valid, and is what utfcpp's replace_invalid gives.
#include "CorvoException.h"
#include "CorvoUtf8String.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>

using namespace Vesk::Corvo;

namespace {

// Mostly well-formed UTF-8 with damage mixed in: stray bytes, cut sequences,
// overlong forms and surrogates, so that every row of the repair is reached.
std::string randomBytes(std::mt19937& random)
{
    std::string bytes;
    const int pieces = random() % 12;
    for (int i = 0; i < pieces; ++i) {
        switch (random() % 6) {
        case 0:
            bytes += static_cast<char>(random() % 256);
            break;
        case 1: {
            std::string sequence;
            const utf8::uint32_t cp = 0x80 + random() % 0x10FF80;
            if (cp >= 0xD800 && cp <= 0xDFFF)
                break;
            utf8::append(cp, std::back_inserter(sequence));
            if (sequence.size() > 1 && random() % 2)
                sequence.resize(1 + random() % (sequence.size() - 1));
            bytes += sequence;
            break;
        }
        case 2:
            bytes += random() % 2 ? "\xC0\xAF" : "\xED\xA0\x80";
            break;
        default: {
            const unsigned long cp = random() % 4 ? random() % 0x800 : 0x10000 + random() % 0x10000;
            if (cp < 0xD800 || cp > 0xDFFF)
                utf8::append(static_cast<utf8::uint32_t>(cp), std::back_inserter(bytes));
        }
        }
    }
    return bytes;
}

} // namespace

TEST(Utf8Property, RepairIsValidIdempotentAndMatchesUtfcpp)
{
    const unsigned int seed = 20261122;
    std::mt19937 random(seed);
    for (int i = 0; i < 5000; ++i) {
        const std::string input = randomBytes(random);
        SCOPED_TRACE(::testing::Message() << "seed " << seed << ", case " << i);

        const std::string repaired = validateUtf8(input, false);
        ASSERT_TRUE(utf8::is_valid(repaired.begin(), repaired.end()));

        std::string expected;
        utf8::replace_invalid(input.begin(), input.end(), std::back_inserter(expected), 0xFFFD);
        ASSERT_EQ(repaired, expected);

        const bool valid = utf8::is_valid(input.begin(), input.end());
        ASSERT_EQ(isValidUtf8(input.data(), static_cast<unsigned int>(input.size())), valid);
        if (valid) {
            ASSERT_EQ(repaired, input);
            ASSERT_EQ(validateUtf8(input, true), input);
        } else {
            ASSERT_THROW(validateUtf8(input, true), StringEncodingException);
        }

        // The text decodes to the same code points as utfcpp reads there.
        const Utf8String text(input);
        std::u32string points;
        utf8::utf8to32(expected.begin(), expected.end(), std::back_inserter(points));
        ASSERT_EQ(text.size(), points.size());
        ASSERT_TRUE(std::equal(points.begin(), points.end(), text.asUtf32()));
    }
}
