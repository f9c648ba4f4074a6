// The two exception trees: report layout, the class hierarchy, copying, and
// the place of the throw as the library's own raising sites fill it in.
#include "CorvoException.h"
#include "CorvoNumberToString.h"
#include "CorvoUtf8Internal.h"
#include "CorvoUtf8String.h"
#include "ZimException.h"

#include <gtest/gtest.h>

#include <regex>
#include <stdexcept>

using namespace Vesk::Corvo;
namespace Zim = Vesk::Zim;

TEST(ExceptionReport, IsBuiltFromTheLabelsAndTheFourArguments)
{
    EXPECT_EQ(Exception("why", "src/a.cpp", "Vesk::Corvo::f", 42).getDescription(),
              "Reason:\t  why\nFile:\t  src/a.cpp\nFunction: Vesk::Corvo::f\nLine:\t  42");
    EXPECT_EQ(Zim::Exception("why", "src/a.cpp", "Vesk::Zim::f", 42L).getMessage(),
              "Reason:\t\twhy\nFile:\t\tsrc/a.cpp\nFunction:\tVesk::Zim::f\nLine:\t\t42");
    // Empty pieces leave their labels back to back.
    EXPECT_EQ(Exception("", "", "", 0).getDescription(),
              "Reason:\t  \nFile:\t  \nFunction: \nLine:\t  0");
}

TEST(ExceptionReport, LineSignDiffersBetweenTheRoots)
{
    const std::string corvo = Exception("r", "f", "g", -3).getDescription();
    EXPECT_EQ(corvo.substr(corvo.rfind(' ') + 1), "-3");
    const std::string zim = Zim::Exception("r", "f", "g", -3L).getMessage();
    const std::string line = zim.substr(zim.rfind('\t') + 1);
    EXPECT_TRUE(std::regex_match(line, std::regex("[0-9]+"))) << line;
}

TEST(ExceptionTree, HandlersCatchByBaseAndNeverAcrossRoots)
{
    auto caughtBy = [](auto thrower) {
        std::string handler;
        try {
            thrower();
        } catch (const std::exception&) {
            handler = "std";
        } catch (const Zim::Exception&) {
            handler = "zim";
        } catch (const StreamException&) {
            handler = "stream";
        } catch (const Exception&) {
            handler = "corvo";
        }
        return handler;
    };
    EXPECT_EQ(caughtBy([] { throw SerialStreamException("r", "f", "g", 1); }), "stream");
    EXPECT_EQ(caughtBy([] { throw StreamNotReadyException("r", "f", "g", 1); }), "stream");
    EXPECT_EQ(caughtBy([] { throw StreamAlreadyOpenException("r", "f", "g", 1); }), "stream");
    EXPECT_EQ(caughtBy([] { throw UDPStreamException("r", "f", "g", 1); }), "stream");
    EXPECT_EQ(caughtBy([] { throw TCPStreamException("r", "f", "g", 1); }), "stream");
    EXPECT_EQ(caughtBy([] { throw SocketException("r", "f", "g", 1); }), "corvo");
    EXPECT_EQ(caughtBy([] { throw FileSystemException("r", "f", "g", 1); }), "corvo");
    EXPECT_EQ(caughtBy([] { throw StringEncodingException("r", "f", "g", 1); }), "corvo");
    EXPECT_EQ(caughtBy([] { throw InvalidArgumentException("r", "f", "g", 1); }), "corvo");
    EXPECT_EQ(caughtBy([] { throw Zim::Exception("r", "f", "g", 1L); }), "zim");
}

TEST(ExceptionTree, AssignmentThroughTheRootKeepsTheTargetsType)
{
    const TCPStreamException source("source", "f", "g", 1);
    SocketException target("target", "f", "g", 2);
    Exception& root = target;
    root = source;
    EXPECT_EQ(target.getDescription(), source.getDescription());
    EXPECT_NE(dynamic_cast<SocketException*>(&root), nullptr);
}

TEST(NumberToString, PrintsCharactersAsNumbers)
{
    EXPECT_EQ(numberToString('A'), "65");
    EXPECT_EQ(numberToString(static_cast<unsigned char>(200)), "200");
    EXPECT_EQ(numberToString(static_cast<char>(-5)), "-5");
    EXPECT_EQ(numberToString(-7), "-7");
}

// The library's own throws name the repository-relative file, the function
// and the line.
TEST(ExceptionPlace, ReportNamesTheRaisingSite)
{
    const std::regex place("Reason:\t  ([^\n]*)\nFile:\t  (src/CorvoUtf8String\\.cpp)\n"
                           "Function: ([^\n]*)\nLine:\t  [1-9][0-9]*");
    auto check = [&](auto f, const char* reason, const char* function) {
        try {
            f();
            ADD_FAILURE() << "no exception for " << function;
        } catch (const StringEncodingException& e) {
            std::smatch m;
            const std::string report = e.getDescription();
            ASSERT_TRUE(std::regex_match(report, m, place)) << report;
            EXPECT_EQ(m[1], reason);
            EXPECT_EQ(m[3], function);
        }
    };
    check([] { validateUtf8("\xC3", true); }, "Invalid UTF-8 string encoding detected",
          "Vesk::Corvo::validateUtf8");
    check([] { Utf8String(Utf8String::npos, 0x41ul); }, "Utf8String::npos not allowed here",
          "Vesk::Corvo::Utf8String::Utf8String");
    check([] { Utf8Decoder(nullptr); }, "null pointer detected",
          "Vesk::Corvo::Utf8Decoder::Utf8Decoder");
    check([] { byteOffset2CodePointPosition("ab", 2); },
          "Index is out of range for std::string utf8_str",
          "Vesk::Corvo::byteOffset2CodePointPosition");
}
