/// \file
/// numberToString: a number as narrow decimal text, the way a default
/// std::ostringstream writes it.
#ifndef CORVO_NUMBER_TO_STRING_H
#define CORVO_NUMBER_TO_STRING_H

#include <sstream>
#include <string>
#include <type_traits>

namespace Vesk {
namespace Corvo {

/// The value as a default std::ostringstream writes it, except that the
/// three char types print as numbers (65, not "A").
template <typename T>
std::string numberToString(const T& value)
{
    std::ostringstream stream;
    // Character types would print as characters; a number is wanted.
    if constexpr (std::is_same_v<T, char> || std::is_same_v<T, signed char> ||
                  std::is_same_v<T, unsigned char>)
        stream << static_cast<int>(value);
    else
        stream << value;
    return stream.str();
}

} // namespace Corvo
} // namespace Vesk

#endif
