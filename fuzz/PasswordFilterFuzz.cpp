// Logger::filterPassword on any text: no crash, and a text without the word
// "password" goes through as it is. (Filtering is not idempotent: only the
// first "?password=" starts a query, and masking one can make another the
// first.)
#include "FuzzText.h"
#include "ZimLogger.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = corvo_fuzz::narrowText(data, size);
    const std::string filtered = Vesk::Zim::Logger::filterPassword(text);
    if (text.find("password") == std::string::npos && filtered != text)
        corvo_fuzz::broken("a text without a password changed");
    return 0;
}
