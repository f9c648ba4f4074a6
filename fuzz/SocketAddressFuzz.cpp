// The text of a socket address, as the sockets read it (inet_addr in any of
// the forms Windows reads): an address that it accepts reads back the same
// from its dotted form.
#include "CorvoPlatform.h"
#include "FuzzText.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = corvo_fuzz::narrowText(data, size);
    const unsigned long address = inet_addr(text.c_str());
    if (address == INADDR_NONE)
        return 0;
    // Network order: the first byte in memory is the first number.
    const std::string dotted = std::to_string(address & 0xFF) + "." + std::to_string(address >> 8 & 0xFF) +
                               "." + std::to_string(address >> 16 & 0xFF) + "." +
                               std::to_string(address >> 24 & 0xFF);
    if (inet_addr(dotted.c_str()) != address)
        corvo_fuzz::broken("an accepted address reads back otherwise from its dotted form");
    return 0;
}
