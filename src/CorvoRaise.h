// CORVO_RAISE throws an exception of the Corvo or Zim trees with the reason
// and the place of the throw: the source file as the build spells it, the
// qualified name of the enclosing function without parameters, the line.
#ifndef CORVO_RAISE_H
#define CORVO_RAISE_H

#include <string>

namespace Vesk {
namespace Corvo {
namespace detail {

// "std::string Vesk::Corvo::validateUtf8(const string&, bool)" gives
// "Vesk::Corvo::validateUtf8".
std::string qualifiedFunctionName(const char* prettyFunction);

} // namespace detail
} // namespace Corvo
} // namespace Vesk

#define CORVO_RAISE(ExceptionClass, reason)                                                   \
    throw ExceptionClass((reason), __FILE__,                                                  \
                         ::Vesk::Corvo::detail::qualifiedFunctionName(__PRETTY_FUNCTION__), \
                         __LINE__)

#endif
