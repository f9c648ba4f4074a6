#include "CorvoReadBlock.h"

#include <memory>

namespace Vesk {
namespace Corvo {
namespace detail {

namespace {

// A thread keeps at most this much between reads.
const std::size_t keptLimit = std::size_t(4) << 20;

struct KeptBlock
{
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
    bool inUse = false;
};

thread_local KeptBlock kept;

} // namespace

ReadBlock::ReadBlock(std::size_t size) : m_data(nullptr), m_size(size == 0 ? 1 : size), m_kept(false)
{
    if (size > keptLimit || kept.inUse) {
        m_data = new char[m_size];
        return;
    }
    if (kept.size < m_size || !kept.data) {
        kept.data.reset();
        kept.size = 0;
        kept.data.reset(new char[m_size]);
        kept.size = m_size;
    }
    kept.inUse = true;
    m_kept = true;
    m_data = kept.data.get();
    m_size = kept.size;
}

ReadBlock::~ReadBlock()
{
    if (m_kept)
        kept.inUse = false;
    else
        delete[] m_data;
}

Packet_T<char> ReadBlock::packet(unsigned int count)
{
    if (count == 0 || count <= m_size / 2)
        return Packet_T<char>(count, m_data);
    char* const block = m_data;
    if (m_kept) {
        kept.data.release();
        kept.size = 0;
    }
    m_data = nullptr;
    return Packet_T<char>(block, count, Packet_T<char>::TakeOver());
}

} // namespace detail
} // namespace Corvo
} // namespace Vesk
