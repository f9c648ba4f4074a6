// What the fuzz targets share: the input as the text a parser reads, and
// the way a target reports a broken property.
#ifndef CORVO_FUZZ_TEXT_H
#define CORVO_FUZZ_TEXT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace corvo_fuzz {

inline std::string narrowText(const std::uint8_t* data, std::size_t size)
{
    return std::string(reinterpret_cast<const char*>(data), size);
}

// Two bytes a UTF-16 unit, low byte first; an odd last byte is a unit of its
// own. Wide parsers then meet units above 255 as well as bytes.
inline std::wstring wideText(const std::uint8_t* data, std::size_t size)
{
    std::wstring text;
    for (std::size_t i = 0; i < size; i += 2)
        text += static_cast<wchar_t>(data[i] | (i + 1 < size ? data[i + 1] << 8 : 0));
    return text;
}

[[noreturn]] inline void broken(const char* property)
{
    std::fprintf(stderr, "broken: %s\n", property);
    std::abort();
}

} // namespace corvo_fuzz

#endif
