// Win32SystemCommand with the platform's own command processor.
#include "CorvoSystemCommand.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Vesk::Corvo::Win32SystemCommand;

TEST(SystemCommand, RunsToTheEndAndFailingCommandsConstructNormally)
{
    corvo_test::TempDirectory directory("command");
    const std::string file = directory.file("made");
    Win32SystemCommand command("echo made> \"" + file + "\"");
    EXPECT_TRUE(std::filesystem::exists(file));
    for (const char* line : {"exit 3", "corvo-no-such-command", ""})
        EXPECT_NO_THROW(Win32SystemCommand{line}) << line;
}

} // namespace
