// UTF-8 checking and repair, the code point and position mappings under
// Utf8String, and the Utf8String object itself. All decoding and encoding
// goes through utfcpp.
#include "CorvoUtf8String.h"

#include "CorvoException.h"
#include "CorvoRaise.h"
#include "CorvoUtf8Internal.h"

#include <cstring>
#include <istream>
#include <iterator>
#include <memory>
#include <ostream>
#include <stdexcept>

namespace Vesk {
namespace Corvo {

const unsigned int Utf8String::npos;

namespace {

const unsigned int npos = Utf8String::npos;
const unsigned int maxSize = 0xFFFFFFFE;
const char byteOrderMark[] = "\xEF\xBB\xBF";

// The refusals of a 32-bit std::string, made explicit: on a 64-bit platform
// std::string reads 0xFFFFFFFF as an ordinary count.
[[noreturn]] void invalidPosition() { throw std::out_of_range("invalid string position"); }
[[noreturn]] void tooLong() { throw std::length_error("string too long"); }

// utfcpp takes 32-bit code points: a wider unsigned long must be refused, not
// cut down to a valid one.
template <typename OctetIterator>
OctetIterator appendCodePoint(unsigned long codePoint, OctetIterator out)
{
    if (codePoint > utf8::internal::CODE_POINT_MAX)
        throw utf8::invalid_code_point(
            static_cast<utf8::uint32_t>(codePoint > 0xFFFFFFFFul ? 0xFFFFFFFFul : codePoint));
    return utf8::append(static_cast<utf8::uint32_t>(codePoint), out);
}

// n copies of the encoded code point, for a text that already holds
// existingBytes. An invalid code point raises utf8::invalid_code_point unless
// n is 0; a result beyond max_size() raises std::length_error.
std::string repeatedCodePoint(unsigned int n, unsigned long codePoint,
                              std::string::size_type existingBytes)
{
    std::string repeated;
    if (n == 0)
        return repeated;
    char encoded[4];
    const std::string::size_type length = appendCodePoint(codePoint, encoded) - encoded;
    if (existingBytes + static_cast<unsigned long long>(n) * length > maxSize)
        tooLong();
    repeated.reserve(n * length);
    for (unsigned int i = 0; i < n; ++i)
        repeated.append(encoded, length);
    return repeated;
}

// The bytes of the n code points from position pos of a text. A position past
// the end is refused; a count past the end reaches to the end.
struct ByteRange
{
    std::string::size_type offset;
    std::string::size_type count;
};

ByteRange byteRange(const std::string& text, unsigned int pos, unsigned int n)
{
    const unsigned int bytes = static_cast<unsigned int>(text.size());
    const unsigned int offset = codePointPosition2ByteOffset(text.data(), pos, bytes);
    if (offset == npos)
        invalidPosition();
    const unsigned int count = codePointPosition2ByteOffset(text.data() + offset, n, bytes - offset);
    return ByteRange{offset, count == npos ? bytes - offset : count};
}

} // namespace

// ---------------------------------------------------------------------------
// Checking and repair

bool isValidUtf8(const char* str, unsigned int length)
{
    if (!str)
        return false;
    const char* end = str + (length == npos ? std::strlen(str) : length);
    return utf8::is_valid(str, end);
}

std::string validateUtf8(const std::string& str, bool strict)
{
    const std::string::const_iterator firstBad = utf8::find_invalid(str.begin(), str.end());
    if (firstBad == str.end())
        return str;
    if (strict)
        CORVO_RAISE(StringEncodingException, "Invalid UTF-8 string encoding detected");

    std::string repaired(str.begin(), firstBad);
    try {
        utf8::replace_invalid(firstBad, str.end(), std::back_inserter(repaired), 0xFFFD);
    } catch (const utf8::not_enough_room&) {
        // Older utfcpp releases throw for a sequence cut off by the end
        // instead of marking it: the rule is one mark, then stop.
        const Utf8Encoder mark(0xFFFD);
        repaired.append(mark.m_bytes, mark.m_length);
    }
    return repaired;
}

// ---------------------------------------------------------------------------
// One code point

Utf8Encoder::Utf8Encoder(unsigned long codePoint) : m_length(0)
{
    try {
        m_length = static_cast<unsigned int>(appendCodePoint(codePoint, m_bytes) - m_bytes);
    } catch (const utf8::exception& e) {
        CORVO_RAISE(StringEncodingException, e.what());
    }
}

Utf8Decoder::Utf8Decoder(const char* str) : m_codePoint(0), m_length(0), m_maxLength(5)
{
    if (!str)
        CORVO_RAISE(StringEncodingException, "null pointer detected");
    try {
        // Safe on terminated data: the NUL after the last byte is no trail
        // byte and ends any sequence before the span does.
        const char* it = str;
        m_codePoint = utf8::next(it, str + m_maxLength);
        m_length = static_cast<unsigned int>(it - str);
    } catch (const utf8::exception& e) {
        CORVO_RAISE(StringEncodingException, e.what());
    }
}

// ---------------------------------------------------------------------------
// Positions and byte offsets

unsigned int codePointPosition2ByteOffset(const char* utf8_str, unsigned int position,
                                          unsigned int byteLength)
{
    if (position == npos)
        return npos;
    if (!utf8_str)
        CORVO_RAISE(StringEncodingException, "null pointer detected");
    const char* it = utf8_str;
    const char* const end = utf8_str + byteLength;
    try {
        for (; position != 0; --position) {
            if (it == end)
                return npos;
            utf8::next(it, end);
        }
    } catch (const utf8::exception&) {
        return npos;
    }
    return static_cast<unsigned int>(it - utf8_str);
}

unsigned int codePointPosition2ByteOffset(const char* utf8_str, unsigned int position)
{
    if (position == npos)
        return npos;
    if (!utf8_str)
        CORVO_RAISE(StringEncodingException, "null pointer detected");
    const char* it = utf8_str;
    try {
        for (; position != 0; --position) {
            if (*it == '\0')
                return npos;
            // Four bytes hold any sequence, and the terminator stops a
            // shorter one before the span ends.
            utf8::next(it, it + 4);
        }
    } catch (const utf8::exception&) {
        return npos;
    }
    return static_cast<unsigned int>(it - utf8_str);
}

unsigned int byteOffset2CodePointPosition(const std::string& utf8_str, unsigned int byteOffset)
{
    if (byteOffset == npos || utf8_str.empty())
        return npos;
    if (byteOffset >= utf8_str.size())
        CORVO_RAISE(StringEncodingException, "Index is out of range for std::string utf8_str");
    try {
        return static_cast<unsigned int>(
            utf8::distance(utf8_str.begin(), utf8_str.begin() + byteOffset));
    } catch (const utf8::exception& e) {
        CORVO_RAISE(StringEncodingException, e.what());
    }
}

// ---------------------------------------------------------------------------
// Utf8String: construction and assignment

Utf8String::Utf8String() : m_utf8(nullptr), m_utf16(nullptr), m_utf32(nullptr)
{
    std::unique_ptr<std::string> utf8(new std::string);
    std::unique_ptr<std::wstring> utf16(new std::wstring);
    m_utf32 = new std::basic_string<unsigned long>;
    m_utf8 = utf8.release();
    m_utf16 = utf16.release();
}

// The constructors below start from the empty text, so that a throw from
// their bodies runs the destructor and leaves nothing behind.

Utf8String::Utf8String(const Utf8String& str, unsigned int pos, unsigned int n) : Utf8String()
{
    const ByteRange range = byteRange(*str.m_utf8, pos, n);
    m_utf8->assign(*str.m_utf8, range.offset, range.count);
}

Utf8String::Utf8String(const std::string& str) : Utf8String() { *m_utf8 = validateUtf8(str, false); }

Utf8String::Utf8String(const char* s) : Utf8String() { *m_utf8 = validateUtf8(s, false); }

Utf8String::Utf8String(const char* s, unsigned int n) : Utf8String()
{
    const unsigned int count = codePointPosition2ByteOffset(s, n);
    if (count == npos)
        tooLong();
    m_utf8->assign(s, count);
}

Utf8String::Utf8String(unsigned int n, unsigned long codePoint) : Utf8String()
{
    if (n == npos)
        CORVO_RAISE(StringEncodingException, "Utf8String::npos not allowed here");
    *m_utf8 = repeatedCodePoint(n, codePoint, 0);
}

Utf8String::Utf8String(iterator first, iterator last) : Utf8String()
{
    if (last.base() < first.base())
        tooLong();
    m_utf8->assign(first.base(), last.base());
}

Utf8String::~Utf8String()
{
    delete m_utf8;
    delete m_utf16;
    delete m_utf32;
}

Utf8String& Utf8String::operator=(const Utf8String& str)
{
    if (m_utf8 != str.m_utf8)
        *m_utf8 = *str.m_utf8;
    return *this;
}

Utf8String& Utf8String::operator=(const std::string& str)
{
    *m_utf8 = validateUtf8(str, false);
    return *this;
}

Utf8String& Utf8String::operator=(const char* s)
{
    *m_utf8 = validateUtf8(s, false);
    return *this;
}

Utf8String& Utf8String::operator=(unsigned long codePoint)
{
    char encoded[4];
    const char* end = appendCodePoint(codePoint, encoded);
    m_utf8->assign(static_cast<const char*>(encoded), end);
    return *this;
}

// ---------------------------------------------------------------------------
// Size and capacity

unsigned int Utf8String::size() const
{
    return static_cast<unsigned int>(utf8::distance(m_utf8->begin(), m_utf8->end()));
}

unsigned int Utf8String::length() const { return size(); }

unsigned int Utf8String::bytes() const { return static_cast<unsigned int>(m_utf8->size()); }

bool Utf8String::empty() const { return m_utf8->empty(); }

unsigned int Utf8String::capacity() const { return static_cast<unsigned int>(m_utf8->capacity()); }

unsigned int Utf8String::max_size() const { return maxSize; }

void Utf8String::reserve(unsigned int n)
{
    if (n > maxSize)
        tooLong();
    m_utf8->reserve(n);
}

void Utf8String::resize(unsigned int n, unsigned long codePoint)
{
    const unsigned int count = size();
    if (n > count)
        m_utf8->append(repeatedCodePoint(n - count, codePoint, m_utf8->size()));
    else if (n < count)
        m_utf8->erase(codePointPosition2ByteOffset(m_utf8->data(), n, bytes()));
}

void Utf8String::clear() { m_utf8->clear(); }

// ---------------------------------------------------------------------------
// Element access and raw form

unsigned long Utf8String::at(unsigned int pos) const
{
    const unsigned int offset = codePointPosition2ByteOffset(m_utf8->data(), pos, bytes());
    if (offset >= bytes())
        invalidPosition();
    return Utf8Decoder(m_utf8->c_str() + offset).m_codePoint;
}

unsigned long Utf8String::operator[](unsigned int pos) const { return at(pos); }

const char* Utf8String::c_str() const { return m_utf8->c_str(); }

const char* Utf8String::data() const { return m_utf8->c_str(); }

const char* Utf8String::asUtf8() const { return m_utf8->c_str(); }

unsigned int Utf8String::copy(char* dest, unsigned int n, unsigned int pos) const
{
    const ByteRange range = byteRange(*m_utf8, pos, n);
    if (range.count != 0)
        std::memcpy(dest, m_utf8->data() + range.offset, range.count);
    return static_cast<unsigned int>(range.count);
}

// ---------------------------------------------------------------------------
// Iteration and encodings

Utf8String::iterator Utf8String::begin()
{
    return iterator(m_utf8->begin(), m_utf8->begin(), m_utf8->end());
}

Utf8String::iterator Utf8String::end()
{
    return iterator(m_utf8->end(), m_utf8->begin(), m_utf8->end());
}

Utf8String::const_iterator Utf8String::begin() const
{
    return const_iterator(m_utf8->cbegin(), m_utf8->cbegin(), m_utf8->cend());
}

Utf8String::const_iterator Utf8String::end() const
{
    return const_iterator(m_utf8->cend(), m_utf8->cbegin(), m_utf8->cend());
}

const wchar_t* Utf8String::asUtf16() const
{
    m_utf16->clear();
    utf8::utf8to16(m_utf8->begin(), m_utf8->end(), std::back_inserter(*m_utf16));
    return m_utf16->c_str();
}

const wchar_t* Utf8String::asWideString() const { return asUtf16(); }

const unsigned long* Utf8String::asUtf32() const
{
    m_utf32->clear();
    utf8::utf8to32(m_utf8->begin(), m_utf8->end(), std::back_inserter(*m_utf32));
    return m_utf32->c_str();
}

// ---------------------------------------------------------------------------
// Byte order mark

bool Utf8String::addBOM()
{
    if (m_utf8->compare(0, 3, byteOrderMark) == 0)
        return false;
    m_utf8->insert(0, byteOrderMark);
    return true;
}

bool Utf8String::purgeBOM()
{
    if (m_utf8->compare(0, 3, byteOrderMark) != 0)
        return false;
    m_utf8->erase(0, 3);
    return true;
}

// ---------------------------------------------------------------------------
// Swap and streams

void Utf8String::swap(Utf8String& other)
{
    if (m_utf8 != other.m_utf8)
        m_utf8->swap(*other.m_utf8);
}

void swap(Utf8String& a, Utf8String& b) { a.swap(b); }

std::istream& operator>>(std::istream& is, Utf8String& str)
{
    std::string word;
    is >> word;
    str = word;
    return is;
}

std::istream& getline(std::istream& is, Utf8String& str, char delimiter)
{
    std::string line;
    std::getline(is, line, delimiter);
    str = line;
    return is;
}

std::ostream& operator<<(std::ostream& os, const Utf8String& str) { return os << str.c_str(); }

} // namespace Corvo
} // namespace Vesk
