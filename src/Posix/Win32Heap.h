// Private heaps, for the POSIX layer.
#ifndef CORVO_POSIX_WIN32_HEAP_H
#define CORVO_POSIX_WIN32_HEAP_H

#include "Win32Base.h"

#include <cstddef>

typedef std::size_t SIZE_T;

#define HEAP_ZERO_MEMORY 0x00000008u

// A heap of its own address space, serialised whatever the options: its
// calls may come from several threads at once. With a maximum size of 0 it
// grows as long as the system gives memory; otherwise it never holds more
// than the maximum, rounded up to whole pages, and an allocation that does
// not fit fails with a null result, as does one of a single block above
// 0xFEFD8 bytes, as in Windows' 64-bit heaps. The initial size is not
// reserved ahead: pages are taken as they are touched.
HANDLE HeapCreate(DWORD options, SIZE_T initialSize, SIZE_T maximumSize);
// Unmaps the heap with all its blocks at once.
BOOL HeapDestroy(HANDLE heap);
// HEAP_ZERO_MEMORY is the only flag; blocks are 16-byte aligned.
LPVOID HeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes);
// Fails, with no harm done, for a pointer that is not a live block of this
// heap: a foreign pointer, an inner one, or one already freed.
BOOL HeapFree(HANDLE heap, DWORD flags, LPVOID block);

#endif
