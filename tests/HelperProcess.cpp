// The main of the kernel-object tests, and the roles of their helper process.
#include "HelperProcess.h"

#include "CorvoMutex.h"
#include "CorvoSemaphore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include <unistd.h>
#if defined(_WIN32)
#  include <windows.h>
#else
#  include <sys/wait.h>

#  include <filesystem>
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

int runHelper(const std::string& role, const std::string& name)
{
    const std::string arguments = " --helper " + role + " " + name;
#if defined(_WIN32)
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    return std::system(('"' + std::string(program) + '"' + arguments).c_str());
#else
    const int status = std::system(("'" + std::filesystem::read_symlink("/proc/self/exe").native() + "'" + arguments).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

std::string uniqueName(const std::string& what)
{
    return "corvo-test-" + std::to_string(getpid()) + "-" + what;
}

} // namespace corvo_test

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--helper") == 0)
        return helperRole(argv[2], argv[3]);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
