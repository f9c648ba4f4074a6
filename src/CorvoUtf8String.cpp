// UTF-8 checking and repair, the code point and position mappings under
// Utf8String, and the Utf8String object itself. All decoding and encoding
// goes through utfcpp.
#include "CorvoUtf8String.h"

#include "CorvoException.h"
#include "CorvoRaise.h"
#include "CorvoUtf8Internal.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <iterator>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string_view>

namespace Vesk {
namespace Corvo {

const unsigned int Utf8String::npos;

namespace {

typedef std::string::size_type Size;

const unsigned int npos = Utf8String::npos;
const unsigned int maxSize = 0xFFFFFFFE;
const char byteOrderMark[] = "\xEF\xBB\xBF";
// Not a default string_view: its null data() must not reach std::string.
const std::string_view noBytes("", 0);

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

// Appends n copies of the encoded code point. The code point is checked
// (utf8::invalid_code_point) and the length bounded (std::length_error)
// before any byte is written; n 0 never looks at the code point.
void appendRepeated(std::string& out, unsigned int n, unsigned long codePoint)
{
    if (n == 0)
        return;
    char encoded[4];
    const Size length = appendCodePoint(codePoint, encoded) - encoded;
    if (out.size() + static_cast<unsigned long long>(n) * length > maxSize)
        tooLong();
    // Not for one copy: push_back in a loop relies on the string's own
    // geometric growth.
    if (n > 1)
        out.reserve(out.size() + n * length);
    // Byte by byte: push_back inlines, where append(ptr, n) is a call that
    // costs more than the copy of one to four bytes.
    for (unsigned int i = 0; i < n; ++i)
        for (Size b = 0; b < length; ++b)
            out.push_back(encoded[b]);
}

unsigned int codePointCount(const std::string& text)
{
    return static_cast<unsigned int>(utf8::distance(text.begin(), text.end()));
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

ByteRange positionIn(const std::string& text, unsigned int pos) { return byteRange(text, pos, 0); }

ByteRange wholeOf(const std::string& text) { return ByteRange{0, text.size()}; }

ByteRange endOf(const std::string& text) { return ByteRange{text.size(), 0}; }

std::string_view partOf(const std::string& text, unsigned int pos, unsigned int n)
{
    const ByteRange range = byteRange(text, pos, n);
    return std::string_view(text.data() + range.offset, range.count);
}

// The bytes between two iterators over text. Iterators of another text, or
// in the wrong order, are refused rather than handed on.
ByteRange iteratorRange(const std::string& text, std::string::const_iterator first,
                        std::string::const_iterator last)
{
    if (first < text.begin() || last < first || last > text.end())
        invalidPosition();
    return ByteRange{static_cast<Size>(first - text.begin()), static_cast<Size>(last - first)};
}

Utf8String::iterator iteratorAt(std::string& text, Size offset)
{
    return Utf8String::iterator(text.begin() + offset, text.begin(), text.end());
}

// The first n code points of the terminated s: they must all be there and
// valid, since a count that goes with bytes is no upper bound.
std::string_view countedBytes(const char* s, unsigned int n)
{
    const unsigned int count = codePointPosition2ByteOffset(s, n);
    if (count == npos)
        tooLong();
    return std::string_view(s, count);
}

// Every edit from a source of bytes ends here, after all mapping and
// checking, so that a failed edit leaves the text alone. The bytes may lie in
// text itself.
void splice(std::string& text, const ByteRange& target, std::string_view bytes)
{
    if (text.size() - target.count + bytes.size() > maxSize)
        tooLong();
    text.replace(target.offset, target.count, bytes.data(), bytes.size());
}

// A byte search from the code-point position pos, its hit answered as a
// code-point position. The hit is placed by byteOffset2CodePointPosition,
// which refuses a hit at the end of the text or inside a sequence.
unsigned int searchBytes(const std::string& text, std::string_view needle, unsigned int pos,
                         bool backward)
{
    const unsigned int offset =
        codePointPosition2ByteOffset(text.data(), pos, static_cast<unsigned int>(text.size()));
    const Size from = offset == npos ? std::string::npos : offset;
    Size found;
    if (backward)
        found = text.rfind(needle.data(), from, needle.size());
    else
        found = from == std::string::npos ? from : text.find(needle.data(), from, needle.size());
    return found == std::string::npos
               ? npos
               : byteOffset2CodePointPosition(text, static_cast<unsigned int>(found));
}

// A needle of the first n code points of s. When they are not all there the
// search finds nothing, unlike the counted forms that edit.
unsigned int searchCounted(const std::string& text, const char* s, unsigned int n,
                           unsigned int pos, bool backward)
{
    const unsigned int length = codePointPosition2ByteOffset(s, n);
    return length == npos ? npos : searchBytes(text, std::string_view(s, length), pos, backward);
}

// Whether the code point stands in set, looked up by its encoding.
bool inSet(const std::string& set, unsigned long codePoint)
{
    const Utf8Encoder encoded(codePoint);
    const Size found = set.find(encoded.m_bytes, 0, encoded.m_length);
    // Placing the hit walks the set up to it, so bad bytes before it raise as
    // they do in find.
    return found != std::string::npos &&
           byteOffset2CodePointPosition(set, static_cast<unsigned int>(found)) != npos;
}

// The set searches. One walk from the start finds the first position, and
// the scan goes on from there code point by code point: the answer of
// testing at() at each index, without a walk per index.
template <typename Hit>
unsigned int scanForward(const std::string& text, unsigned int pos, Hit hit)
{
    const unsigned int count = codePointCount(text);
    if (pos >= count)
        return npos;
    const char* const end = text.data() + text.size();
    const char* it = text.data() + byteRange(text, pos, 0).offset;
    for (unsigned int i = pos; i < count; ++i)
        if (hit(utf8::next(it, end)))
            return i;
    return npos;
}

// pos npos starts at the last code point; any other pos must name one.
template <typename Hit>
unsigned int scanBackward(const std::string& text, unsigned int pos, Hit hit)
{
    const unsigned int count = codePointCount(text);
    if (count == 0)
        return npos;
    const unsigned int start = pos == npos ? count - 1 : pos;
    if (start >= count)
        invalidPosition();
    const char* const first = text.data();
    const char* it = first + byteRange(text, start + 1, 0).offset;
    for (unsigned int i = start + 1; i-- > 0;)
        if (hit(utf8::prior(it, first)))
            return i;
    return npos;
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
    const std::string_view counted = countedBytes(s, n);
    m_utf8->assign(counted.data(), counted.size());
}

Utf8String::Utf8String(unsigned int n, unsigned long codePoint) : Utf8String()
{
    if (n == npos)
        CORVO_RAISE(StringEncodingException, "Utf8String::npos not allowed here");
    appendRepeated(*m_utf8, n, codePoint);
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

unsigned int Utf8String::size() const { return codePointCount(*m_utf8); }

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
        appendRepeated(*m_utf8, n - count, codePoint);
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

// ---------------------------------------------------------------------------
// Editing. Where a call has a target and a source that can both fail, the
// order of the steps decides which failure the caller sees, so the steps are
// written out one statement each.

Utf8String& Utf8String::append(const Utf8String& str)
{
    splice(*m_utf8, endOf(*m_utf8), *str.m_utf8);
    return *this;
}

Utf8String& Utf8String::append(const Utf8String& str, unsigned int pos, unsigned int n)
{
    splice(*m_utf8, endOf(*m_utf8), partOf(*str.m_utf8, pos, n));
    return *this;
}

Utf8String& Utf8String::append(const std::string& s)
{
    splice(*m_utf8, endOf(*m_utf8), validateUtf8(s, false));
    return *this;
}

Utf8String& Utf8String::append(const char* s)
{
    splice(*m_utf8, endOf(*m_utf8), validateUtf8(s, false));
    return *this;
}

Utf8String& Utf8String::append(const char* s, unsigned int n)
{
    splice(*m_utf8, endOf(*m_utf8), countedBytes(s, n));
    return *this;
}

Utf8String& Utf8String::append(unsigned int n, unsigned long codePoint)
{
    appendRepeated(*m_utf8, n, codePoint);
    return *this;
}

Utf8String& Utf8String::append(iterator first, iterator last)
{
    const Utf8String range(first, last);
    splice(*m_utf8, endOf(*m_utf8), *range.m_utf8);
    return *this;
}

Utf8String& Utf8String::operator+=(const Utf8String& str) { return append(str); }

Utf8String& Utf8String::operator+=(const char* s) { return append(s); }

Utf8String& Utf8String::operator+=(unsigned long codePoint) { return append(1, codePoint); }

Utf8String& Utf8String::assign(const Utf8String& str) { return *this = str; }

Utf8String& Utf8String::assign(const Utf8String& str, unsigned int pos, unsigned int n)
{
    splice(*m_utf8, wholeOf(*m_utf8), partOf(*str.m_utf8, pos, n));
    return *this;
}

Utf8String& Utf8String::assign(const std::string& s) { return *this = s; }

Utf8String& Utf8String::assign(const char* s) { return *this = s; }

Utf8String& Utf8String::assign(const char* s, unsigned int n)
{
    splice(*m_utf8, wholeOf(*m_utf8), countedBytes(s, n));
    return *this;
}

Utf8String& Utf8String::assign(unsigned int n, unsigned long codePoint)
{
    if (n == npos)
        CORVO_RAISE(StringEncodingException, "Utf8String::npos not allowed here");
    std::string repeated;
    appendRepeated(repeated, n, codePoint);
    m_utf8->swap(repeated);
    return *this;
}

Utf8String& Utf8String::assign(iterator first, iterator last)
{
    // Copied out first: the range may lie in this text.
    Utf8String range(first, last);
    m_utf8->swap(*range.m_utf8);
    return *this;
}

Utf8String& Utf8String::insert(unsigned int pos, const Utf8String& str)
{
    splice(*m_utf8, positionIn(*m_utf8, pos), *str.m_utf8);
    return *this;
}

Utf8String& Utf8String::insert(unsigned int pos, const Utf8String& str, unsigned int pos2,
                               unsigned int n)
{
    const ByteRange target = positionIn(*m_utf8, pos);
    splice(*m_utf8, target, partOf(*str.m_utf8, pos2, n));
    return *this;
}

Utf8String& Utf8String::insert(unsigned int pos, const char* s, unsigned int n)
{
    const ByteRange target = positionIn(*m_utf8, pos);
    splice(*m_utf8, target, countedBytes(s, n));
    return *this;
}

Utf8String& Utf8String::insert(unsigned int pos, const char* s)
{
    splice(*m_utf8, positionIn(*m_utf8, pos), s);
    return *this;
}

Utf8String& Utf8String::insert(unsigned int pos, unsigned int n, unsigned long codePoint)
{
    const Utf8String repeated(n, codePoint);
    splice(*m_utf8, positionIn(*m_utf8, pos), *repeated.m_utf8);
    return *this;
}

Utf8String::iterator Utf8String::insert(iterator where, unsigned long codePoint)
{
    const ByteRange target = iteratorRange(*m_utf8, where.base(), where.base());
    const Utf8Encoder encoded(codePoint);
    splice(*m_utf8, target, std::string_view(encoded.m_bytes, encoded.m_length));
    return iteratorAt(*m_utf8, target.offset);
}

void Utf8String::insert(iterator where, unsigned int n, unsigned long codePoint)
{
    const Utf8String repeated(n, codePoint);
    splice(*m_utf8, iteratorRange(*m_utf8, where.base(), where.base()), *repeated.m_utf8);
}

void Utf8String::insert(iterator where, iterator first, iterator last)
{
    const Utf8String range(first, last);
    splice(*m_utf8, iteratorRange(*m_utf8, where.base(), where.base()), *range.m_utf8);
}

Utf8String& Utf8String::erase(unsigned int pos, unsigned int n)
{
    splice(*m_utf8, byteRange(*m_utf8, pos, n), noBytes);
    return *this;
}

Utf8String::iterator Utf8String::erase(iterator where)
{
    // utf8::next refuses the end of the text and bad bytes at where.
    std::string::iterator next = where.base();
    utf8::next(next, m_utf8->end());
    return erase(iterator(where.base(), m_utf8->begin(), m_utf8->end()),
                 iterator(next, m_utf8->begin(), m_utf8->end()));
}

Utf8String::iterator Utf8String::erase(iterator first, iterator last)
{
    const ByteRange target = iteratorRange(*m_utf8, first.base(), last.base());
    splice(*m_utf8, target, noBytes);
    return iteratorAt(*m_utf8, target.offset);
}

Utf8String& Utf8String::replace(unsigned int pos, unsigned int n, const Utf8String& str)
{
    splice(*m_utf8, byteRange(*m_utf8, pos, n), *str.m_utf8);
    return *this;
}

Utf8String& Utf8String::replace(unsigned int pos, unsigned int n, const Utf8String& str,
                                unsigned int pos2, unsigned int count2)
{
    const ByteRange target = byteRange(*m_utf8, pos, n);
    splice(*m_utf8, target, partOf(*str.m_utf8, pos2, count2));
    return *this;
}

Utf8String& Utf8String::replace(unsigned int pos, unsigned int n, const char* s, unsigned int count2)
{
    const ByteRange target = byteRange(*m_utf8, pos, n);
    splice(*m_utf8, target, countedBytes(s, count2));
    return *this;
}

Utf8String& Utf8String::replace(unsigned int pos, unsigned int n, const char* s)
{
    const std::string repaired = validateUtf8(s, false);
    splice(*m_utf8, byteRange(*m_utf8, pos, n), repaired);
    return *this;
}

Utf8String& Utf8String::replace(unsigned int pos, unsigned int n, unsigned int count,
                                unsigned long codePoint)
{
    const Utf8String repeated(count, codePoint);
    splice(*m_utf8, byteRange(*m_utf8, pos, n), *repeated.m_utf8);
    return *this;
}

Utf8String& Utf8String::replace(iterator first, iterator last, const Utf8String& str)
{
    splice(*m_utf8, iteratorRange(*m_utf8, first.base(), last.base()), *str.m_utf8);
    return *this;
}

Utf8String& Utf8String::replace(iterator first, iterator last, const char* s, unsigned int n)
{
    const std::string_view counted = countedBytes(s, n);
    splice(*m_utf8, iteratorRange(*m_utf8, first.base(), last.base()), counted);
    return *this;
}

Utf8String& Utf8String::replace(iterator first, iterator last, const char* s)
{
    const std::string repaired = validateUtf8(s, false);
    splice(*m_utf8, iteratorRange(*m_utf8, first.base(), last.base()), repaired);
    return *this;
}

Utf8String& Utf8String::replace(iterator first, iterator last, unsigned int count,
                                unsigned long codePoint)
{
    const Utf8String repeated(count, codePoint);
    splice(*m_utf8, iteratorRange(*m_utf8, first.base(), last.base()), *repeated.m_utf8);
    return *this;
}

Utf8String operator+(const Utf8String& a, const Utf8String& b)
{
    Utf8String sum(a);
    sum.append(b);
    return sum;
}

Utf8String operator+(const Utf8String& a, const char* s)
{
    Utf8String sum(a);
    sum.append(s);
    return sum;
}

Utf8String operator+(const char* s, const Utf8String& b)
{
    Utf8String sum(s);
    sum.append(b);
    return sum;
}

Utf8String operator+(const Utf8String& a, unsigned long codePoint)
{
    Utf8String sum(a);
    sum.append(1, codePoint);
    return sum;
}

Utf8String operator+(unsigned long codePoint, const Utf8String& b)
{
    Utf8String sum(1, codePoint);
    sum.append(b);
    return sum;
}

// ---------------------------------------------------------------------------
// Comparison

int Utf8String::compare(unsigned int pos1, unsigned int count1, const Utf8String& str,
                        unsigned int pos2, unsigned int count2) const
{
    // Counting validates both texts, so the walks below meet no bad bytes.
    const unsigned int size1 = size();
    const unsigned int size2 = str.size();
    if (pos1 > size1 || pos2 > size2)
        CORVO_RAISE(StringEncodingException, "Index is out of range for Corvo::Utf8String");
    if (count1 == npos)
        count1 = size1 - pos1;
    if (count2 == npos)
        count2 = size2 - pos2;

    const char* a = m_utf8->data() + positionIn(*m_utf8, pos1).offset;
    const char* b = str.m_utf8->data() + positionIn(*str.m_utf8, pos2).offset;
    const char* const endA = m_utf8->data() + m_utf8->size();
    const char* const endB = str.m_utf8->data() + str.m_utf8->size();
    const unsigned int length = std::min(count1, count2);
    for (unsigned int i = 0; i < length; ++i) {
        // An explicit count is not cut to the text: running out is a bad
        // position, as reading past the end with at() is.
        if (a == endA || b == endB)
            invalidPosition();
        const utf8::uint32_t x = utf8::next(a, endA);
        const utf8::uint32_t y = utf8::next(b, endB);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return count1 == count2 ? 0 : (count1 < count2 ? -1 : 1);
}

int Utf8String::compare(const Utf8String& str) const { return compare(0, npos, str, 0, npos); }

int Utf8String::compare(unsigned int pos1, unsigned int count1, const Utf8String& str) const
{
    return compare(pos1, count1, str, 0, npos);
}

int Utf8String::compare(const char* s) const { return compare(0, npos, Utf8String(s), 0, npos); }

int Utf8String::compare(unsigned int pos1, unsigned int count1, const char* s) const
{
    return compare(pos1, count1, Utf8String(s), 0, npos);
}

int Utf8String::compare(unsigned int pos1, unsigned int count1, const char* s,
                        unsigned int count2) const
{
    return compare(pos1, count1, Utf8String(s), 0, count2);
}

// With the text on the right, the sense of the comparison turns round.
#define CORVO_RELATION(op, mirrored)                                                      \
    bool operator op(const Utf8String& a, const Utf8String& b) { return a.compare(b) op 0; } \
    bool operator op(const Utf8String& a, const char* s) { return a.compare(s) op 0; }       \
    bool operator op(const char* s, const Utf8String& b) { return b.compare(s) mirrored 0; }

CORVO_RELATION(==, ==)
CORVO_RELATION(!=, !=)
CORVO_RELATION(<, >)
CORVO_RELATION(<=, >=)
CORVO_RELATION(>, <)
CORVO_RELATION(>=, <=)

#undef CORVO_RELATION

Utf8String Utf8String::substr(unsigned int pos, unsigned int n)
{
    const Utf8String part(*this, pos, n);
    return part;
}

// ---------------------------------------------------------------------------
// Search

unsigned int Utf8String::find(const Utf8String& str, unsigned int pos) const
{
    return searchBytes(*m_utf8, *str.m_utf8, pos, false);
}

unsigned int Utf8String::find(const char* s, unsigned int pos, unsigned int n) const
{
    return searchCounted(*m_utf8, s, n, pos, false);
}

unsigned int Utf8String::find(const char* s, unsigned int pos) const
{
    return searchBytes(*m_utf8, s, pos, false);
}

unsigned int Utf8String::find(unsigned long codePoint, unsigned int pos) const
{
    const Utf8Encoder encoded(codePoint);
    return searchBytes(*m_utf8, std::string_view(encoded.m_bytes, encoded.m_length), pos, false);
}

unsigned int Utf8String::rfind(const Utf8String& str, unsigned int pos) const
{
    return searchBytes(*m_utf8, *str.m_utf8, pos, true);
}

unsigned int Utf8String::rfind(const char* s, unsigned int pos, unsigned int n) const
{
    return searchCounted(*m_utf8, s, n, pos, true);
}

unsigned int Utf8String::rfind(const char* s, unsigned int pos) const
{
    return searchBytes(*m_utf8, s, pos, true);
}

unsigned int Utf8String::rfind(unsigned long codePoint, unsigned int pos) const
{
    const Utf8Encoder encoded(codePoint);
    return searchBytes(*m_utf8, std::string_view(encoded.m_bytes, encoded.m_length), pos, true);
}

unsigned int Utf8String::find_first_of(const Utf8String& str, unsigned int pos) const
{
    const std::string& set = *str.m_utf8;
    return scanForward(*m_utf8, pos, [&set](unsigned long c) { return inSet(set, c); });
}

unsigned int Utf8String::find_first_of(const char* s, unsigned int pos, unsigned int n) const
{
    return find_first_of(Utf8String(s, n), pos);
}

unsigned int Utf8String::find_first_of(const char* s, unsigned int pos) const
{
    return find_first_of(Utf8String(s), pos);
}

unsigned int Utf8String::find_first_of(unsigned long codePoint, unsigned int pos) const
{
    return find(codePoint, pos);
}

unsigned int Utf8String::find_last_of(const Utf8String& str, unsigned int pos) const
{
    const std::string& set = *str.m_utf8;
    return scanBackward(*m_utf8, pos, [&set](unsigned long c) { return inSet(set, c); });
}

unsigned int Utf8String::find_last_of(const char* s, unsigned int pos, unsigned int n) const
{
    return find_last_of(Utf8String(s, n), pos);
}

unsigned int Utf8String::find_last_of(const char* s, unsigned int pos) const
{
    return find_last_of(Utf8String(s), pos);
}

unsigned int Utf8String::find_last_of(unsigned long codePoint, unsigned int pos) const
{
    return rfind(codePoint, pos);
}

unsigned int Utf8String::find_first_not_of(const Utf8String& str, unsigned int pos) const
{
    const std::string& set = *str.m_utf8;
    return scanForward(*m_utf8, pos, [&set](unsigned long c) { return !inSet(set, c); });
}

unsigned int Utf8String::find_first_not_of(const char* s, unsigned int pos, unsigned int n) const
{
    return find_first_not_of(Utf8String(s, n), pos);
}

unsigned int Utf8String::find_first_not_of(const char* s, unsigned int pos) const
{
    return find_first_not_of(Utf8String(s), pos);
}

unsigned int Utf8String::find_first_not_of(unsigned long codePoint, unsigned int pos) const
{
    return scanForward(*m_utf8, pos, [codePoint](unsigned long c) { return c != codePoint; });
}

unsigned int Utf8String::find_last_not_of(const Utf8String& str, unsigned int pos) const
{
    const std::string& set = *str.m_utf8;
    return scanBackward(*m_utf8, pos, [&set](unsigned long c) { return !inSet(set, c); });
}

unsigned int Utf8String::find_last_not_of(const char* s, unsigned int pos, unsigned int n) const
{
    return find_last_not_of(Utf8String(s, n), pos);
}

unsigned int Utf8String::find_last_not_of(const char* s, unsigned int pos) const
{
    try {
        return find_last_not_of(Utf8String(s), pos);
    } catch (const StringEncodingException&) {
        return npos;
    }
}

unsigned int Utf8String::find_last_not_of(unsigned long codePoint, unsigned int pos) const
{
    return scanBackward(*m_utf8, pos, [codePoint](unsigned long c) { return c != codePoint; });
}

} // namespace Corvo
} // namespace Vesk
