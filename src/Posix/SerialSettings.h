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

// Whether a read that gave no byte means that the line has gone: the tty
// was hung up (its settings can no longer be read), or it is set to wait
// for at least one byte. False for anything that is no tty.
bool lineGone(int descriptor);

} // namespace Posix
} // namespace Corvo
} // namespace Vesk

#endif
