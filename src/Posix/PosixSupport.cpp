// Helpers shared by the files of the POSIX layer.
#include "PosixSupport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Vesk {
namespace Corvo {
namespace Posix {

void requireSuccess(int result, const char* call)
{
    if (result == 0)
        return;
    std::fprintf(stderr, "corvo: %s failed: %s\n", call, std::strerror(result));
    std::abort();
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
