/// \file
/// Win32LocalHeap: a private heap apart from the process heap. Blocks come
/// zero-filled, and destroying the heap gives every block back at once.
#ifndef CORVO_LOCAL_HEAP_H
#define CORVO_LOCAL_HEAP_H

#include "CorvoExport.h"

namespace Vesk {
namespace Corvo {

/// A private heap. allocate and free may run on several threads at once; the
/// destructor must not run while another thread uses the heap. Nothing is
/// logged.
///
/// On Linux the heap is the library's own, over private mappings: a bounded
/// heap never holds more than its maximum, the initial size reserves nothing
/// ahead, and freeing a pointer that is not a live block throws instead of
/// corrupting the heap. As on Windows, a bounded heap's maximum is rounded
/// up to whole pages and it serves no single block above 0xFEFD8 bytes. A
/// heap without bound serves blocks of up to 4 KiB from size classes cached
/// per thread, in 2.5 GiB of address space that it reserves (no memory until
/// used); where that reservation fails, it serves them as larger blocks.
class CORVO_API Win32LocalHeap
{
public:
    /// The smaller size is the initial one and the larger the maximum, in
    /// whichever order they come; two zeros give a heap without bound.
    /// Throws Exception "Cannot create a Local Heap!".
    Win32LocalHeap(unsigned int firstSize, unsigned int secondSize);
    /// Gives every block back. Throws Exception "Error destroying Local
    /// Heap!" when the platform refuses.
    virtual ~Win32LocalHeap() noexcept(false);

    /// One heap, one owner: a copy would destroy the heap a second time.
    ///@{
    Win32LocalHeap(const Win32LocalHeap&) = delete;
    Win32LocalHeap& operator=(const Win32LocalHeap&) = delete;
    ///@}

    /// A zero-filled block, or null when the heap cannot serve the size.
    void* allocate(unsigned int size);
    /// Gives the block back; a null block is ignored. Throws Exception "Error
    /// freeing a memory block! " (with its trailing blank) when the platform
    /// refuses the block.
    void free(void* block);

private:
    void* m_handle;
};

} // namespace Corvo
} // namespace Vesk

#endif
