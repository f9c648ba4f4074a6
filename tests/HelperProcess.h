// The kernel-object tests re-run their own program as a helper process when
// a case needs a second process: "--helper ROLE NAME" selects what it does.
#ifndef CORVO_TEST_HELPER_PROCESS_H
#define CORVO_TEST_HELPER_PROCESS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace corvo_test {

// This program, running as a helper in the given role on the object name.
// It is killed if it still runs when the object goes (SIGKILL on Linux,
// TerminateProcess on Windows).
class Helper
{
public:
    Helper(const std::string& role, const std::string& name);
    ~Helper();
    Helper(const Helper&) = delete;
    Helper& operator=(const Helper&) = delete;

    // Waits for its end and gives its exit code (-1 if it could not be run).
    int wait();
    // The process id on Linux, for asleep().
    std::intptr_t id() const { return m_process; }

private:
    std::intptr_t m_process = 0;
    bool m_ended = false;
    int m_code = -1;
};

// Whether the process or thread of this id sleeps in the kernel now; always
// true where that can't be told (Windows).
bool asleep(std::intptr_t id);

// Whether the condition comes true within a bound far beyond any normal
// wait; a false is a hang.
bool eventually(const std::function<bool()>& condition);

// A name that no other test process uses at the same time.
std::string uniqueName(const std::string& what);

inline std::wstring wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// Memory that the processes mapping one name share, zeroed when created;
// null data on failure. The creator's object takes the name with it.
class SharedMemory
{
public:
    SharedMemory(const std::string& name, std::size_t size, bool create);
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    void* data() const { return m_data; }

private:
    std::string m_name;
    std::size_t m_size;
    bool m_created;
    std::intptr_t m_mapping = 0;
    void* m_data = nullptr;
};

// The role of the helper of the given number in the kill storm
// (PlatformSyncTest.cpp).
int stormHelper(int number, const std::string& name);

} // namespace corvo_test

// ThreadSanitizer holds a signal back until the thread it is for reaches
// one of its checkpoints, which a suspended thread would have to reach
// first: suspension can't be tested under it.
#if defined(__SANITIZE_THREAD__)
#  define CORVO_SKIP_SUSPENSION_UNDER_TSAN() GTEST_SKIP() << "ThreadSanitizer defers the suspend signal"
#else
#  define CORVO_SKIP_SUSPENSION_UNDER_TSAN() (void)0
#endif

#endif
