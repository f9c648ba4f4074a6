// Code-page conversion, for the POSIX layer.
#ifndef CORVO_POSIX_WIN32_CODE_PAGE_H
#define CORVO_POSIX_WIN32_CODE_PAGE_H

#include "Win32Base.h"


// CP_ACP, the "ANSI" code page, is the character set of the C locale current
// at the call (nl_langinfo(CODESET)); where that is plain ASCII, as in the
// "C" locale, it is Windows-1252, as on a Western Windows system.
#define CP_ACP 0
#define CP_UTF8 65001

// Both calls convert length units of the source; a negative length (-1)
// stands for a terminated source, whose terminator is converted and counted
// too. With an output size of 0 they return the size the conversion needs,
// in units; else the number of units written, or 0 with
// ERROR_INSUFFICIENT_BUFFER if the output is too small. A sequence that
// cannot be converted becomes U+FFFD (or "?" in a character set without it).
// They fail with 0 and ERROR_INVALID_FLAGS on flags other than 0, and with
// ERROR_INVALID_PARAMETER on another code page, a zero length, a null
// source, a negative output size, or a default character or used-default
// flag given.
#define ERROR_INSUFFICIENT_BUFFER 122u
#define ERROR_INVALID_FLAGS 1004u

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH multiByte, int multiByteLength,
                        LPWSTR wide, int wideLength);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideLength,
                        LPSTR multiByte, int multiByteLength, LPCCH defaultChar,
                        LPBOOL usedDefaultChar);

#endif
