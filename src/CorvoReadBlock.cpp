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

ReadBlock::ReadBlock(std::size_t size) : m_data(nullptr), m_kept(false)
{
    if (size > keptLimit || kept.inUse) {
        m_data = new char[size == 0 ? 1 : size];
        return;
    }
    if (kept.size < size || !kept.data) {
        kept.data.reset();
        kept.size = 0;
        kept.data.reset(new char[size == 0 ? 1 : size]);
        kept.size = size;
    }
    kept.inUse = true;
    m_kept = true;
    m_data = kept.data.get();
}

ReadBlock::~ReadBlock()
{
    if (m_kept)
        kept.inUse = false;
    else
        delete[] m_data;
}

} // namespace detail
} // namespace Corvo
} // namespace Vesk
