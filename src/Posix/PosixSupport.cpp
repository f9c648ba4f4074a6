// Helpers shared by the files of the POSIX layer.
#include "PosixSupport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Vesk {
namespace Corvo {
namespace Posix {

void abortOnError(int error, const char* call)
{
    if (error == 0)
        return;
    std::fprintf(stderr, "corvo: %s failed: %s\n", call, std::strerror(error));
    std::abort();
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
