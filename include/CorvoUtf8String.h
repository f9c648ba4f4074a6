/// \file
/// Utf8String: text stored as UTF-8 bytes and counted in code points, with
/// the surface of std::string. Also the functions that judge and repair UTF-8.
#ifndef CORVO_UTF8_STRING_H
#define CORVO_UTF8_STRING_H

#include "CorvoExport.h"

#include <iosfwd>
#include <iterator>
#include <string>

#include <utf8.h>

namespace Vesk {
namespace Corvo {

/// Whether the bytes are valid UTF-8. A length of Utf8String::npos means up to
/// the first NUL byte; a null pointer is never valid. Never throws.
CORVO_API bool isValidUtf8(const char* str, unsigned int length);

/// The bytes of str. Invalid sequences raise StringEncodingException "Invalid
/// UTF-8 string encoding detected" when strict, and are replaced by U+FFFD
/// otherwise (one mark for a sequence cut off by the end).
CORVO_API std::string validateUtf8(const std::string& str, bool strict);

/// Text as UTF-8 with the surface of std::string, counted in code points.
///
/// Positions, counts and sizes are code points; npos means "to the end" as a
/// count and "not found" as a result. The text is always valid UTF-8, except
/// after insert(unsigned int, const char*), which takes bytes unexamined.
/// Nothing is logged. Not guarded: one thread at a time per object.
///
/// What throws, throughout the class (the std and utfcpp exceptions derive
/// from std::exception, StringEncodingException from Vesk::Corvo::Exception):
/// - a position past the end: std::out_of_range "invalid string position"
///   (compare throws StringEncodingException "Index is out of range for
///   Corvo::Utf8String" instead);
/// - a text that would pass max_size(), or a count that goes with a
///   const char* and is not met exactly (the text is shorter, or the count
///   is npos): std::length_error "string too long";
/// - a code point that is a surrogate or beyond U+10FFFF:
///   utf8::invalid_code_point;
/// - a count of npos copies of a code point in the constructor and assign:
///   StringEncodingException "Utf8String::npos not allowed here";
/// - a null const char* with a count: StringEncodingException "null pointer
///   detected".
///
/// Bytes that are not valid UTF-8, given as const char* or std::string to a
/// constructor, an assignment or an edit, become U+FFFD; the counted
/// const char* forms refuse them instead, with std::length_error. Indexing walks from
/// the start (no index is kept), so iterate rather than index in loops.
class CORVO_API Utf8String
{
public:
    /// Walks the text code point by code point (utfcpp's checked iterator).
    typedef utf8::iterator<std::string::iterator> iterator;
    /// Walks the text code point by code point, read-only.
    typedef utf8::iterator<std::string::const_iterator> const_iterator;

    /// "To the end" as a count, "not found" as a result; 0xFFFFFFFF on every
    /// platform.
    static const unsigned int npos = 0xFFFFFFFF;

    /// From another Utf8String (n code points from pos), from bytes (invalid
    /// sequences become U+FFFD), from n copies of a code point, or from a
    /// range of iterators of one text. The counted const char* form takes
    /// exactly n code points.
    ///@{
    Utf8String();
    Utf8String(const Utf8String& str, unsigned int pos = 0, unsigned int n = npos);
    Utf8String(const std::string& str);
    Utf8String(const char* s);
    Utf8String(const char* s, unsigned int n);
    Utf8String(unsigned int n, unsigned long codePoint);
    Utf8String(iterator first, iterator last);
    ~Utf8String();

    Utf8String& operator=(const Utf8String& str);
    Utf8String& operator=(const std::string& str);
    Utf8String& operator=(const char* s);
    Utf8String& operator=(unsigned long codePoint);
    ///@}

    /// size and length count code points (a walk of the text); bytes counts
    /// bytes; capacity, max_size and reserve are in bytes. resize cuts to n
    /// code points or appends copies of codePoint.
    ///@{
    unsigned int size() const;
    unsigned int length() const;
    unsigned int bytes() const;
    bool empty() const;
    unsigned int capacity() const;
    unsigned int max_size() const;
    void reserve(unsigned int n);
    void resize(unsigned int n, unsigned long codePoint);
    void clear();
    ///@}

