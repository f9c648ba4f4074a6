// Win32SystemCommand: one command line for the platform's command processor,
// run to its end by the constructor.
#ifndef CORVO_SYSTEM_COMMAND_H
#define CORVO_SYSTEM_COMMAND_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

// The command's exit status is not looked at: a command that fails or is
// not found constructs normally. Only a missing command processor throws.
// Copying copies nothing and runs nothing.
class CORVO_API Win32SystemCommand
{
public:
    explicit Win32SystemCommand(const std::string& command);
    virtual ~Win32SystemCommand();
};

} // namespace Corvo
} // namespace Vesk

#endif
