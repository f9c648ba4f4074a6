// The one door to the operating system for the platform classes in Win32/.
// On Windows it is the real API. On Linux it is Corvo's own implementation
// of the Win32 calls that those classes make, on POSIX (see Posix/): each
// call keeps the part of its contract that the classes rely on.
#ifndef CORVO_PLATFORM_H
#define CORVO_PLATFORM_H

#if defined(_WIN32)
#  ifndef WIN32_LEAN_AND_MEAN
#    define WIN32_LEAN_AND_MEAN
#  endif
#  ifndef NOMINMAX
#    define NOMINMAX
#  endif
#  include <winsock2.h>
#  include <windows.h>
#  include <io.h>
#  include <stdio.h>
#  include <time.h>
#  include <wchar.h>
#  define CORVO_PATH_SEPARATOR "\\"
#else
#  include "Posix/Win32Api.h"
#  define CORVO_PATH_SEPARATOR "/"
#endif

// CORVO_PATH_SEPARATOR joins a directory and a name: a backslash would be
// part of a file name on Linux.

#endif
