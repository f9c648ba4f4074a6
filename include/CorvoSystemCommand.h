/// \file
/// Win32SystemCommand: one command line for the platform's command processor,
/// run to its end by the constructor.
#ifndef CORVO_SYSTEM_COMMAND_H
#define CORVO_SYSTEM_COMMAND_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// The command's exit status is not looked at: a command that fails or is
/// not found constructs normally. Only a missing command processor throws.
/// Copying copies nothing and runs nothing. Nothing is logged. The command
/// processor is cmd.exe on Windows and /bin/sh -c on Linux.
class CORVO_API Win32SystemCommand
{
public:
    /// Runs command and waits for its end. Throws Exception "Error: The
    /// command processor is not available on this system.".
    explicit Win32SystemCommand(const std::string& command);
    /// Nothing to release: the command has ended.
    virtual ~Win32SystemCommand();
};

} // namespace Corvo
} // namespace Vesk

#endif
