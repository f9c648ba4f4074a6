/// \file
/// CORVO_API marks what the Corvo shared library exports. Everything else in
/// the library is built with hidden visibility and stays internal.
#ifndef CORVO_EXPORT_H
#define CORVO_EXPORT_H

/// \def CORVO_API
/// Marks a name that the library exports (on Windows, imports in an
/// application).
#if defined(_WIN32)
#  if defined(CORVO_BUILDING)
#    define CORVO_API __declspec(dllexport)
#  else
#    define CORVO_API __declspec(dllimport)
#  endif
#else
#  define CORVO_API __attribute__((visibility("default")))
#endif

#endif
