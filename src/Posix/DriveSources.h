// Where the POSIX layer's drive calls read the drives from; for tests.
#ifndef CORVO_POSIX_DRIVE_SOURCES_H
#define CORVO_POSIX_DRIVE_SOURCES_H

#include <string>

namespace Vesk {
namespace Corvo {
namespace Posix {

// Points the drive calls at another mount table (in the layout of
// /proc/self/mounts) and another directory of block devices (laid out as
// /sys/class/block, with a "removable" file per device). Empty texts give
// back the system's own.
void setDriveSources(const std::string& mountTable, const std::string& deviceDirectory);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
