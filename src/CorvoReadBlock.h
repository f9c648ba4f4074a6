// ReadBlock: the temporary block that a stream reads into before it builds
// the packet of what arrived.
#ifndef CORVO_READ_BLOCK_H
#define CORVO_READ_BLOCK_H

#include <cstddef>

namespace Vesk {
namespace Corvo {
namespace detail {

// The calling thread keeps one block from one read to the next, so that a
// large read does not map fresh pages, fault them in and give them back
// each time. A request above what a thread keeps, or a read that starts
// while the thread's block is in use (a log policy that reads, say), gets a
// block of its own for the call.
class ReadBlock
{
public:
    explicit ReadBlock(std::size_t size);
    ~ReadBlock();
    ReadBlock(const ReadBlock&) = delete;
    ReadBlock& operator=(const ReadBlock&) = delete;

    char* data() const { return m_data; }

private:
    char* m_data;
    bool m_kept;
};

} // namespace detail
} // namespace Corvo
} // namespace Vesk

#endif
