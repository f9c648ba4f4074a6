// A program built against the installed Corvo package.
#include <Corvo.h>

#include <iostream>

int main()
{
    Vesk::Corvo::Utf8String text(std::string("caf\xC3\xA9 \xFF"));
    if (text.size() != 6)
        return 1;
    try {
        Vesk::Corvo::validateUtf8("\xC3", true);
        return 2;
    } catch (const Vesk::Corvo::StringEncodingException& e) {
        if (e.getDescription().find("src/CorvoUtf8String.cpp") == std::string::npos)
            return 3;
    }
    std::cout << "consumer: " << text << '\n';
    return 0;
}
