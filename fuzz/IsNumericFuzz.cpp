// isNumeric on any wide text and base (the first byte picks the base: the
// three that are known, or an unknown one): no crash, and a decimal number
// has a decimal digit.
#include "CorvoString.h"
#include "FuzzText.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const int bases[] = {512, 1024, 2048, 10};
    const int base = bases[data[0] % 4];
    const std::wstring text = corvo_fuzz::wideText(data + 1, size - 1);
    const bool numeric = Vesk::Corvo::isNumeric(text, base);
    if (numeric && base == 512 &&
        std::none_of(text.begin(), text.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; }))
        corvo_fuzz::broken("a decimal number without a digit");
    return 0;
}
