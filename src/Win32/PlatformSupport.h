// Small helpers that the platform classes share.
#ifndef CORVO_WIN32_PLATFORM_SUPPORT_H
#define CORVO_WIN32_PLATFORM_SUPPORT_H

#include "CorvoPlatform.h"

#include <algorithm>
#include <cstddef>
#include <new>

namespace Vesk {
namespace Corvo {
namespace detail {

// The platform object that a public class keeps in raw storage (aligned 8),
// so that applications need no platform header to hold one.
template <typename Object, std::size_t Size>
Object* platformObject(unsigned char (&storage)[Size])
{
    static_assert(sizeof(Object) <= Size && alignof(Object) <= 8,
                  "the raw storage must hold the platform object");
    return std::launder(reinterpret_cast<Object*>(storage));
}

// A time-out for the platform's waits. Where unsigned long is wider than the
// platform's 32 bits, every larger value waits without limit rather than
// being cut to a short wait.
inline DWORD platformTimeout(unsigned long milliseconds)
{
    return static_cast<DWORD>(std::min<unsigned long long>(milliseconds, INFINITE));
}

} // namespace detail
} // namespace Corvo
} // namespace Vesk

#endif
