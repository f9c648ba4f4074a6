// ReadBlock: the temporary block that a stream reads into before it builds
// the packet of what arrived.
#ifndef CORVO_READ_BLOCK_H
#define CORVO_READ_BLOCK_H

#include "CorvoPacket.h"

#include <cstddef>

namespace Vesk {
namespace Corvo {
namespace detail {

// The calling thread keeps one block from one read to the next, so that a
// short read into a large request does not allocate the large block each
// time. A request above what a thread keeps, or a read that starts while
// the thread's block is in use (a log policy that reads, say), gets a block
// of its own for the call.
class ReadBlock
{
public:
    explicit ReadBlock(std::size_t size);
    ~ReadBlock();
    ReadBlock(const ReadBlock&) = delete;
    ReadBlock& operator=(const ReadBlock&) = delete;

    char* data() const { return m_data; }

    // The packet of the first count bytes. When they fill more than half of
    // the block, the packet takes the block over, so that a large read is not
    // copied a second time; the thread then allocates its next block anew.
    // Once only.
    Packet_T<char> packet(unsigned int count);

private:
    char* m_data;
    std::size_t m_size;
    bool m_kept;
};

} // namespace detail
} // namespace Corvo
} // namespace Vesk

#endif
