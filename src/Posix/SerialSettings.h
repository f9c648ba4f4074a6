// The termios settings that SetCommState makes of a device control block;
// apart so that the mapping can be checked where no tty keeps it all (a
// pseudo-terminal always has 8 bits and no parity).
#ifndef CORVO_POSIX_SERIAL_SETTINGS_H
#define CORVO_POSIX_SERIAL_SETTINGS_H

#include "Win32FileIo.h"

#include <termios.h>

namespace Vesk {
namespace Corvo {
namespace Posix {

// Changes settings to a raw line as the block says; false for a block
// that SetCommState refuses.
bool termiosFor(const DCB& dcb, termios& settings);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
