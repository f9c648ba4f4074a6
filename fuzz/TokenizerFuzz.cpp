// Tokenizer on any wide text and delimiters (the first unit gives how many
// of the units after it are delimiters): tokens are not empty, hold no
// delimiter, and are the text's own pieces in order.
#include "CorvoTokenizer.h"
#include "FuzzText.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring input = corvo_fuzz::wideText(data, size);
    if (input.empty())
        return 0;
    const std::size_t delimiterCount = std::min<std::size_t>(input[0] % 8, input.size() - 1);
    const std::wstring delimiters = input.substr(1, delimiterCount);
    const std::wstring text = input.substr(1 + delimiterCount);
    Vesk::Corvo::Tokenizer tokenizer(text, delimiters);
    std::size_t position = 0;
    while (tokenizer.nextToken()) {
        const std::wstring token = tokenizer.getToken();
        if (token.empty() || token.find_first_of(delimiters) != std::wstring::npos)
            corvo_fuzz::broken("a token is empty or holds a delimiter");
        position = text.find(token, position);
        if (position == std::wstring::npos)
            corvo_fuzz::broken("a token is not the next piece of the text");
        position += token.size();
    }
    return 0;
}
