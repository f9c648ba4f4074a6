// Converter's hexadecimal decoding on any wide text: what it decodes encodes
// back to the same digits, in lower case; a refusal leaves nothing behind.
#include "CorvoConverter.h"
#include "CorvoException.h"
#include "FuzzText.h"

using Vesk::Corvo::Converter;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring hex = corvo_fuzz::wideText(data, size);
    unsigned char* bytes = nullptr;
    unsigned int length = 0;
    bool decoded;
    try {
        decoded = Converter::convertHexStringToBytesArray(hex, &bytes, length);
    } catch (const Vesk::Corvo::Exception&) {
        return 0; // a unit above 255
    }
    if (!decoded) {
        if (bytes || length != 0)
            corvo_fuzz::broken("a refusal left bytes behind");
        return 0;
    }
    const std::wstring back = Converter::convertBytesArrayToHexString(bytes, length);
    delete[] bytes;
    std::wstring digits = hex.substr(0, hex.size() / 2 * 2); // an odd last digit is ignored
    for (wchar_t& digit : digits)
        if (digit >= L'A' && digit <= L'F')
            digit = static_cast<wchar_t>(digit - L'A' + L'a');
    if (back != digits)
        corvo_fuzz::broken("decoded bytes encode to other digits");
    return 0;
}