    /// at and operator[] give the code point at pos (both check: past the end
    /// throws std::out_of_range). c_str, data and asUtf8 give the bytes,
    /// terminated. copy writes the bytes of n code points from pos to dest,
    /// unterminated, and answers the number of bytes.
    ///@{
    unsigned long at(unsigned int pos) const;
    unsigned long operator[](unsigned int pos) const;
    const char* c_str() const;
    const char* data() const;
    const char* asUtf8() const;
    unsigned int copy(char* dest, unsigned int n, unsigned int pos = 0) const;
    ///@}

    /// Iterators over code points; an edit invalidates them.
    ///@{
    // Inline, so that a loop sees that both ends share one range.
    iterator begin() { return iterator(m_utf8->begin(), m_utf8->begin(), m_utf8->end()); }
    iterator end() { return iterator(m_utf8->end(), m_utf8->begin(), m_utf8->end()); }
    const_iterator begin() const { return const_iterator(m_utf8->cbegin(), m_utf8->cbegin(), m_utf8->cend()); }
    const_iterator end() const { return const_iterator(m_utf8->cend(), m_utf8->cbegin(), m_utf8->cend()); }
    ///@}

    /// UTF-16 units, one per wchar_t whatever the width of wchar_t, and
    /// UTF-32. The pointer shows the text as it was at the call and stays
    /// valid until the next call of the same operation on this object.
    /// asWideString is asUtf16. Text made invalid by insert(unsigned int,
    /// const char*) raises utf8::invalid_utf8 or utf8::not_enough_room.
    ///@{
    const wchar_t* asUtf16() const;
    const wchar_t* asWideString() const;
    const unsigned long* asUtf32() const;
    ///@}

    /// Puts the byte order mark (EF BB BF) in front; false when it is there
    /// already.
    bool addBOM();
    /// Takes the byte order mark away; false when there is none.
    bool purgeBOM();

    /// Exchanges the texts.
    void swap(Utf8String& other);

    /// Positions and counts on this text are code points; a position
    /// up to size() is accepted, and a count past the end stops at the end.
    /// A count that goes with a const char* must be met exactly. A failed edit
    /// leaves the text as it was. Iterators must belong to this text and come
    /// in order, or std::out_of_range is thrown.
    ///@{
    Utf8String& append(const Utf8String& str);
    Utf8String& append(const Utf8String& str, unsigned int pos, unsigned int n);
    Utf8String& append(const std::string& s);
    Utf8String& append(const char* s);
    Utf8String& append(const char* s, unsigned int n);
    Utf8String& append(unsigned int n, unsigned long codePoint);
    Utf8String& append(iterator first, iterator last);
    Utf8String& operator+=(const Utf8String& str);
    Utf8String& operator+=(const char* s);
    Utf8String& operator+=(unsigned long codePoint);
    ///@}
    /// Appends one code point. Inline, so that a loop that builds a text pays
    /// no call per code point. A code point beyond U+10FFFF, or a text near
    /// its largest size, takes the checked way of append(1, codePoint);
    /// utfcpp refuses a surrogate.
    void push_back(unsigned long codePoint)
    {
        if (codePoint <= 0x10FFFF && m_utf8->size() <= 0xFFFFFFFAu)
            utf8::append(static_cast<utf8::uint32_t>(codePoint), std::back_inserter(*m_utf8));
        else
            append(1, codePoint);
    }

    /// Editing, by the rules given at append: positions and counts are code
    /// points, and a failed edit leaves the text as it was.
    ///@{
    Utf8String& assign(const Utf8String& str);
    Utf8String& assign(const Utf8String& str, unsigned int pos, unsigned int n);
    Utf8String& assign(const std::string& s);
    Utf8String& assign(const char* s);
    Utf8String& assign(const char* s, unsigned int n);
    Utf8String& assign(unsigned int n, unsigned long codePoint);
    Utf8String& assign(iterator first, iterator last);

