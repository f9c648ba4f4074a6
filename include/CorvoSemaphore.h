// A counting semaphore of the platform, shared by every process that uses
// its name.
#ifndef CORVO_SEMAPHORE_H
#define CORVO_SEMAPHORE_H

#include "CorvoExport.h"

#include <string>

namespace Vesk {
namespace Corvo {

class CORVO_API Win32Semaphore
{
public:
    // Counts must lie in 0 <= initialCount and 1 <= maximumCount, within 32 bits.
    Win32Semaphore(long initialCount, long maximumCount);
    // With openExisting, attaches to the semaphore of this name (the counts
    // are checked, not used), with the right to release it but not to wait
    // on it; else creates it, or attaches to the one of this name.
    Win32Semaphore(const std::string& name, long initialCount, long maximumCount,
                   bool openExisting);
    // Raises the count by 1, whether or not this object acquired it, then
    // closes the handle.
    virtual ~Win32Semaphore();

    // Copies are not offered: two objects would close one handle twice.
    Win32Semaphore(const Win32Semaphore&) = delete;
    Win32Semaphore& operator=(const Win32Semaphore&) = delete;

    void acquire();
    // Waits at most 1 millisecond.
    bool try_acquire();
    // A count of 0, or a rise past the maximum, is refused by the platform
    // without a report.
    void release(long count);
    void release();

private:
    void* m_handle;
};

} // namespace Corvo
} // namespace Vesk

#endif
