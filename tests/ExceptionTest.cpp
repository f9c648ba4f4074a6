// The two exception trees: report layout, the class hierarchy, and the
// name of the raising function whichever compiler spelled it.
#include "CorvoException.h"
#include "CorvoNumberToString.h"
#include "CorvoRaise.h"
#include "ZimException.h"

#include <gtest/gtest.h>

#include <string>
#include <stdexcept>
#include <type_traits>

using namespace Vesk::Corvo;
namespace Zim = Vesk::Zim;

// Handlers catch by base, and never across the roots or as std::exception.
template <typename Derived, typename Base>
constexpr bool isA = std::is_convertible_v<Derived*, Base*>;
static_assert(isA<SerialStreamException, StreamException> && isA<StreamNotReadyException, StreamException> &&
              isA<StreamAlreadyOpenException, StreamException> && isA<UDPStreamException, StreamException> &&
              isA<TCPStreamException, StreamException> && isA<StreamException, Exception>);
static_assert(isA<SocketException, Exception> && isA<FileSystemException, Exception> &&
              isA<StringEncodingException, Exception> && isA<InvalidArgumentException, Exception>);
static_assert(!isA<SocketException, StreamException> && !isA<Exception, std::exception> &&
              !isA<Zim::Exception, std::exception> && !isA<Zim::Exception, Exception> &&
              !isA<Exception, Zim::Exception>);

TEST(ExceptionReport, IsBuiltFromTheLabelsAndTheFourArguments)
{
    // Assigned through the root, a descendant takes the whole report.
    SocketException target("target", "f", "g", 2);
    static_cast<Exception&>(target) = TCPStreamException("why", "src/a.cpp", "Vesk::Corvo::f", 42);
    EXPECT_EQ(target.getDescription(), "Reason:\t  why\nFile:\t  src/a.cpp\nFunction: Vesk::Corvo::f\nLine:\t  42");
    EXPECT_EQ(Zim::Exception("why", "src/a.cpp", "Vesk::Zim::f", 42L).getMessage(),
              "Reason:\t\twhy\nFile:\t\tsrc/a.cpp\nFunction:\tVesk::Zim::f\nLine:\t\t42");
    // Empty pieces leave their labels back to back.
    EXPECT_EQ(Exception("", "", "", 0).getDescription(), "Reason:\t  \nFile:\t  \nFunction: \nLine:\t  0");
    // A negative line keeps its sign at the Corvo root only.
    EXPECT_EQ(Exception("", "", "", -3).getDescription().substr(39), "-3");
    const std::string zim = Zim::Exception("", "", "", -3L).getMessage();
    EXPECT_EQ(zim.substr(zim.rfind('\t') + 1), std::to_string(static_cast<unsigned long>(-3L)));
    // The helper behind such texts prints characters as numbers.
    EXPECT_EQ(numberToString('A') + numberToString(static_cast<unsigned char>(200)) + numberToString(char(-5)), "65200-5");
}

// The same raising site reads the same whichever compiler spelled its
// signature: GCC's, then clang's (which writes '&' and '*' against the name).
TEST(ExceptionPlace, TheNameDoesNotDependOnTheCompiler)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Vesk::Corvo::U& Vesk::Corvo::U::assign(int)", "Vesk::Corvo::U::assign"},
        {"Vesk::Corvo::U &Vesk::Corvo::U::assign(int)", "Vesk::Corvo::U::assign"},
        {"const char* Vesk::Corvo::U::c() const", "Vesk::Corvo::U::c"},
        {"const char *Vesk::Corvo::U::c() const", "Vesk::Corvo::U::c"},
        {"Vesk::Corvo::P<T>& Vesk::Corvo::P<T>::operator=(const Vesk::Corvo::P<T>&) [with T = char]",
         "Vesk::Corvo::P<char>::operator ="},
        {"P<T> &Vesk::Corvo::P<char>::operator=(const P<T> &) [T = char]", "Vesk::Corvo::P<char>::operator ="},
        {"Vesk::Corvo::P<T>::P(unsigned int, const T*) [with T = char]", "Vesk::Corvo::P<char>::P"},
        {"Vesk::Corvo::P<char>::P(unsigned int, const T *) [T = char]", "Vesk::Corvo::P<char>::P"},
        {"bool Vesk::Corvo::U::operator()(int)", "Vesk::Corvo::U::operator ()"},
        {"Vesk::Corvo::U::~U()", "Vesk::Corvo::U::~U"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(detail::qualifiedFunctionName(row.first), row.second) << row.first;
}
