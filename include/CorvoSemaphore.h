/// \file
/// A counting semaphore of the platform, shared by every process that uses
/// its name.
#ifndef CORVO_SEMAPHORE_H
#define CORVO_SEMAPHORE_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

/// A kernel semaphore; failures throw Exception, nothing is logged. On
/// Linux a named semaphore lives in /dev/shm as a named mutex does, and
/// counts beyond 32 bits (long is 64 bits there) are refused as invalid. A
/// process killed at any point (waiting, releasing) leaves the count exact;
/// one killed while it releases can delay the waiters by up to 100 ms.
class CORVO_API Win32Semaphore
{
public:
    /// An unnamed semaphore. Counts must lie in 0 <= initialCount and
    /// 1 <= maximumCount, within 32 bits, or the constructor throws
    /// Exception "Invalid parameters!"; "Cannot create Semaphore!" when the
    /// platform refuses (an initial count above the maximum, say).
    Win32Semaphore(long initialCount, long maximumCount);
    /// With openExisting, attaches to the semaphore of this name (the counts
    /// are checked, not used), with the right to release it but not to wait
    /// on it; else creates it, or attaches to the one of this name (the empty
    /// name makes an unnamed one). Throws Exception "Invalid parameters!" for
    /// counts as above, "Invalid Semaphore name![]" to open the empty name,
    /// "Cannot open Semaphore!" when there is none, "Cannot create
    /// Semaphore!".
    Win32Semaphore(const std::string& name, long initialCount, long maximumCount,
                   bool openExisting);
    /// Raises the count by 1, whether or not this object acquired it, then
    /// closes the handle.
    virtual ~Win32Semaphore();

    /// Copies are not offered: two objects would close one handle twice.
    ///@{
    Win32Semaphore(const Win32Semaphore&) = delete;
    Win32Semaphore& operator=(const Win32Semaphore&) = delete;
    ///@}

    /// Waits without limit for a count and takes it. Throws Exception
    /// "Cannot acquire Semaphore!" when the wait fails, as on a semaphore
    /// opened with openExisting.
    void acquire();
    /// Waits at most 1 millisecond.
    bool try_acquire();
    /// Raises the count. A negative count throws Exception "Invalid
    /// parameters!"; a count of 0, or a rise past the maximum, is refused by
    /// the platform without a report.
    void release(long count);
    /// Raises the count by 1; a rise past the maximum is refused without a
    /// report.
    void release();

private:
    void* m_handle;
};

} // namespace Corvo
} // namespace Vesk

#endif
