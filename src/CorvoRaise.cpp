// Turns the compiler's full signature of a function into its qualified name.
#include "CorvoRaise.h"

#include "CorvoException.h"
#include "CorvoPacket.h"

#include <cctype>

namespace Vesk {
namespace Corvo {
namespace detail {

namespace {

typedef std::string::size_type Index;

bool isIdentifierChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Replaces every whole identifier `name` in text by `value`.
void substitute(std::string& text, const std::string& name, const std::string& value)
{
    for (Index at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
        const Index end = at + name.size();
        if ((at == 0 || !isIdentifierChar(text[at - 1])) &&
            (end == text.size() || !isIdentifierChar(text[end]))) {
            text.replace(at, name.size(), value);
            at += value.size();
        } else {
            at = end;
        }
    }
}

// GCC names a member of a class template with its parameters and says what
// they stand for behind: "... [with T = char; U = int]" (clang: "[T = char]",
// with the arguments in the name already). The name gets the arguments in
// place of the parameters.
void bindTemplateArguments(std::string& name, const std::string& signature)
{
    Index with = signature.rfind(" [with ");
    Index first = with + 7;
    if (with == std::string::npos) {
        with = signature.rfind(" [");
        first = with + 2;
    }
    if (with == std::string::npos || signature.back() != ']')
        return;
    const std::string bindings = signature.substr(first, signature.size() - first - 1);
    Index start = 0;
    while (start < bindings.size()) {
        Index end = bindings.find("; ", start);
        if (end == std::string::npos)
            end = bindings.size();
        const std::string binding = bindings.substr(start, end - start);
        const Index equals = binding.find(" = ");
        if (equals != std::string::npos)
            substitute(name, binding.substr(0, equals), binding.substr(equals + 3));
        start = end + 2;
    }
}

} // namespace

std::string qualifiedFunctionName(const char* prettyFunction)
{
    const std::string signature(prettyFunction);

    // The parameter list opens at the first parenthesis outside template
    // arguments, or for an operator at the first one after its symbol.
    const Index op = signature.find("::operator");
    Index open = 0;
    int depth = 0;
    if (op != std::string::npos) {
        open = signature.find('(', signature.compare(op + 10, 2, "()") == 0 ? op + 12 : op + 10);
    } else {
        while (open < signature.size() && (signature[open] != '(' || depth != 0)) {
            if (signature[open] == '<')
                ++depth;
            else if (signature[open] == '>')
                --depth;
            ++open;
        }
    }
    if (open == std::string::npos)
        open = signature.size();

    // The name starts after the last blank outside template arguments: what
    // stands before it is the return type, whose '&' or '*' clang writes
    // against the name ("U &Vesk::Corvo::U::assign(int)").
    Index start = op != std::string::npos ? op : open;
    for (depth = 0; start > 0; --start) {
        const char c = signature[start - 1];
        if (c == '>')
            ++depth;
        else if (c == '<')
            --depth;
        else if ((c == ' ' || c == '&' || c == '*') && depth == 0)
            break;
    }
    std::string name = signature.substr(start, open - start);
    bindTemplateArguments(name, signature);

    // An operator is named with a blank before its symbol: "operator =".
    const Index symbol = name.rfind("::operator");
    if (symbol != std::string::npos && symbol + 10 < name.size() &&
        !isIdentifierChar(name[symbol + 10]) && name[symbol + 10] != ' ')
        name.insert(symbol + 10, " ");
    return name;
}

[[noreturn]] void raisePacketFailure(const char* reason, const char* file, const char* function, int line)
{
    throw Exception(reason, file, function, line);
}

} // namespace detail
} // namespace Corvo
} // namespace Vesk
