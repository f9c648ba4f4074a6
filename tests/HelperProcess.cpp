// The main of the kernel-object tests, and the roles of their helper process.
#include "HelperProcess.h"

#include "CorvoPlatform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>

#include <unistd.h>
#if !defined(_WIN32)
#  include <fcntl.h>
#  include <signal.h>
#  include <spawn.h>
#  include <sys/mman.h>
#  include <sys/wait.h>

#  include <filesystem>
#  include <fstream>

extern char** environ;
#endif

namespace {

int helperRole(const std::string& role, const std::string& name)
{
    if (role == "wait-semaphore") {
        // Says that it is about to wait, then waits: 1 if it got a count.
        HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 1, corvo_test::wide(name).c_str());
        ReleaseSemaphore(CreateSemaphoreW(nullptr, 0, 1, corvo_test::wide(name + "-ready").c_str()), 1, nullptr);
        return WaitForSingleObject(semaphore, 20000) == WAIT_OBJECT_0 ? 1 : 0;
    }
    if (role.compare(0, 6, "storm:") == 0)
        return corvo_test::stormHelper(std::atoi(role.c_str() + 6), name);
    return 100;
}

} // namespace

namespace corvo_test {

#if defined(_WIN32)

Helper::Helper(const std::string& role, const std::string& name)
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    std::string command = '"' + std::string(program) + "\" --helper " + role + " " + name;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    m_ended = !CreateProcessA(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    CloseHandle(process.hThread);
    m_process = reinterpret_cast<std::intptr_t>(process.hProcess);
}

Helper::~Helper()
{
    if (!m_ended)
        TerminateProcess(reinterpret_cast<HANDLE>(m_process), 137);
    wait();
    CloseHandle(reinterpret_cast<HANDLE>(m_process));
}

int Helper::wait()
{
    if (m_ended)
        return m_code;
    WaitForSingleObject(reinterpret_cast<HANDLE>(m_process), INFINITE);
    m_ended = true;
    DWORD code = 0;
    GetExitCodeProcess(reinterpret_cast<HANDLE>(m_process), &code);
    return m_code = static_cast<int>(code);
}

bool asleep(std::intptr_t) { return true; }

SharedMemory::SharedMemory(const std::string& name, std::size_t size, bool create)
    : m_name("Local\\" + name), m_size(size), m_created(create)
{
    HANDLE mapping = create ? CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                 static_cast<DWORD>(size), m_name.c_str())
                            : OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, m_name.c_str());
    m_mapping = reinterpret_cast<std::intptr_t>(mapping);
    m_data = mapping ? MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, size) : nullptr;
}

SharedMemory::~SharedMemory()
{
    UnmapViewOfFile(m_data);
    CloseHandle(reinterpret_cast<HANDLE>(m_mapping));
}

#else

Helper::Helper(const std::string& role, const std::string& name)
{
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").native();
    const char* arguments[] = {program.c_str(), "--helper", role.c_str(), name.c_str(), nullptr};
    pid_t pid = 0;
    m_ended = posix_spawn(&pid, program.c_str(), nullptr, nullptr, const_cast<char* const*>(arguments), environ) != 0;
    m_process = pid;
}

Helper::~Helper()
{
    if (!m_ended)
        kill(static_cast<pid_t>(m_process), SIGKILL);
    wait();
}

int Helper::wait()
{
    if (m_ended)
        return m_code;
    int status = 0;
    while (waitpid(static_cast<pid_t>(m_process), &status, 0) < 0 && errno == EINTR)
        ;
    m_ended = true;
    return m_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool asleep(std::intptr_t id)
{
    // The state follows the name, which may itself hold a ')'.
    std::ifstream stat("/proc/" + std::to_string(id) + "/stat");
    const std::string line((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    const std::size_t end = line.rfind(')');
    return end != std::string::npos && end + 2 < line.size() && line[end + 2] == 'S';
}

SharedMemory::SharedMemory(const std::string& name, std::size_t size, bool create)
    : m_name("/" + name), m_size(size), m_created(create)
{
    const int descriptor = shm_open(m_name.c_str(), O_RDWR | (create ? O_CREAT | O_EXCL : 0), 0600);
    if (descriptor >= 0 && (!create || ftruncate(descriptor, static_cast<off_t>(size)) == 0)) {
        void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        m_data = memory == MAP_FAILED ? nullptr : memory;
    }
    close(descriptor);
}

SharedMemory::~SharedMemory()
{
    if (m_data)
        munmap(m_data, m_size);
    if (m_created)
        shm_unlink(m_name.c_str());
}

#endif

bool eventually(const std::function<bool()>& condition)
{
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition())
        if (std::chrono::steady_clock::now() > giveUp)
            return false;
        else
            Sleep(1);
    return true;
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
