// A recursive lock for the threads of one process, with no name, no
// time-out and no failure report; CriticalSectionGuard holds it for a scope.
#ifndef CORVO_CRITICAL_SECTION_H
#define CORVO_CRITICAL_SECTION_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

class CORVO_API Win32CriticalSection
{
public:
    Win32CriticalSection();
    virtual ~Win32CriticalSection();

    // Copying would give a second image of one platform object.
    Win32CriticalSection(const Win32CriticalSection&) = delete;
    Win32CriticalSection& operator=(const Win32CriticalSection&) = delete;

    // Blocks until the calling thread owns the lock; an owner passes at once.
    void acquire();
    // Never blocks: false when another thread owns the lock.
    bool try_acquire();
    // Gives up one level of ownership.
    void release();

private:
    // The platform's CRITICAL_SECTION, held by value as raw storage so that
    // applications need no platform header; the library checks at compile
    // time that the object fits. 64 bytes hold the object of every target
    // (40 on x86_64 Windows and Linux, 48 for the mutex of aarch64 Linux).
    alignas(8) unsigned char m_criticalSection[64];
};

template <class T>
class CriticalSection_T : public T
{
public:
    virtual ~CriticalSection_T() {}
};

// Acquires the lock for its lifetime, so that every way out of a block,
// an exception included, releases it.
class CriticalSectionGuard
{
public:
    explicit CriticalSectionGuard(CriticalSection_T<Win32CriticalSection>& lock) : m_lock(&lock)
    {
        m_lock->acquire();
    }
    ~CriticalSectionGuard() { m_lock->release(); }

    CriticalSectionGuard(const CriticalSectionGuard&) = delete;
    CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;

private:
    CriticalSection_T<Win32CriticalSection>* m_lock;
};

} // namespace Corvo
} // namespace Vesk

#endif
