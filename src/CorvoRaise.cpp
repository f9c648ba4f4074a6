// Turns the compiler's full signature of a function into its qualified name.
#include "CorvoRaise.h"

namespace Vesk {
namespace Corvo {
namespace detail {

std::string qualifiedFunctionName(const char* prettyFunction)
{
    typedef std::string::size_type Index;
    const std::string signature(prettyFunction);

    // The parameter list opens at the first parenthesis outside template
    // arguments.
    int depth = 0;
    Index open = 0;
    while (open < signature.size() && (signature[open] != '(' || depth != 0)) {
        if (signature[open] == '<')
            ++depth;
        else if (signature[open] == '>')
            --depth;
        ++open;
    }

    // The name starts after the last blank outside template arguments: what
    // stands before it is the return type.
    Index start = open;
    for (depth = 0; start > 0; --start) {
        const char c = signature[start - 1];
        if (c == '>')
            ++depth;
        else if (c == '<')
            --depth;
        else if (c == ' ' && depth == 0)
            break;
    }
    return signature.substr(start, open - start);
}

} // namespace detail
} // namespace Corvo
} // namespace Vesk