    Utf8String& insert(unsigned int pos, const Utf8String& str);
    Utf8String& insert(unsigned int pos, const Utf8String& str, unsigned int pos2, unsigned int n);
    Utf8String& insert(unsigned int pos, const char* s, unsigned int n);
    ///@}
    /// The bytes of s up to its NUL go in as they stand, unchecked: the one
    /// way invalid UTF-8 can enter a text.
    Utf8String& insert(unsigned int pos, const char* s);
    /// Editing, by the rules given at append: positions and counts are code
    /// points, and a failed edit leaves the text as it was.
    ///@{
    Utf8String& insert(unsigned int pos, unsigned int n, unsigned long codePoint);
    iterator insert(iterator where, unsigned long codePoint);
    void insert(iterator where, unsigned int n, unsigned long codePoint);
    void insert(iterator where, iterator first, iterator last);

    Utf8String& erase(unsigned int pos = 0, unsigned int n = npos);
    iterator erase(iterator where);
    iterator erase(iterator first, iterator last);

    Utf8String& replace(unsigned int pos, unsigned int n, const Utf8String& str);
    Utf8String& replace(unsigned int pos, unsigned int n, const Utf8String& str, unsigned int pos2,
                        unsigned int count2);
    Utf8String& replace(unsigned int pos, unsigned int n, const char* s, unsigned int count2);
    Utf8String& replace(unsigned int pos, unsigned int n, const char* s);
    Utf8String& replace(unsigned int pos, unsigned int n, unsigned int count, unsigned long codePoint);
    Utf8String& replace(iterator first, iterator last, const Utf8String& str);
    Utf8String& replace(iterator first, iterator last, const char* s, unsigned int n);
    Utf8String& replace(iterator first, iterator last, const char* s);
    Utf8String& replace(iterator first, iterator last, unsigned int count, unsigned long codePoint);
    ///@}

    /// Comparison by code point value, giving exactly -1, 0 or 1. A start
    /// position past the end raises StringEncodingException "Index is out of
    /// range for Corvo::Utf8String"; an explicit count is not cut to the text.
    ///@{
    int compare(const Utf8String& str) const;
    int compare(unsigned int pos1, unsigned int count1, const Utf8String& str) const;
    int compare(unsigned int pos1, unsigned int count1, const Utf8String& str, unsigned int pos2,
                unsigned int count2) const;
    int compare(const char* s) const;
    int compare(unsigned int pos1, unsigned int count1, const char* s) const;
    int compare(unsigned int pos1, unsigned int count1, const char* s, unsigned int count2) const;
    ///@}

    /// The n code points from pos.
    Utf8String substr(unsigned int pos = 0, unsigned int n = npos);

    /// find and rfind match bytes and answer code-point positions; the set
    /// searches go code point by code point. npos means not found. A counted
    /// const char* whose code points are not all there finds nothing. The
    /// backward searches throw std::out_of_range for a start past the end
    /// (other than npos).
    ///@{
    unsigned int find(const Utf8String& str, unsigned int pos = 0) const;
    unsigned int find(const char* s, unsigned int pos, unsigned int n) const;
    unsigned int find(const char* s, unsigned int pos = 0) const;
    unsigned int find(unsigned long codePoint, unsigned int pos = 0) const;
    unsigned int rfind(const Utf8String& str, unsigned int pos = npos) const;
    unsigned int rfind(const char* s, unsigned int pos, unsigned int n) const;
    unsigned int rfind(const char* s, unsigned int pos = npos) const;
    unsigned int rfind(unsigned long codePoint, unsigned int pos = npos) const;

