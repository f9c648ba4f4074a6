// Tokenizer.
#include "CorvoTokenizer.h"

namespace Vesk {
namespace Corvo {

const std::wstring Tokenizer::defaultDelimiters(L" \t\n\r");

Tokenizer::Tokenizer(const std::wstring& text) : Tokenizer(text, defaultDelimiters) {}

Tokenizer::Tokenizer(const std::wstring& text, const std::wstring& delimiters)
    : m_offset(0), m_text(text), m_token(), m_delimiters(delimiters)
{
}

bool Tokenizer::nextToken() { return nextToken(m_delimiters); }

bool Tokenizer::nextToken(const std::wstring& delimiters)
{
    const std::wstring::size_type start = m_text.find_first_not_of(delimiters, m_offset);
    if (start == std::wstring::npos) {
        m_offset = static_cast<unsigned int>(m_text.size());
        return false;
    }
    std::wstring::size_type end = m_text.find_first_of(delimiters, start);
    if (end == std::wstring::npos)
        end = m_text.size();
    m_token = m_text.substr(start, end - start);
    m_offset = static_cast<unsigned int>(end);
    return true;
}

const std::wstring Tokenizer::getToken() const { return m_token; }

} // namespace Corvo
} // namespace Vesk
