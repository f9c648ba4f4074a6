// The main of the kernel-object tests, and the roles of their helper process.
#include "HelperProcess.h"

#include "CorvoMutex.h"
#include "CorvoSemaphore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
#  include <windows.h>
#else
#  include <spawn.h>
#  include <sys/wait.h>
#  include <unistd.h>
extern char** environ;
#endif

using namespace Vesk::Corvo;

namespace {

// Each role ends its process at once, holding whatever it holds.
int helperRole(const std::string& role, const std::string& name)
{
    if (role == "hold-mutex") {
        Win32Mutex mutex(name, true);
        mutex.acquire();
        std::_Exit(0); // owning it
    }
    if (role == "try-mutex")
        return Win32Mutex(name, true).try_acquire() ? 1 : 0;
    if (role == "release-semaphore") {
        Win32Semaphore(name, 0, 1, true).release(); // and once more as it goes
        return 0;
    }
    return 100;
}

} // namespace

namespace corvo_test {

#if defined(_WIN32)
int runHelper(const std::string& role, const std::string& name)
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    std::string command = std::string("\"") + program + "\" --helper " + role + " " + name;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
        return -1;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(code);
}

static unsigned long processId() { return GetCurrentProcessId(); }
#else
int runHelper(const std::string& role, const std::string& name)
{
    const char* program = "/proc/self/exe";
    const char* arguments[] = {program, "--helper", role.c_str(), name.c_str(), nullptr};
    pid_t child;
    if (posix_spawn(&child, program, nullptr, nullptr, const_cast<char**>(arguments), environ) != 0)
        return -1;
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static unsigned long processId() { return static_cast<unsigned long>(getpid()); }
#endif

std::string uniqueName(const std::string& what)
{
    return "corvo-test-" + std::to_string(processId()) + "-" + what;
}

} // namespace corvo_test

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--helper") == 0)
        return helperRole(argv[2], argv[3]);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