    unsigned int find_first_of(const Utf8String& str, unsigned int pos = 0) const;
    unsigned int find_first_of(const char* s, unsigned int pos, unsigned int n) const;
    unsigned int find_first_of(const char* s, unsigned int pos = 0) const;
    unsigned int find_first_of(unsigned long codePoint, unsigned int pos = 0) const;
    unsigned int find_last_of(const Utf8String& str, unsigned int pos = npos) const;
    unsigned int find_last_of(const char* s, unsigned int pos, unsigned int n) const;
    unsigned int find_last_of(const char* s, unsigned int pos = npos) const;
    unsigned int find_last_of(unsigned long codePoint, unsigned int pos = npos) const;
    unsigned int find_first_not_of(const Utf8String& str, unsigned int pos = 0) const;
    unsigned int find_first_not_of(const char* s, unsigned int pos, unsigned int n) const;
    unsigned int find_first_not_of(const char* s, unsigned int pos = 0) const;
    unsigned int find_first_not_of(unsigned long codePoint, unsigned int pos = 0) const;
    unsigned int find_last_not_of(const Utf8String& str, unsigned int pos = npos) const;
    unsigned int find_last_not_of(const char* s, unsigned int pos, unsigned int n) const;
    ///@}
    /// Answers npos, rather than raising, when a StringEncodingException
    /// arises on the way.
    unsigned int find_last_not_of(const char* s, unsigned int pos = npos) const;
    /// The last position at or before pos whose code point is not codePoint.
    unsigned int find_last_not_of(unsigned long codePoint, unsigned int pos = npos) const;

private:
    std::string* m_utf8;
    std::wstring* m_utf16;
    std::basic_string<unsigned long>* m_utf32;
};

/// Reads one word, as for std::string; invalid bytes become U+FFFD.
CORVO_API std::istream& operator>>(std::istream& is, Utf8String& str);
/// Reads up to the delimiter, as for std::string; invalid bytes become U+FFFD.
CORVO_API std::istream& getline(std::istream& is, Utf8String& str, char delimiter = '\n');
/// Writes the bytes.
CORVO_API std::ostream& operator<<(std::ostream& os, const Utf8String& str);
/// Exchanges the texts.
CORVO_API void swap(Utf8String& a, Utf8String& b);

/// Concatenation, with append's failures.
///@{
CORVO_API Utf8String operator+(const Utf8String& a, const Utf8String& b);
CORVO_API Utf8String operator+(const Utf8String& a, const char* s);
CORVO_API Utf8String operator+(const char* s, const Utf8String& b);
CORVO_API Utf8String operator+(const Utf8String& a, unsigned long codePoint);
CORVO_API Utf8String operator+(unsigned long codePoint, const Utf8String& b);
///@}

/// Comparison by code point value, as compare.
///@{
CORVO_API bool operator==(const Utf8String& a, const Utf8String& b);
CORVO_API bool operator!=(const Utf8String& a, const Utf8String& b);
CORVO_API bool operator<(const Utf8String& a, const Utf8String& b);
CORVO_API bool operator<=(const Utf8String& a, const Utf8String& b);
CORVO_API bool operator>(const Utf8String& a, const Utf8String& b);
CORVO_API bool operator>=(const Utf8String& a, const Utf8String& b);
CORVO_API bool operator==(const Utf8String& a, const char* s);
CORVO_API bool operator!=(const Utf8String& a, const char* s);
CORVO_API bool operator<(const Utf8String& a, const char* s);
CORVO_API bool operator<=(const Utf8String& a, const char* s);
CORVO_API bool operator>(const Utf8String& a, const char* s);
CORVO_API bool operator>=(const Utf8String& a, const char* s);
CORVO_API bool operator==(const char* s, const Utf8String& b);
CORVO_API bool operator!=(const char* s, const Utf8String& b);
CORVO_API bool operator<(const char* s, const Utf8String& b);
CORVO_API bool operator<=(const char* s, const Utf8String& b);
CORVO_API bool operator>(const char* s, const Utf8String& b);
CORVO_API bool operator>=(const char* s, const Utf8String& b);
///@}

} // namespace Corvo
} // namespace Vesk

#endif
