// worker-thread: a worker thread that sleeps on an event until it is handed
// jobs, and is paused and resumed from outside in the middle of one.
//   worker-thread
#include <Corvo.h>

#include <atomic>
#include <cstdio>
#include <deque>

using namespace Vesk::Corvo;

namespace {

// Jobs handed to the worker. A job counts up to its number, standing in
// for real work.
class Jobs
{
public:
    // Queues a job and wakes the worker. The event is auto-reset: one signal
    // wakes it once, and it then takes every job queued so far.
    void post(unsigned long long job)
    {
        {
            CriticalSectionGuard hold(m_lock);
            m_queue.push_back(job);
        }
        m_wake.signal();
    }

    // The worker finishes the jobs queued before this, then ends.
    void stop() { post(0); }

    // Ends the current job early.
    void cancel() { m_cancel = true; }

    // The job being done, and how far it has got.
    unsigned long long current() const { return m_current; }
    unsigned long long progress() const { return m_progress; }

    // The worker's side: sleeps on the event while there is nothing to do.
    void work()
    {
        for (;;) {
            m_wake.wait(0xFFFFFFFFul);
            for (;;) {
                unsigned long long job;
                {
                    CriticalSectionGuard hold(m_lock);
                    if (m_queue.empty())
                        break;
                    job = m_queue.front();
                    m_queue.pop_front();
                }
                if (job == 0)
                    return;
                m_cancel = false;
                m_progress = 0;
                m_current = job;
                for (; m_progress < job && !m_cancel; ++m_progress)
                    ;
                std::printf("worker: job of %llu steps %s at %llu\n", job,
                            m_cancel ? "cancelled" : "done", m_progress.load());
                std::fflush(stdout);
            }
        }
    }

private:
    Win32Event m_wake;
    CriticalSection_T<Win32CriticalSection> m_lock;
    std::deque<unsigned long long> m_queue;
    std::atomic<unsigned long long> m_current{0};
    std::atomic<unsigned long long> m_progress{0};
    std::atomic<bool> m_cancel{false};
};

// The thread that does the jobs. (The jobs are not a member: Win32Event's
// destructor may throw, which a class derived from Win32Thread, whose
// destructor may not, cannot hold.)
class Worker : public Win32Thread
{
public:
    explicit Worker(Jobs& jobs) : Win32Thread(&Worker::run), m_jobs(jobs) {}

private:
    // The thread's argument is the Win32Thread that started it.
    static void* run(void* thread)
    {
        static_cast<Worker*>(static_cast<Win32Thread*>(thread))->m_jobs.work();
        return nullptr;
    }

    Jobs& m_jobs;
};

} // namespace

int main()
{
    try {
        Jobs jobs;
        Worker worker(jobs);
        worker.start();
        jobs.post(1000);
        jobs.post(20000);

        // A long job, paused half-way. A thread is paused wherever it is,
        // holding whatever it holds: pause it only where it takes no lock
        // (not even malloc's or stdout's), as here inside the counting loop.
        const unsigned long long endless = ~0ull;
        jobs.post(endless);
        while (jobs.current() != endless || jobs.progress() == 0)
            Win32Thread::sleep(1);
        worker.pause();
        const unsigned long long paused = jobs.progress();
        Win32Thread::sleep(50);
        const bool still = jobs.progress() == paused;
        std::printf("main: paused at %llu steps, %s 50 ms later\n", paused,
                    still ? "still there" : "moved on");
        worker.resume();
        while (jobs.progress() == paused)
            Win32Thread::sleep(1);
        std::printf("main: resumed, counting again\n");
        std::fflush(stdout);
        jobs.cancel();

        jobs.post(300);
        jobs.stop();
        // The object must outlive its thread: join before it goes.
        worker.join(0xFFFFFFFFul);
        return still ? 0 : 1;
    } catch (const Exception& e) {
        std::fprintf(stderr, "%s\n", e.getDescription().c_str());
        return 1;
    }
}
