// mutex-count: two processes add to one count, kept in a file, under one
// named mutex. The program starts itself a second time as the other
// process, which dies half-way through its share while it owns the mutex.
// The mutex then goes to the next waiter as abandoned: acquire throws
// "Cannot acquire Mutex!", and that waiter owns the mutex all the same. It
// must look at what the dead owner may have left half done, and release.
//   mutex-count
#include <Corvo.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

using namespace Vesk::Corvo;

namespace {

const int firstShare = 5;
const int otherShare = 3; // then it dies

std::string countFile(const std::string& mutexName)
{
    return (std::filesystem::temp_directory_path() / (mutexName + ".txt")).string();
}

unsigned readCount(const std::string& file)
{
    unsigned count = 0;
    std::ifstream(file) >> count;
    return count;
}

// Adds one to the count, as one process among several: the read and the
// write must not interleave with another process's.
void addOne(Win32Mutex& mutex, const std::string& file, const char* who)
{
    try {
        mutex.acquire();
    } catch (const Exception&) {
        // acquire throws for an abandoned mutex (and for a wait that fails,
        // which a valid mutex never does). The mutex is ours now: a real
        // program would check the shared data here before it goes on.
        std::printf("%s: the mutex was abandoned by its owner; the count reads %u\n", who,
                    readCount(file));
    }
    const unsigned count = readCount(file) + 1;
    std::ofstream(file) << count;
    std::printf("%s: %u\n", who, count);
    std::fflush(stdout);
    mutex.release();
}

// The other process: it attaches to the mutex by name, counts its share,
// then ends while it owns the mutex, as a crash would.
int otherProcess(const std::string& mutexName)
{
    Win32Mutex mutex(mutexName, true);
    for (int i = 0; i < otherShare; ++i)
        addOne(mutex, countFile(mutexName), "other");
    mutex.acquire();
    std::_Exit(3);
}

// Win32SystemCommand waits for the command's end, so the other process runs
// from a thread of its own while this one counts.
class OtherProcess : public Win32Thread
{
public:
    explicit OtherProcess(const std::string& command) : Win32Thread(&OtherProcess::run), m_command(command) {}

private:
    static void* run(void* thread)
    {
        Win32SystemCommand(static_cast<OtherProcess*>(static_cast<Win32Thread*>(thread))->m_command);
        return nullptr;
    }

    std::string m_command;
};

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc == 3 && std::strcmp(argv[1], "--other") == 0)
            return otherProcess(argv[2]);

        // A thread number is unique on the machine while the thread lives:
        // a mutex name of this run's own.
        const std::string mutexName = "corvo-mutex-count-" + numberToString(Win32Thread::self());
        const std::string file = countFile(mutexName);
        std::ofstream(file) << 0;

        Win32Mutex mutex(mutexName); // created here; the other process attaches by name
        // The command processor runs the line: the program's name is quoted
        // (it may hold spaces), the name of the mutex has none.
        OtherProcess other('"' + std::string(argv[0]) + "\" --other " + mutexName);
        other.start();
        for (int i = 0; i < firstShare; ++i)
            addOne(mutex, file, "first");
        other.join(0xFFFFFFFFul);

        // The other process has ended owning the mutex: unless one of the
        // counts above met the abandonment already, this one does.
        addOne(mutex, file, "first");
        const unsigned count = readCount(file);
        std::remove(file.c_str());
        std::printf("count %u: %d from this process, %d from the other\n", count, firstShare + 1,
                    otherShare);
        return count == firstShare + 1 + otherShare ? 0 : 1;
    } catch (const Exception& e) {
        std::fprintf(stderr, "%s\n", e.getDescription().c_str());
        return 1;
    }
}
