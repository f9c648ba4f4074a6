/// \file
/// Tokenizer: cuts a wide string into tokens, one per call, on its own copy
/// of the text.
#ifndef CORVO_TOKENIZER_H
#define CORVO_TOKENIZER_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// Each character of a delimiter set is a delimiter by itself, and a run of
/// delimiters is one separation, so no token is empty. The walk goes one way;
/// a copy goes on from the same place independently. Nothing throws.
class CORVO_API Tokenizer
{
public:
    /// Blank, tab, line feed and carriage return.
    static const std::wstring defaultDelimiters;

    /// Cuts text at defaultDelimiters.
    explicit Tokenizer(const std::wstring& text);
    /// Cuts text at the given delimiters.
    Tokenizer(const std::wstring& text, const std::wstring& delimiters);

    /// Moves to the next token with the stored delimiters; false, with the
    /// last token kept, when none is left.
    bool nextToken();
    /// The same with a set for this call only. The position stays on the
    /// delimiter that ended the previous token, so this call's set decides
    /// whether that character separates or starts the next token.
    bool nextToken(const std::wstring& delimiters);

    /// The current token; empty before the first nextToken.
    const std::wstring getToken() const;

private:
    unsigned int m_offset;
    std::wstring m_text;
    std::wstring m_token;
    std::wstring m_delimiters;
};

} // namespace Corvo
} // namespace Vesk

#endif
