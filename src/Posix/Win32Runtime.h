// Pieces of Microsoft's C runtime with their Windows contracts, for the
// POSIX layer.
#ifndef CORVO_POSIX_WIN32_RUNTIME_H
#define CORVO_POSIX_WIN32_RUNTIME_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <ctime>


typedef std::int64_t __time64_t;

__time64_t _time64(__time64_t* destination);
// Local time; the result lives in storage of the calling thread.
struct tm* _localtime64(const __time64_t* time);

// Writes at most count characters. When the text is longer, the buffer
// holds its first count characters with no terminator, and the result is
// negative.
int _vsnprintf(char* buffer, std::size_t count, const char* format, va_list args);

typedef void* _locale_t;
// Writes at most count wide characters, the terminator included; a longer
// text is cut and still terminated, and the result is negative. The format
// reads as on Windows: "%s" and "%c" take wide arguments, "%hs", "%S", "%hc"
// and "%C" narrow ones. The locale is not used.
int _vswprintf_c_l(wchar_t* buffer, std::size_t count, const wchar_t* format, _locale_t locale,
                   va_list args);

#endif
