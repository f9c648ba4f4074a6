// Corvo as an application sees it: through the shared library, with
// exceptions and data crossing its boundary.
#include "TestSupport.h"
#include <Corvo.h>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Vesk::Corvo;
using corvo_test::raisedAt;

TEST(SharedLibrary, ExceptionsCrossTheBoundaryWithTheirTypesAndPlaces)
{
    EXPECT_TRUE(raisedAt<StringEncodingException>([] { validateUtf8("\xFF", true); },
                                                  "Invalid UTF-8 string encoding detected",
                                                  "src/CorvoUtf8String.cpp", "Vesk::Corvo::validateUtf8"));
    // A template of the headers reports through the library's class.
    EXPECT_TRUE(raisedAt<Exception>([] { Packet_T<char>(1, nullptr); }, "Input buffer pointing to nullptr",
                                    "include/CorvoPacket.h", "Vesk::Corvo::Packet_T<char>::Packet_T"));
    EXPECT_THROW(Utf8String(1, 0xD800ul), utf8::invalid_code_point);
    EXPECT_THROW(Utf8String("a").at(1), std::out_of_range);
    EXPECT_THROW(Utf8String("a", 2), std::length_error);
}

TEST(SharedLibrary, DataAndObjectsAreShared)
{
    EXPECT_EQ(MAX_UInt16, 65535);
    const unsigned int& npos = Utf8String::npos;
    EXPECT_EQ(npos, 0xFFFFFFFFu);
    Utf8String text(std::string("caf\xC3\xA9"));
    text.addBOM();
    EXPECT_EQ(text.size(), 5u);
    EXPECT_EQ(static_cast<unsigned>(text.asUtf16()[4]), 0xE9u);
    int aligned[8];
    EXPECT_TRUE(isAlignedTo(alignAddress(aligned + 1, ALIGNMENT_8), ALIGNMENT_8));
    EXPECT_EQ(Win32SocketErrorDictionary().getErrorMessage(10061), "WSAECONNREFUSED [10061]");
}
