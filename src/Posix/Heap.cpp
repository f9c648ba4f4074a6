// Private heaps over anonymous mappings of their own. A bounded heap is one
// mapping of its maximum size; a growable one adds mappings as it needs
// them. Pages are taken from the system as they are first touched.
//
// Inside a mapping, blocks follow each other from its start up to the "top",
// beyond which lies memory never handed out. Each block has a 16-byte
// header: its size with two flags (in use; the block before it in use), and
// a tag that only blocks in use carry and that ties the header to this heap
// and to its address, so that a pointer that is not a live block of this
// heap is refused by HeapFree instead of corrupting the heap. A free block
// keeps its size again in its last word, so that the block after it can
// merge with it; free blocks never lie side by side and never just below
// the top. Free blocks wait in lists of one exact size each up to 8 KiB,
// and in one list of larger ones.
//
// A growable heap is split into arenas, each with its own mappings, lists
// and lock, and each thread allocates from one of them, so that threads
// sharing a heap seldom meet on a lock or on each other's cache lines. A
// block goes back to the arena whose mapping holds it. A bounded heap has
// one arena, which holds the whole bound.
#include "PosixSupport.h"
#include "Win32Heap.h"

#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

namespace {

using Vesk::Corvo::Posix::fail;
using Vesk::Corvo::Posix::failFromErrno;

const std::size_t headerSize = 16;
// A free block holds its header, two links and its size at its end.
const std::size_t smallestBlock = 48;
const std::size_t sizeMask = ~std::size_t(15);
const std::size_t inUse = 1;
const std::size_t previousInUse = 2;
// Exact-size lists for blocks below this size, one per 16 bytes.
const std::size_t exactLimit = 8192;
const std::size_t exactLists = exactLimit / 16;
const std::size_t largeList = exactLists;
const std::size_t growthStep = std::size_t(1) << 20;
// Free memory above the top beyond this size goes back to the system.
const std::size_t returnThreshold = std::size_t(1) << 20;
const std::uint64_t liveHeap = 0x43766f4865617021ull;

struct Block
{
    std::size_t head;
    std::uintptr_t tag;
    // Only while the block is free:
    Block* next;
    Block* previous;
};

std::size_t sizeOf(const Block* block) { return block->head & sizeMask; }

Block* following(Block* block)
{
    return reinterpret_cast<Block*>(reinterpret_cast<char*>(block) + sizeOf(block));
}

void setTrailer(Block* block)
{
    reinterpret_cast<std::size_t*>(following(block))[-1] = sizeOf(block);
}

Block* preceding(Block* block)
{
    const std::size_t size = reinterpret_cast<std::size_t*>(block)[-1];
    return reinterpret_cast<Block*>(reinterpret_cast<char*>(block) - size);
}

struct Segment
{
    char* base;
    char* top;
    char* end;
    // Memory from here up has never been handed out, and so is still zero.
    char* fresh;
    std::size_t mapped;
};

void pause()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// A waiter backs off for twice as long each time it finds the lock taken:
// two threads that retry at once keep the heap's lines bouncing between
// their caches, which costs far more than the short work done under it.
class SpinLock
{
public:
    void lock()
    {
        int delay = 1;
        while (m_busy.exchange(true, std::memory_order_acquire)) {
            int rounds = 0;
            do {
                for (int i = 0; i < delay; ++i)
                    pause();
                if (delay < maximumDelay)
                    delay *= 2;
                else if (++rounds == 50) {
                    // The holder may be waiting for a processor.
                    sched_yield();
                    rounds = 0;
                }
            } while (m_busy.load(std::memory_order_relaxed));
        }
    }
    void unlock() { m_busy.store(false, std::memory_order_release); }

private:
    static const int maximumDelay = 256; // pauses

