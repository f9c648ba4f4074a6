/// \file
/// A recursive lock for the threads of one process, with no name, no
/// time-out and no failure report; CriticalSectionGuard holds it for a scope.
#ifndef CORVO_CRITICAL_SECTION_H
#define CORVO_CRITICAL_SECTION_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

/// The platform's critical section: recursive, for the threads of one
/// process. Nothing throws and nothing is logged. On Linux it is a recursive
/// pthread mutex.
class CORVO_API Win32CriticalSection
{
public:
    /// An unowned lock.
    Win32CriticalSection();
    /// The lock must not be owned any more.
    virtual ~Win32CriticalSection();

    /// Not copied: a copy would give a second image of one platform object.
    ///@{
    Win32CriticalSection(const Win32CriticalSection&) = delete;
    Win32CriticalSection& operator=(const Win32CriticalSection&) = delete;
    ///@}

    /// Blocks until the calling thread owns the lock; an owner passes at once.
    void acquire();
    /// Never blocks: false when another thread owns the lock.
    bool try_acquire();
    /// Gives up one level of ownership.
    void release();

private:
    // The platform's CRITICAL_SECTION, held by value as raw storage so that
    // applications need no platform header; the library checks at compile
    // time that the object fits. 64 bytes hold the object of every target
    // (40 on x86_64 Windows and Linux, 48 for the mutex of aarch64 Linux).
    alignas(8) unsigned char m_criticalSection[64];
};

/// The lock type that CriticalSectionGuard takes: T with a virtual
/// destructor, as CriticalSection_T<Win32CriticalSection>.
template <class T>
class CriticalSection_T : public T
{
public:
    /// Destroys the lock T.
    virtual ~CriticalSection_T() {}
};

/// Acquires the lock for its lifetime, so that every way out of a block,
/// an exception included, releases it.
class CriticalSectionGuard
{
public:
    /// Acquires lock, waiting as Win32CriticalSection::acquire does.
    explicit CriticalSectionGuard(CriticalSection_T<Win32CriticalSection>& lock) : m_lock(&lock)
    {
        m_lock->acquire();
    }
    /// Releases the lock once.
    ~CriticalSectionGuard() { m_lock->release(); }

    /// Not copied: each guard releases once.
    ///@{
    CriticalSectionGuard(const CriticalSectionGuard&) = delete;
    CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;
    ///@}

private:
    CriticalSection_T<Win32CriticalSection>* m_lock;
};

} // namespace Corvo
} // namespace Vesk

#endif
