// Win32SystemCommand: the command runs through the C runtime's system(),
// which waits for it; its exit status is not looked at.
#include "CorvoSystemCommand.h"
#include "CorvoException.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"

#include <cstdlib>

namespace Vesk {
namespace Corvo {

Win32SystemCommand::Win32SystemCommand(const std::string& command)
{
    if (std::system(nullptr) == 0)
        CORVO_RAISE(Exception, "Error: The command processor is not available on this system.");
    // The result is the command's status, not a failure of this class.
    static_cast<void>(std::system(command.c_str()));
}

Win32SystemCommand::~Win32SystemCommand() {}

} // namespace Corvo
} // namespace Vesk