    std::atomic<bool> m_busy{false};
};

class Guard
{
public:
    explicit Guard(SpinLock& lock) : m_lock(lock) { m_lock.lock(); }
    ~Guard() { m_lock.unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    SpinLock& m_lock;
};

std::size_t pageSize()
{
    static const std::size_t size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

std::size_t roundUp(std::size_t value, std::size_t step) { return (value + step - 1) / step * step; }

// Mappings, their free lists and the lock that guards them; aligned, so
// that the arenas of two threads share no cache line.
class alignas(64) Arena
{
public:
    Arena(std::uintptr_t secret, std::size_t maximum) : m_secret(secret), m_maximum(maximum) {}

    ~Arena()
    {
        for (const Segment& segment : m_segments)
            munmap(segment.base, segment.mapped);
    }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // A mapping of whole pages, of which the first size bytes are used.
    bool addSegment(std::size_t size)
    {
        const std::size_t mapped = roundUp(size, pageSize());
        void* memory = mmap(nullptr, mapped, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED)
            return false;
        char* base = static_cast<char*>(memory);
        const Segment segment{base, base, base + size / 16 * 16, base, mapped};
        try {
            m_segments.insert(std::upper_bound(m_segments.begin(), m_segments.end(), segment,
                                               [](const Segment& a, const Segment& b) {
                                                   return a.base < b.base;
                                               }),
                              segment);
        } catch (const std::bad_alloc&) {
            munmap(memory, mapped);
            return false;
        }
        return true;
    }

    // The block's payload and how many of its first bytes may be dirty.
    void* allocate(std::size_t bytes, std::size_t& dirty)
    {
        if (bytes > (std::size_t(1) << 48))
            return nullptr;
        const std::size_t need = std::max(smallestBlock, roundUp(bytes + headerSize, 16));
        Block* block = nullptr;
        {
            Guard guard(m_lock);
            block = fromLists(need);
            if (block != nullptr)
                dirty = bytes;
            else
                block = fromTop(need, bytes, dirty);
            if (block == nullptr)
                return nullptr;
            block->tag = tagFor(block);
        }
        return reinterpret_cast<char*>(block) + headerSize;
    }

    enum class Freed
    {
        Done,
        Refused, // in one of this arena's mappings, but no live block
        NotHere
    };

    Freed free(void* payload)
    {
        Guard guard(m_lock);
        Segment* segment = segmentOf(payload);
        if (segment == nullptr)
            return Freed::NotHere;
        Block* block = reinterpret_cast<Block*>(static_cast<char*>(payload) - headerSize);
        if (block->tag != tagFor(block) || (block->head & inUse) == 0 || sizeOf(block) < smallestBlock ||
            sizeOf(block) > static_cast<std::size_t>(segment->top - reinterpret_cast<char*>(block)))
            return Freed::Refused;
        release(*segment, block);
        return Freed::Done;
    }

private:
    std::uintptr_t tagFor(const Block* block) const
    {
        return m_secret ^ reinterpret_cast<std::uintptr_t>(block);
    }

    Segment* segmentOf(void* payload)
    {
        char* address = static_cast<char*>(payload);
        if (reinterpret_cast<std::uintptr_t>(address) % 16 != 0)
            return nullptr;
        auto after = std::upper_bound(m_segments.begin(), m_segments.end(), address,
                                      [](char* a, const Segment& s) { return a < s.base; });
        if (after == m_segments.begin())
            return nullptr;
        Segment& segment = *(after - 1);
        if (address < segment.base + headerSize || address >= segment.top)
            return nullptr;
        return &segment;
    }

    static std::size_t listFor(std::size_t size) { return size < exactLimit ? size / 16 : largeList; }

    void link(Block* block)
    {
        const std::size_t list = listFor(sizeOf(block));
        block->previous = nullptr;
        block->next = m_lists[list];
        if (block->next != nullptr)
            block->next->previous = block;
        m_lists[list] = block;
        if (list < exactLists)
            m_used[list / 64] |= std::uint64_t(1) << (list % 64);
    }

    void unlink(Block* block)
    {
        const std::size_t list = listFor(sizeOf(block));
        if (block->previous != nullptr)
            block->previous->next = block->next;
        else
            m_lists[list] = block->next;
        if (block->next != nullptr)
            block->next->previous = block->previous;
        if (m_lists[list] == nullptr && list < exactLists)
            m_used[list / 64] &= ~(std::uint64_t(1) << (list % 64));
    }

    // The first listed free block of at least need bytes, cut to size.
    Block* fromLists(std::size_t need)
    {
        Block* block = nullptr;
        for (std::size_t list = need / 16; list < exactLists && block == nullptr;) {
            const std::uint64_t above = m_used[list / 64] & (~std::uint64_t(0) << (list % 64));
            if (above != 0)
                block = m_lists[list / 64 * 64 + static_cast<std::size_t>(__builtin_ctzll(above))];
            else
                list = (list / 64 + 1) * 64;
        }
        for (Block* large = m_lists[largeList]; large != nullptr && block == nullptr; large = large->next)
            if (sizeOf(large) >= need)
                block = large;
        if (block == nullptr)
            return nullptr;
        unlink(block);
        const std::size_t rest = sizeOf(block) - need;
        if (rest >= smallestBlock) {
            block->head = need | inUse | (block->head & previousInUse);
            Block* remainder = following(block);
            remainder->head = rest | previousInUse;
            remainder->tag = 0;
            setTrailer(remainder);
            link(remainder);
        } else {
            block->head |= inUse;
            following(block)->head |= previousInUse;
        }
        return block;
    }

    Block* carve(Segment& segment, std::size_t need, std::size_t bytes, std::size_t& dirty)
    {
        Block* block = reinterpret_cast<Block*>(segment.top);
        // The block below the top is always in use, or there is none.
        block->head = need | inUse | previousInUse;
        segment.top += need;
        char* payload = reinterpret_cast<char*>(block) + headerSize;
        dirty = segment.fresh > payload ? std::min(bytes, static_cast<std::size_t>(segment.fresh - payload)) : 0;
        segment.fresh = std::max(segment.fresh, segment.top);
        return block;
    }

    Block* fromTop(std::size_t need, std::size_t bytes, std::size_t& dirty)
    {
        for (auto segment = m_segments.rbegin(); segment != m_segments.rend(); ++segment)
            if (static_cast<std::size_t>(segment->end - segment->top) >= need)
                return carve(*segment, need, bytes, dirty);
        if (m_maximum != 0 || !addSegment(std::max(growthStep, roundUp(need, pageSize()))))
            return nullptr;
        for (Segment& segment : m_segments)
            if (segment.top == segment.base && static_cast<std::size_t>(segment.end - segment.base) >= need)
                return carve(segment, need, bytes, dirty);
        return nullptr;
    }

    // Returns the pages of a large stretch above the top to the system;
    // they come back zero-filled, and so count as never handed out again.
    static void giveBackAboveTop(Segment& segment)
    {
        char* from = segment.base + roundUp(static_cast<std::size_t>(segment.top - segment.base), pageSize());
        if (segment.fresh < from + returnThreshold)
            return;
        if (madvise(from, static_cast<std::size_t>(segment.fresh - from), MADV_DONTNEED) == 0)
            segment.fresh = from;
    }

    void release(Segment& segment, Block* block)
    {
        block->tag = 0;
        std::size_t size = sizeOf(block);
        Block* next = following(block);
        if (reinterpret_cast<char*>(next) != segment.top) {
            if ((next->head & inUse) == 0) {
                unlink(next);
                size += sizeOf(next);
            } else
                next->head &= ~previousInUse;
        }
        if ((block->head & previousInUse) == 0) {
            Block* previous = preceding(block);
            unlink(previous);
            size += sizeOf(previous);
            block = previous;
        }
        if (reinterpret_cast<char*>(block) + size == segment.top) {
            segment.top = reinterpret_cast<char*>(block);
            giveBackAboveTop(segment);
            return;
        }
        block->head = size | previousInUse;
        setTrailer(block);
        link(block);
    }

    const std::uintptr_t m_secret;
    const std::size_t m_maximum;
    SpinLock m_lock;
    std::vector<Segment> m_segments;
    Block* m_lists[exactLists + 1] = {};
    std::uint64_t m_used[exactLists / 64] = {};
};

// The arenas of one heap. All but the first are made when a thread first
// needs them; none goes before the heap does.
class Heap
{
public:
    explicit Heap(std::size_t maximum)
        : m_magic(liveHeap), m_secret(reinterpret_cast<std::uintptr_t>(this) * 0x9E3779B97F4A7C15ull),
          m_arenaCount(maximum != 0 ? 1 : arenaLimit), m_first(m_secret, maximum)
    {
        m_arenas[0] = &m_first;
    }

    ~Heap()
    {
        m_magic = 0;
        for (std::size_t i = 1; i < m_arenaCount; ++i)
            delete m_arenas[i].load(std::memory_order_acquire);
    }
    Heap(const Heap&) = delete;
    Heap& operator=(const Heap&) = delete;

    bool valid() const { return m_magic == liveHeap; }

    bool addSegment(std::size_t size) { return m_first.addSegment(size); }

    void* allocate(std::size_t bytes, std::size_t& dirty)
    {
        return arena(threadSlot() % m_arenaCount).allocate(bytes, dirty);
    }

    // Looks in this thread's arena first, where its own blocks are.
    bool free(void* payload)
    {
        const std::size_t own = threadSlot() % m_arenaCount;
        for (std::size_t i = 0; i < m_arenaCount; ++i) {
            Arena* arena = m_arenas[(own + i) % m_arenaCount].load(std::memory_order_acquire);
            const Arena::Freed freed = arena != nullptr ? arena->free(payload) : Arena::Freed::NotHere;
            if (freed != Arena::Freed::NotHere)
                return freed == Arena::Freed::Done;
        }
        return false;
    }

private:
    static const std::size_t arenaLimit = 8;

    // A number per thread, handed out in turn, so that threads spread over
    // the arenas.
    static std::size_t threadSlot()
    {
        static std::atomic<std::size_t> next{0};
        thread_local const std::size_t slot = next.fetch_add(1, std::memory_order_relaxed);
        return slot;
    }

    // The arena at an index, made if there is none yet; the first one if
    // no memory is left for a new one.
    Arena& arena(std::size_t index)
    {
        Arena* found = m_arenas[index].load(std::memory_order_acquire);
        if (found != nullptr)
            return *found;
        Arena* made = new (std::nothrow) Arena(m_secret, 0);
        if (made == nullptr)
            return m_first;
        if (m_arenas[index].compare_exchange_strong(found, made, std::memory_order_acq_rel))
            return *made;
        delete made;
        return *found;
    }

    std::uint64_t m_magic;
    const std::uintptr_t m_secret;
    const std::size_t m_arenaCount;
    Arena m_first;
    std::atomic<Arena*> m_arenas[arenaLimit] = {};
};

Heap* heapOf(HANDLE handle)
{
    Heap* heap = static_cast<Heap*>(handle);
    return heap != nullptr && heap->valid() ? heap : nullptr;
}

} // namespace

HANDLE HeapCreate(DWORD /*options*/, SIZE_T initialSize, SIZE_T maximumSize)
{
    if (maximumSize != 0 && initialSize > maximumSize)
        return fail(ERROR_INVALID_PARAMETER, HANDLE(nullptr));
    Heap* heap = new (std::nothrow) Heap(maximumSize);
    if (heap == nullptr)
        return fail(ERROR_NOT_ENOUGH_MEMORY, HANDLE(nullptr));
    const std::size_t first = maximumSize != 0 ? maximumSize : std::max(growthStep, initialSize);
    if (!heap->addSegment(first)) {
        delete heap;
        return failFromErrno(HANDLE(nullptr));
    }
    return heap;
}

BOOL HeapDestroy(HANDLE handle)
{
    Heap* heap = heapOf(handle);
    if (heap == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    delete heap;
    return TRUE;
}

LPVOID HeapAlloc(HANDLE handle, DWORD flags, SIZE_T bytes)
{
    Heap* heap = heapOf(handle);
    if (heap == nullptr)
        return fail(ERROR_INVALID_HANDLE, LPVOID(nullptr));
    std::size_t dirty = 0;
    void* block = heap->allocate(bytes, dirty);
    if (block == nullptr)
        return fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID(nullptr));
    if ((flags & HEAP_ZERO_MEMORY) != 0)
        std::memset(block, 0, dirty);
    return block;
}

BOOL HeapFree(HANDLE handle, DWORD /*flags*/, LPVOID block)
{
    Heap* heap = heapOf(handle);
    if (heap == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    if (block == nullptr)
        return TRUE;
    if (!heap->free(block))
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    return TRUE;
}
