// The Win32 calls that Corvo's platform classes use, implemented on POSIX:
// one header per family of calls, named after it. Only generic POSIX (and
// Linux where said) code lives in this directory. Declarations follow the
// Win32 names and signatures.
#ifndef CORVO_POSIX_WIN32_API_H
#define CORVO_POSIX_WIN32_API_H

#include "Win32Base.h"
#include "Win32CodePage.h"
#include "Win32File.h"
#include "Win32FileIo.h"
#include "Win32Handle.h"
#include "Win32Runtime.h"
#include "Win32Sync.h"
#include "Win32Thread.h"
#include "Win32Library.h"
#include "Win32Heap.h"
#include "Win32Drive.h"
#include "Win32Window.h"
#include "Win32Gl.h"
#include "Win32Socket.h"

#endif
