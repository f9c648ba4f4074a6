/// \file
/// Named integer types with their limits, an address value and alignment
/// arithmetic, offered to applications.
#ifndef CORVO_BASIC_TYPES_H
#define CORVO_BASIC_TYPES_H

#include "CorvoExport.h"

#include <cstdint>
#include <type_traits>

namespace Vesk {
namespace Corvo {

/// Signed and unsigned integers of 8, 16 and 32 bits. SInt8 is plain char,
/// which is signed on the library's targets.
///@{
typedef char SInt8;
typedef unsigned char UInt8;
typedef short SInt16;
typedef unsigned short UInt16;
// 32 bits on every data model: long where long has 32 bits (Windows), int
// where long is wider (LP64).
typedef std::conditional<sizeof(long) == 4, long, int>::type SInt32;
typedef std::conditional<sizeof(unsigned long) == 4, unsigned long, unsigned int>::type UInt32;
///@}
/// As wide as a pointer: 64 bits on x86_64 Windows and Linux alike.
///@{
typedef std::intptr_t SIntPtr_t;
typedef std::uintptr_t IntPtr_t;
///@}

/// The smallest and the largest value of each integer type, exported by the
/// library (so not usable in constant expressions).
///@{
extern CORVO_API const SInt8 MIN_SInt8;
extern CORVO_API const SInt8 MAX_SInt8;
extern CORVO_API const UInt8 MIN_UInt8;
extern CORVO_API const UInt8 MAX_UInt8;
extern CORVO_API const SInt16 MIN_SInt16;
extern CORVO_API const SInt16 MAX_SInt16;
extern CORVO_API const UInt16 MIN_UInt16;
extern CORVO_API const UInt16 MAX_UInt16;
extern CORVO_API const SInt32 MIN_SInt32;
extern CORVO_API const SInt32 MAX_SInt32;
extern CORVO_API const UInt32 MIN_UInt32;
extern CORVO_API const UInt32 MAX_UInt32;
extern CORVO_API const SIntPtr_t MIN_SIntPtr_t;
extern CORVO_API const SIntPtr_t MAX_SIntPtr_t;
extern CORVO_API const IntPtr_t MIN_IntPtr_t;
extern CORVO_API const IntPtr_t MAX_IntPtr_t;
///@}

/// An address held as a pointer-wide word: a pointer and the integer of the
/// same bits are the same address. Nothing throws.
class CORVO_API Address
{
public:
    /// The address of these bits, or of this pointer.
    ///@{
    Address(unsigned long address);
    Address(void* address);
    ///@}
    /// The address of these bits, where a pointer is wider than unsigned long
    /// (64-bit Windows); elsewhere the unsigned long form serves.
    template <typename Word, typename std::enable_if<std::is_same<Word, IntPtr_t>::value &&
                                                         !std::is_same<Word, unsigned long>::value,
                                                     int>::type = 0>
    Address(Word address) : m_address(address)
    {
    }

    /// The address as an integer.
    IntPtr_t getInt() const;
    /// The address as a pointer.
    void* getPointer() const;

    /// Copies the address.
    Address& operator=(const Address& other);

private:
    IntPtr_t m_address;
};

/// An alignment; the value of each is its size in bytes.
enum Alignment : unsigned int
{
    ALIGNMENT_1 = 1,
    ALIGNMENT_2 = 2,
    ALIGNMENT_4 = 4,
    ALIGNMENT_8 = 8,
    ALIGNMENT_16 = 16,
    ALIGNMENT_32 = 32,
    ALIGNMENT_64 = 64,
    ALIGNMENT_128 = 128,
    ALIGNMENT_256 = 256
};

/// The address itself, or the next higher one with the alignment. Alignments
/// outside 2 to 256 leave the address as it is.
CORVO_API void* alignAddress(void* address, Alignment alignment);

/// Whether the address has the alignment; false for alignments outside 1 to 256.
CORVO_API bool isAlignedTo(void* address, Alignment alignment);

} // namespace Corvo
} // namespace Vesk

#endif
