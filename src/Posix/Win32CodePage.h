// Code-page conversion, for the POSIX layer.
#ifndef CORVO_POSIX_WIN32_CODE_PAGE_H
#define CORVO_POSIX_WIN32_CODE_PAGE_H

#include "Win32Base.h"


// CP_ACP, the "ANSI" code page, is the character set of the C locale current
// at the call (nl_langinfo(CODESET)); where that is plain ASCII, as in the
// "C" locale, it is Windows-1252, as on a Western Windows system.
#define CP_ACP 0
#define CP_UTF8 65001

// Both calls convert length units of the source; a length of -1 is not
// supported. With an output size of 0 they return the size the conversion
// needs, in units; else the number of units written, or 0 if the output is
// too small. A sequence that cannot be converted becomes U+FFFD (or "?" in a
// character set without it). They fail with 0 on another code page, on flags
// other than 0, a negative or zero length, or a default character or
// used-default flag given.
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH multiByte, int multiByteLength,
                        LPWSTR wide, int wideLength);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideLength,
                        LPSTR multiByte, int multiByteLength, LPCCH defaultChar,
                        LPBOOL usedDefaultChar);

#endif
