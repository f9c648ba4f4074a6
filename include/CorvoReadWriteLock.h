/// \file
/// Many readers or one writer, among the threads of one process. A writer
/// that has arrived stops readers that come after it.
#ifndef CORVO_READ_WRITE_LOCK_H
#define CORVO_READ_WRITE_LOCK_H

#include "CorvoBasicTypes.h"
#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

/// A read-write lock on two critical sections and an event, writers first.
/// Nothing throws (a platform failure goes unreported) and nothing is
/// logged.
class CORVO_API Win32ReadWriteLock
{
public:
    /// Unlocked.
    Win32ReadWriteLock();
    /// Waits until no reader is in.
    virtual ~Win32ReadWriteLock();

    /// Copies are not offered: the platform objects can't be copied.
    ///@{
    Win32ReadWriteLock(const Win32ReadWriteLock&) = delete;
    Win32ReadWriteLock& operator=(const Win32ReadWriteLock&) = delete;
    ///@}

    /// Blocks while a writer holds or waits for the lock. Read locks don't
    /// nest where writers exist, and can't be turned into a write lock.
    void readLock();
    /// Any thread may give up a read lock; it never waits for a writer.
    void readUnlock();
    /// Waits for the readers to leave. Recursive for the writing thread,
    /// which may also take read locks.
    void writeLock();
    /// On the thread that took the write lock.
    void writeUnlock();

private:
    UInt32 m_readerCount;
    void* m_noReadersEvent;
    // The platform's two CRITICAL_SECTIONs, as raw storage so that
    // applications need no platform header; the library checks at compile
    // time that they fit.
    alignas(8) unsigned char m_entrySection[64];
    alignas(8) unsigned char m_countSection[64];
};

} // namespace Corvo
} // namespace Vesk

#endif
