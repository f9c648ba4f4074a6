// Win32LocalHeap: a serialised platform heap; the platform's lock is the only
// one, so the class keeps none.
#include "CorvoLocalHeap.h"
#include "CorvoException.h"
#include "CorvoPlatform.h"
#include "CorvoRaise.h"

#include <cstdint>

namespace Vesk {
namespace Corvo {

namespace {

// The handle's value before the platform has answered.
void* const noHeapYet = reinterpret_cast<void*>(static_cast<std::uintptr_t>(0xFFFFFFFFu));

} // namespace

Win32LocalHeap::Win32LocalHeap(unsigned int firstSize, unsigned int secondSize) : m_handle(noHeapYet)
{
    const unsigned int initial = firstSize < secondSize ? firstSize : secondSize;
    const unsigned int maximum = firstSize < secondSize ? secondSize : firstSize;
    // Options 0: serialised, and failures are null results.
    m_handle = HeapCreate(0, initial, maximum);
    if (m_handle == nullptr)
        CORVO_RAISE(Exception, "Cannot create a Local Heap!");
}

Win32LocalHeap::~Win32LocalHeap() noexcept(false)
{
    if (HeapDestroy(m_handle) == 0)
        CORVO_RAISE(Exception, "Error destroying Local Heap!");
}

void* Win32LocalHeap::allocate(unsigned int size)
{
    return HeapAlloc(m_handle, HEAP_ZERO_MEMORY, size);
}

void Win32LocalHeap::free(void* block)
{
    if (block == nullptr)
        return;
    if (HeapFree(m_handle, 0, block) == 0)
        CORVO_RAISE(Exception, "Error freeing a memory block! ");
}

} // namespace Corvo
} // namespace Vesk
