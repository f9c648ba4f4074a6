// Integer limits, Address and the alignment functions.
#include "CorvoBasicTypes.h"

#include <limits>

namespace Vesk {
namespace Corvo {

const SInt8 MIN_SInt8 = std::numeric_limits<SInt8>::min();
const SInt8 MAX_SInt8 = std::numeric_limits<SInt8>::max();
const UInt8 MIN_UInt8 = 0;
const UInt8 MAX_UInt8 = std::numeric_limits<UInt8>::max();
const SInt16 MIN_SInt16 = std::numeric_limits<SInt16>::min();
const SInt16 MAX_SInt16 = std::numeric_limits<SInt16>::max();
const UInt16 MIN_UInt16 = 0;
const UInt16 MAX_UInt16 = std::numeric_limits<UInt16>::max();
const SInt32 MIN_SInt32 = std::numeric_limits<SInt32>::min();
const SInt32 MAX_SInt32 = std::numeric_limits<SInt32>::max();
const UInt32 MIN_UInt32 = 0;
const UInt32 MAX_UInt32 = std::numeric_limits<UInt32>::max();
const SIntPtr_t MIN_SIntPtr_t = std::numeric_limits<SIntPtr_t>::min();
const SIntPtr_t MAX_SIntPtr_t = std::numeric_limits<SIntPtr_t>::max();
const IntPtr_t MIN_IntPtr_t = 0;
const IntPtr_t MAX_IntPtr_t = std::numeric_limits<IntPtr_t>::max();

Address::Address(unsigned long address) : m_address(address) {}

Address::Address(void* address) : m_address(reinterpret_cast<IntPtr_t>(address)) {}

IntPtr_t Address::getInt() const { return m_address; }

void* Address::getPointer() const { return reinterpret_cast<void*>(m_address); }

Address& Address::operator=(const Address& other)
{
    m_address = other.m_address;
    return *this;
}

void* alignAddress(void* address, Alignment alignment)
{
    if (alignment < 2 || alignment > 256)
        return address;
    const IntPtr_t value = reinterpret_cast<IntPtr_t>(address);
    if ((value & (alignment - 1)) == 0)
        return address;
    return reinterpret_cast<void*>((value / alignment + 1) * alignment);
}

bool isAlignedTo(void* address, Alignment alignment)
{
    if (alignment < 1 || alignment > 256)
        return false;
    return (reinterpret_cast<IntPtr_t>(address) & (alignment - 1)) == 0;
}

} // namespace Corvo
} // namespace Vesk
