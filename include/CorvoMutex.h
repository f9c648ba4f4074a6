/// \file
/// A mutex of the platform: recursive for its owning thread, and shared by
/// every process that uses its name.
#ifndef CORVO_MUTEX_H
#define CORVO_MUTEX_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// A kernel mutex; failures throw Exception, nothing is logged.
///
/// A thread or process that ends while it owns the mutex abandons it: the
/// next thread to wait gets it, owned, and acquire throws "Cannot acquire
/// Mutex!" (try_acquire answers false). That thread owns the mutex all the
/// same and must release it. On Linux a named mutex lives in /dev/shm
/// (`corvo.NAME`) until the last handle to it in any process goes, also
/// when those processes were killed. A process killed while it releases can
/// delay the waiters of the name there by up to 100 ms; nothing hangs.
class CORVO_API Win32Mutex
{
public:
    /// An unnamed mutex, not owned. Throws Exception "Cannot create Mutex!".
    Win32Mutex();
    /// Creates the mutex of this name, or attaches to the one that exists; the
    /// empty name gives an unnamed mutex. Throws Exception "Cannot open or
    /// create the Mutex!".
    explicit Win32Mutex(const std::string& name);
    /// With openExisting, attaches to the mutex of this name or throws
    /// Exception: "Cannot open a nameless existing mutex!" for the empty
    /// name, "Cannot open Mutex!" when there is none. Else as above, with
    /// "Cannot create Mutex!".
    Win32Mutex(const std::string& name, bool openExisting);
    /// Releases once (which frees a level of ownership if this thread owns
    /// it), then closes the handle.
    virtual ~Win32Mutex();

    /// Copies are not offered: two objects would close one handle twice.
    ///@{
    Win32Mutex(const Win32Mutex&) = delete;
    Win32Mutex& operator=(const Win32Mutex&) = delete;
    ///@}

    /// Waits without limit; a mutex abandoned by an owner that ended without
    /// releasing it is not acquired cleanly, and throws Exception "Cannot
    /// acquire Mutex!". The caller owns the mutex all the same, as on
    /// Windows: it checks or repairs what the mutex guards, and releases it.
    void acquire();
    /// Waits at most 1 millisecond. False also for an abandoned mutex, which
    /// the caller then owns and releases, as after acquire.
    bool try_acquire();
    /// Gives up one level of ownership; a thread that does not own the mutex
    /// is refused without a report.
    void release();

private:
    void* m_handle;
};

} // namespace Corvo
} // namespace Vesk

#endif
