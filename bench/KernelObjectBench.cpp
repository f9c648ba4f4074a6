// The lock, event and mutex classes beside the standard library's, the
// kernel's own primitives, or Boost.Interprocess for the same work.
#include "CorvoCriticalSection.h"
#include "CorvoEvent.h"
#include "CorvoMutex.h"
#include "CorvoReadWriteLock.h"
#include "RatioReporter.h"

#include <boost/interprocess/sync/named_mutex.hpp>

#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>

using namespace Vesk::Corvo;

namespace {

// glibc takes its fast path for locks only while a process has one thread.
void startASecondThread()
{
    static std::once_flag once;
    std::call_once(once, [] { std::thread([] {}).join(); });
}

struct CorvoSection
{
    CriticalSection_T<Win32CriticalSection> lock;
    void lockIt() { lock.acquire(); }
    void unlockIt() { lock.release(); }
};

struct StdRecursive
{
    std::recursive_mutex lock;
    void lockIt() { lock.lock(); }
    void unlockIt() { lock.unlock(); }
};

template <typename Lock>
void uncontended(benchmark::State& state)
{
    startASecondThread();
    static Lock lock;
    for (auto _ : state) {
        lock.lockIt();
        lock.unlockIt();
    }
}
BENCHMARK_TEMPLATE(uncontended, CorvoSection)->Name("CriticalSection_uncontended/Corvo");
BENCHMARK_TEMPLATE(uncontended, StdRecursive)->Name("CriticalSection_uncontended/std");

template <typename Lock>
void contended(benchmark::State& state)
{
    static Lock lock;
    static long long shared = 0;
    for (auto _ : state) {
        lock.lockIt();
        benchmark::DoNotOptimize(++shared);
        lock.unlockIt();
    }
}
BENCHMARK_TEMPLATE(contended, CorvoSection)->Name("CriticalSection_2threads/Corvo")->Threads(2);
BENCHMARK_TEMPLATE(contended, StdRecursive)->Name("CriticalSection_2threads/std")->Threads(2);

struct CorvoReadLock
{
    Win32ReadWriteLock lock;
    void lockIt() { lock.readLock(); }
    void unlockIt() { lock.readUnlock(); }
};

struct StdSharedLock
{
    std::shared_mutex lock;
    void lockIt() { lock.lock_shared(); }
    void unlockIt() { lock.unlock_shared(); }
};

BENCHMARK_TEMPLATE(uncontended, CorvoReadLock)->Name("ReadLock_uncontended/Corvo");
BENCHMARK_TEMPLATE(uncontended, StdSharedLock)->Name("ReadLock_uncontended/std");
BENCHMARK_TEMPLATE(contended, CorvoReadLock)->Name("ReadLock_2readers/Corvo")->Threads(2);
BENCHMARK_TEMPLATE(contended, StdSharedLock)->Name("ReadLock_2readers/std")->Threads(2);

// One round trip: this thread signals the other side and waits for its answer.
void eventPingPong(benchmark::State& state)
{
    Win32Event ping, pong;
    std::atomic<bool> stop{false};
    std::thread partner([&] {
        while (ping.wait(0xFFFFFFFFul) && !stop)
            pong.signal();
    });
    for (auto _ : state) {
        ping.signal();
        pong.wait(0xFFFFFFFFul);
    }
    stop = true;
    ping.signal();
    partner.join();
}

void eventfdPingPong(benchmark::State& state)
{
    const int ping = eventfd(0, 0), pong = eventfd(0, 0);
    std::thread partner([&] {
        std::uint64_t value;
        while (read(ping, &value, sizeof value) == sizeof value && value == 1) {
            value = 1;
            if (write(pong, &value, sizeof value) != sizeof value)
                break;
        }
    });
    std::uint64_t value = 1;
    for (auto _ : state) {
        value = 1;
        benchmark::DoNotOptimize(write(ping, &value, sizeof value));
        benchmark::DoNotOptimize(read(pong, &value, sizeof value));
    }
    value = 2; // stop
    benchmark::DoNotOptimize(write(ping, &value, sizeof value));
    partner.join();
    close(ping);
    close(pong);
}
BENCHMARK(eventPingPong)->Name("Event_round_trip/Corvo")->UseRealTime();
BENCHMARK(eventfdPingPong)->Name("Event_round_trip/eventfd")->UseRealTime();

void mutexUncontended(benchmark::State& state, bool named)
{
    Win32Mutex mutex(named ? "corvo-bench-" + std::to_string(getpid()) : std::string());
    for (auto _ : state) {
        mutex.acquire();
        mutex.release();
    }
}
BENCHMARK_CAPTURE(mutexUncontended, named, true)->Name("Mutex_named_vs_unnamed/Corvo");
BENCHMARK_CAPTURE(mutexUncontended, unnamed, false)->Name("Mutex_named_vs_unnamed/unnamed");
BENCHMARK_CAPTURE(mutexUncontended, named, true)->Name("NamedMutex_uncontended/Corvo");

void boostNamedMutex(benchmark::State& state)
{
    namespace ipc = boost::interprocess;
    const std::string name = "corvo-bench-boost-" + std::to_string(getpid());
    ipc::named_mutex mutex(ipc::open_or_create, name.c_str());
    for (auto _ : state) {
        mutex.lock();
        mutex.unlock();
    }
    ipc::named_mutex::remove(name.c_str());
}
BENCHMARK(boostNamedMutex)->Name("NamedMutex_uncontended/Boost.Interprocess");

// The lock that a named mutex is built on, alone: a robust, recursive
// pthread mutex in shared memory. What Corvo takes over it is the handle
// calls' own cost; Boost's mutex is not robust, and cheaper by that much.
void robustSharedMutex(benchmark::State& state)
{
    void* memory = mmap(nullptr, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* mutex = static_cast<pthread_mutex_t*>(memory);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutex_init(mutex, &attributes);
    for (auto _ : state) {
        pthread_mutex_lock(mutex);
        pthread_mutex_unlock(mutex);
    }
    pthread_mutex_destroy(mutex);
    munmap(memory, sizeof(pthread_mutex_t));
}
BENCHMARK_CAPTURE(mutexUncontended, named, true)->Name("NamedMutex_over_its_lock/Corvo");
BENCHMARK(robustSharedMutex)->Name("NamedMutex_over_its_lock/robust pthread mutex");

} // namespace

int main(int argc, char** argv) { return corvo_bench::runWithRatios(argc, argv); }
