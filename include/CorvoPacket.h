/// \file
/// Packet_T: a block of bytes that owns its memory, the unit that every
/// stream of the library reads and writes. Copies are deep; an empty packet
/// holds no allocation.
#ifndef CORVO_PACKET_H
#define CORVO_PACKET_H

#include "CorvoExport.h"

#include <cstring>

namespace Vesk {
namespace Corvo {

namespace detail {

class ReadBlock;

// Throws Exception with the reason, the file, the function and the line.
[[noreturn]] CORVO_API void raisePacketFailure(const char* reason, const char* file, const char* function,
                                               int line);

} // namespace detail

// The file is named as in the library's own reports, wherever this header
// was included from, and the function by its text here rather than by the
// compiler's, which differs between compilers. The template serves char
// alone.
#define CORVO_PACKET_RAISE(function, reason)                                                               \
    ::Vesk::Corvo::detail::raisePacketFailure((reason), "include/CorvoPacket.h",                          \
                                              "Vesk::Corvo::Packet_T<char>::" function, __LINE__)

/// An owning block of size elements of T (`Packet_T<char>` in the library).
/// Failures throw Exception naming include/CorvoPacket.h; nothing is logged.
template <typename T>
class Packet_T
{
public:
    /// A copy of size elements at buffer; size first. A size of 0 makes an
    /// empty packet whatever the pointer. Throws Exception "Input buffer
    /// pointing to nullptr" for a null buffer with a size.
    Packet_T(unsigned int size, const T* buffer) : m_size(0), m_buffer(nullptr)
    {
        if (size != 0 && buffer == nullptr)
            CORVO_PACKET_RAISE("Packet_T", "Input buffer pointing to nullptr");
        copyFrom(size, buffer);
    }

    /// A deep copy. Throws Exception "Input buffer pointing to nullptr and
    /// size != 0!" for a packet whose members were set to a size without a
    /// buffer.
    Packet_T(const Packet_T<T>& other) : m_size(0), m_buffer(nullptr)
    {
        if (other.m_size != 0 && other.m_buffer == nullptr)
            CORVO_PACKET_RAISE("Packet_T", "Input buffer pointing to nullptr and size != 0!");
        copyFrom(other.m_size, other.m_buffer);
    }

    /// A deep copy, with the copy constructor's failure. A failed assignment
    /// leaves this packet as it was.
    Packet_T<T>& operator=(const Packet_T<T>& other)
    {
        if (other.m_size != 0 && other.m_buffer == nullptr)
            CORVO_PACKET_RAISE("operator =", "Input buffer pointing to nullptr and size != 0!");
        if (this == &other)
            return *this;
        delete[] m_buffer;
        m_buffer = nullptr;
        m_size = 0;
        copyFrom(other.m_size, other.m_buffer);
        return *this;
    }

    /// Frees the block.
    ~Packet_T() { delete[] m_buffer; }

    // Read directly by the streams of the library.
    /// The number of elements.
    unsigned int m_size;
    /// The elements, or null when empty; the packet owns them (new[]).
    T* m_buffer;

private:
    // A read hands its block over whole when the bytes that arrived fill
    // most of it, rather than copying them.
    friend class detail::ReadBlock;
    struct TakeOver
    {
    };

    // Takes over block, allocated with new[], of which size elements are
    // used; size is not 0.
    Packet_T(T* block, unsigned int size, TakeOver) : m_size(size), m_buffer(block) {}

    void copyFrom(unsigned int size, const T* buffer)
    {
        if (size == 0)
            return;
        m_buffer = new T[size];
        std::memcpy(m_buffer, buffer, size * sizeof(T));
        m_size = size;
    }
};

#undef CORVO_PACKET_RAISE

} // namespace Corvo
} // namespace Vesk

#endif
