// The pieces under Utf8String: one code point to bytes and back, and the
// walks between code-point positions and byte offsets. Internal to the
// library; nothing here is exported.
#ifndef CORVO_UTF8_INTERNAL_H
#define CORVO_UTF8_INTERNAL_H

#include <string>

namespace Vesk {
namespace Corvo {

// Encodes one code point; an invalid one raises StringEncodingException.
struct Utf8Encoder
{
    explicit Utf8Encoder(unsigned long codePoint);

    char m_bytes[4];
    unsigned int m_length;
};

// Decodes the sequence at str, which points into NUL-terminated data; a bad
// sequence raises StringEncodingException.
struct Utf8Decoder
{
    explicit Utf8Decoder(const char* str);

    unsigned long m_codePoint;
    unsigned int m_length;
    unsigned int m_maxLength;
};

// Byte offset of the code point at position in byteLength bytes: position
// equal to the number of code points gives byteLength; a larger position, or
// a bad sequence before it, gives Utf8String::npos.
unsigned int codePointPosition2ByteOffset(const char* utf8_str, unsigned int position,
                                          unsigned int byteLength);
// The same for NUL-terminated text.
unsigned int codePointPosition2ByteOffset(const char* utf8_str, unsigned int position);

// Position of the code point that begins at byteOffset.
unsigned int byteOffset2CodePointPosition(const std::string& utf8_str, unsigned int byteOffset);

} // namespace Corvo
} // namespace Vesk

#endif
