// utf8-inspect: reads text from standard input, repairs what is not valid
// UTF-8, and shows the result as code points, bytes and UTF-16 units.
#include <Corvo.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

using Vesk::Corvo::Utf8String;

int main()
{
    std::cin >> std::noskipws;
    const std::string input((std::istreambuf_iterator<char>(std::cin)),
                            std::istreambuf_iterator<char>());
    const Utf8String text(input);

    std::printf("%u bytes read, %s\n", static_cast<unsigned>(input.size()),
                Vesk::Corvo::isValidUtf8(input.data(), static_cast<unsigned>(input.size()))
                    ? "valid UTF-8"
                    : "repaired: each bad sequence became U+FFFD");

    std::printf("%u code points:", text.size());
    for (Utf8String::const_iterator it = text.begin(); it != text.end(); ++it)
        std::printf(" U+%04X", static_cast<unsigned>(*it));

    std::printf("\n%u bytes:", text.bytes());
    for (const char* p = text.c_str(); p != text.c_str() + text.bytes(); ++p)
        std::printf(" %02X", static_cast<unsigned char>(*p));

    // asUtf16 ends at a NUL code point; count the units from the code points.
    const wchar_t* units = text.asUtf16();
    unsigned count = 0;
    for (Utf8String::const_iterator it = text.begin(); it != text.end(); ++it)
        count += *it > 0xFFFF ? 2 : 1;
    std::printf("\n%u UTF-16 units:", count);
    for (unsigned i = 0; i < count; ++i)
        std::printf(" %04X", static_cast<unsigned>(units[i]));
    std::printf("\n");
    return 0;
}
