// Utf8String: text stored as UTF-8 bytes and counted in code points, with
// the surface of std::string. Also the functions that judge and repair UTF-8.
#ifndef CORVO_UTF8_STRING_H
#define CORVO_UTF8_STRING_H

#include "CorvoExport.h"

#include <iosfwd>
#include <iterator>
#include <string>

#include <utf8.h>

namespace Vesk {
namespace Corvo {

// Whether the bytes are valid UTF-8. A length of Utf8String::npos means up to
// the first NUL byte; a null pointer is never valid.
CORVO_API bool isValidUtf8(const char* str, unsigned int length);

// The bytes of str. Invalid sequences raise StringEncodingException when
// strict, and are replaced by U+FFFD otherwise.
CORVO_API std::string validateUtf8(const std::string& str, bool strict);

// Positions, counts and sizes are code points; npos means "to the end" as a
// count and "not found" as a result. The text is always valid UTF-8, except
// after insert(unsigned int, const char*), which takes bytes unexamined.
class CORVO_API Utf8String
{
public:
    typedef utf8::iterator<std::string::iterator> iterator;
    typedef utf8::iterator<std::string::const_iterator> const_iterator;

    static const unsigned int npos = 0xFFFFFFFF;

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

    unsigned int size() const;
    unsigned int length() const;
    unsigned int bytes() const;
    bool empty() const;
    unsigned int capacity() const;
    unsigned int max_size() const;
    void reserve(unsigned int n);
    void resize(unsigned int n, unsigned long codePoint);
    void clear();

    unsigned long at(unsigned int pos) const;
    unsigned long operator[](unsigned int pos) const;
    const char* c_str() const;
    const char* data() const;
    const char* asUtf8() const;
    unsigned int copy(char* dest, unsigned int n, unsigned int pos = 0) const;

    // Inline, so that a loop sees that both ends share one range.
    iterator begin() { return iterator(m_utf8->begin(), m_utf8->begin(), m_utf8->end()); }
    iterator end() { return iterator(m_utf8->end(), m_utf8->begin(), m_utf8->end()); }
    const_iterator begin() const { return const_iterator(m_utf8->cbegin(), m_utf8->cbegin(), m_utf8->cend()); }
    const_iterator end() const { return const_iterator(m_utf8->cend(), m_utf8->cbegin(), m_utf8->cend()); }

    // UTF-16 units, one per wchar_t whatever the width of wchar_t, and
    // UTF-32. The pointer shows the text as it was at the call and stays
    // valid until the next call of the same operation on this object.
    const wchar_t* asUtf16() const;
    const wchar_t* asWideString() const;
    const unsigned long* asUtf32() const;

    bool addBOM();
    bool purgeBOM();

    void swap(Utf8String& other);

    // Editing. Positions and counts on this text are code points; a position
    // up to size() is accepted, and a count past the end stops at the end.
    // A count that goes with a const char* must be met exactly. A failed edit
    // leaves the text as it was.
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
    // Inline, so that a loop that builds a text pays no call per code point.
    // A code point beyond U+10FFFF, or a text near its largest size, takes
    // the checked way of append(1, codePoint); utfcpp refuses a surrogate.
    void push_back(unsigned long codePoint)
    {
        if (codePoint <= 0x10FFFF && m_utf8->size() <= 0xFFFFFFFAu)
            utf8::append(static_cast<utf8::uint32_t>(codePoint), std::back_inserter(*m_utf8));
        else
            append(1, codePoint);
    }

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
    // The bytes of s up to its NUL go in as they stand, unchecked: the one
    // way invalid UTF-8 can enter a text.
    Utf8String& insert(unsigned int pos, const char* s);
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

    // Comparison by code point value, giving exactly -1, 0 or 1. A start
    // position past the end raises StringEncodingException; an explicit count
    // is not cut to the text.
    int compare(const Utf8String& str) const;
    int compare(unsigned int pos1, unsigned int count1, const Utf8String& str) const;
    int compare(unsigned int pos1, unsigned int count1, const Utf8String& str, unsigned int pos2,
                unsigned int count2) const;
    int compare(const char* s) const;
    int compare(unsigned int pos1, unsigned int count1, const char* s) const;
    int compare(unsigned int pos1, unsigned int count1, const char* s, unsigned int count2) const;

    Utf8String substr(unsigned int pos = 0, unsigned int n = npos);

    // find and rfind match bytes and answer code-point positions; the set
    // searches go code point by code point. npos means not found.
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
    // Answers npos, rather than raising, when a StringEncodingException
    // arises on the way.
    unsigned int find_last_not_of(const char* s, unsigned int pos = npos) const;
    unsigned int find_last_not_of(unsigned long codePoint, unsigned int pos = npos) const;

private:
    std::string* m_utf8;
    std::wstring* m_utf16;
    std::basic_string<unsigned long>* m_utf32;
};

CORVO_API std::istream& operator>>(std::istream& is, Utf8String& str);
CORVO_API std::istream& getline(std::istream& is, Utf8String& str, char delimiter = '\n');
CORVO_API std::ostream& operator<<(std::ostream& os, const Utf8String& str);
CORVO_API void swap(Utf8String& a, Utf8String& b);

CORVO_API Utf8String operator+(const Utf8String& a, const Utf8String& b);
CORVO_API Utf8String operator+(const Utf8String& a, const char* s);
CORVO_API Utf8String operator+(const char* s, const Utf8String& b);
CORVO_API Utf8String operator+(const Utf8String& a, unsigned long codePoint);
CORVO_API Utf8String operator+(unsigned long codePoint, const Utf8String& b);

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

} // namespace Corvo
} // namespace Vesk

#endif
