// Turns the compiler's full signature of a function into its qualified name.
#include "CorvoRaise.h"

namespace Vesk {
namespace Corvo {
namespace detail {

std::string qualifiedFunctionName(const char* prettyFunction)
{
    const std::string signature(prettyFunction);
    typedef std::string::size_type Index;
    static const char keyword[] = "operator";
    const Index keywordLength = sizeof keyword - 1;

    // The parameter list opens at the first parenthesis outside template
    // arguments. An operator's own symbols ("<<", "()") are skipped, and the
    // search back for the start of the name begins at its keyword.
    int depth = 0;
    Index open = std::string::npos;
    Index nameEnd = std::string::npos;
    for (Index i = 0; i < signature.size(); ++i) {
        const char c = signature[i];
        const bool wordStart = i == 0 || signature[i - 1] == ':' || signature[i - 1] == ' ';
        if (depth == 0 && wordStart && signature.compare(i, keywordLength, keyword) == 0) {
            nameEnd = i;
            i += keywordLength;
            if (signature.compare(i, 2, "()") == 0)
                i += 2;
            open = signature.find('(', i);
            break;
        }
        if (c == '<')
            ++depth;
        else if (c == '>' && depth > 0)
            --depth;
        else if (c == '(' && depth == 0) {
            open = nameEnd = i;
            break;
        }
    }
    if (open == std::string::npos)
        return signature;

    // The name starts after the last blank outside template arguments: what
    // stands before it is the return type.
    Index start = 0;
    depth = 0;
    for (Index i = nameEnd; i-- > 0;) {
        const char c = signature[i];
        if (c == '>')
            ++depth;
        else if (c == '<' && depth > 0)
            --depth;
        else if (c == ' ' && depth == 0) {
            start = i + 1;
            break;
        }
    }
    return signature.substr(start, open - start);
}

} // namespace detail
} // namespace Corvo
} // namespace Vesk
