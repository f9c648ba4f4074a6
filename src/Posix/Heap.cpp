// Private heaps over anonymous mappings of their own.
//
// A heap without bound serves blocks up to 4 KiB from size classes, each
// thread from a cache of free blocks of its own, so that the common case
// takes no lock and touches no line that another thread writes. Each class
// carves its blocks from its own stretch of one reserved region, so a
// pointer's class is its offset in the region, and a pointer outside the
// region is no small block. A small block's header holds a tag of the heap
// and its address while it is live, so that freeing a pointer that is no
// live block of this heap (a foreign, inner or freed one) is refused with
// nothing changed; it also tells a block never handed out, still zero,
// from a used one, which zero-filling must clear. A thread's end gives its
// caches back to their heaps, and a heap's destruction takes its caches
// out of every thread.
//
// Larger blocks, the small ones once a class's stretch is used up, and
// every block of a bounded heap come from arenas. A bounded heap is one
// mapping of its maximum size; a growable one adds mappings as it needs
// them. Pages are taken from the system as they are first touched.
//
// Inside a mapping, blocks follow each other from its start up to the "top",
// beyond which lies memory never handed out. Each block has a 16-byte
// header: its size with two flags (in use; the block before it in use), and
// the tag of a live block. A free block keeps its size again in its last
// word, so that the block after it can merge with it; free blocks never lie
// side by side and never just below the top. Free blocks wait in lists of
// one exact size each up to 8 KiB, and in one list of larger ones.
//
// A growable heap has up to eight arenas, each with its own mappings, lists
// and lock, and each thread allocates from one of them. A block goes back
// to the arena whose mapping holds it. A bounded heap has one arena, which
// holds the whole bound.
#include "PosixSupport.h"
#include "Win32Heap.h"

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <mutex>
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
// A heap with a maximum size serves no single block above this size, as
// Windows' heaps in a 64-bit process ("slightly less than 1,024 KB").
const std::size_t largestFixedBlock = 0xFEFD8;

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

// Blocks up to 4 KiB come in size classes, 16 bytes apart up to 256, 64 up
// to 1 KiB and 256 up to 4 KiB.
const std::size_t smallLimit = 4096;
const std::size_t classCount = 40;
// Each class carves its blocks from a stretch of its own in the heap's
// small-block region; a class whose stretch is used up serves from the
// arenas.
const unsigned classShift = 26;
const std::size_t classStretch = std::size_t(1) << classShift;
const std::size_t smallRegion = classCount * classStretch;

constexpr std::size_t classSize(std::size_t sizeClass)
{
    return sizeClass < 16 ? (sizeClass + 1) * 16
                          : sizeClass < 28 ? 256 + (sizeClass - 15) * 64 : 1024 + (sizeClass - 27) * 256;
}
static_assert(classSize(classCount - 1) == smallLimit, "the last class holds the largest small block");

// A small block's header, just below its payload. The tag is the heap's
// mark for a live block, freshMark for a block never handed out (whose
// payload is still zero) and usedMark once it has been freed. Live tags
// are odd, so neither mark is ever one.
struct SmallBlock
{
    std::uintptr_t tag;
    SmallBlock* next; // while free
};
const std::uintptr_t freshMark = 0;
const std::uintptr_t usedMark = 2;

constexpr std::size_t strideOf(std::size_t sizeClass) { return classSize(sizeClass) + sizeof(SmallBlock); }

// How many free blocks of a class a thread keeps; beyond it, half of them
// go back to the heap, and an empty one takes half as many at once.
constexpr std::size_t cacheLimit(std::size_t sizeClass)
{
    return std::min<std::size_t>(128, std::max<std::size_t>(16, (std::size_t(256) << 10) / strideOf(sizeClass)));
}

// The class of a request, by its size in steps of 16 bytes, and each
// class's cache limit, worked out once.
struct ClassTable
{
    constexpr ClassTable() : of(), limit()
    {
        std::size_t sizeClass = 0;
        for (std::size_t steps = 0; steps <= smallLimit / 16; ++steps) {
            while (classSize(sizeClass) < steps * 16)
                ++sizeClass;
            of[steps] = static_cast<unsigned char>(sizeClass);
        }
        for (std::size_t c = 0; c < classCount; ++c)
            limit[c] = static_cast<unsigned short>(cacheLimit(c));
    }
    unsigned char of[smallLimit / 16 + 1];
    unsigned short limit[classCount];
};
constexpr ClassTable classTable;

// The free blocks of one class that no thread keeps, and the part of the
// class's stretch not carved yet.
struct alignas(64) SizeClass
{
    SpinLock lock;
    SmallBlock* free = nullptr;
    char* carved = nullptr;
    char* end = nullptr;
};

class Heap;
struct ThreadRecord;

// One thread's free blocks of one heap. The heap lists the caches of all
// threads, so that its destruction takes them along; the thread lists its
// caches of all heaps, so that its end gives them back.
struct ThreadCache
{
    struct Bin
    {
        SmallBlock* head;
        std::size_t count;
    };

    Heap* heap;
    ThreadRecord* owner;
    ThreadCache* nextOfHeap;
    ThreadCache* previousOfHeap;
    ThreadCache* nextOfThread;
    ThreadCache* previousOfThread;
    Bin bins[classCount];
};

// A thread's caches, and the last ones it used by heap number. A number is
// never given to a second heap, so an entry of a destroyed heap never
// matches again and its cache is never reached through it.
struct ThreadRecord
{
    struct Recent
    {
        std::uint64_t heap;
        ThreadCache* cache;
    };
    static const std::size_t recentCount = 4;

    Recent recent[recentCount];
    std::size_t nextRecent;
    ThreadCache* caches;
};

// Guards the links between heaps, caches and threads.
std::mutex registryLock;
std::atomic<std::uint64_t> nextHeapNumber{1};

// A plain pointer, so that reaching it is one instruction; the key's
// destructor gives the thread's caches back when it ends.
thread_local ThreadRecord* threadRecord __attribute__((tls_model("initial-exec"))) = nullptr;
void endThread(void* record);

// Whether the key that calls endThread was made; without one, threads
// keep no caches.
bool threadEndKey(pthread_key_t& key)
{
    static pthread_key_t made;
    static const bool valid = pthread_key_create(&made, endThread) == 0;
    key = made;
    return valid;
}

// The arenas of one heap, and for a heap without bound, its small-block
// classes. The arenas after the first are made when a thread first needs
// them; none goes before the heap does.
class Heap
{
public:
    explicit Heap(std::size_t maximum)
        : m_magic(liveHeap), m_number(nextHeapNumber.fetch_add(1, std::memory_order_relaxed)),
          m_secret(reinterpret_cast<std::uintptr_t>(this) * 0x9E3779B97F4A7C15ull | 1),
          m_arenaCount(maximum != 0 ? 1 : arenaLimit), m_first(m_secret, maximum)
    {
        m_arenas[0] = &m_first;
    }

    ~Heap()
    {
        m_magic = 0;
        {
            std::lock_guard<std::mutex> guard(registryLock);
            while (m_caches != nullptr) {
                ThreadCache* cache = m_caches;
                m_caches = cache->nextOfHeap;
                unlinkFromThread(cache);
                delete cache;
            }
        }
        if (m_region != nullptr)
            munmap(m_region, smallRegion);
        for (std::size_t i = 1; i < m_arenaCount; ++i)
            delete m_arenas[i].load(std::memory_order_acquire);
    }
    Heap(const Heap&) = delete;
    Heap& operator=(const Heap&) = delete;

    bool valid() const { return m_magic == liveHeap; }
    bool bounded() const { return m_arenaCount == 1; }

    bool addSegment(std::size_t size) { return m_first.addSegment(size); }

    // The small-block region of a heap without bound. Its pages are taken
    // as they are touched; without it, every block comes from the arenas.
    void reserveSmallBlocks()
    {
        void* memory = mmap(nullptr, smallRegion, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED)
            return;
        m_region = static_cast<char*>(memory);
        for (std::size_t c = 0; c < classCount; ++c) {
            m_classes[c].carved = m_region + c * classStretch;
            m_classes[c].end = m_classes[c].carved + classStretch;
        }
    }

    // The payload, zero-filled when asked.
    void* allocate(std::size_t bytes, bool zero)
    {
        if (m_region != nullptr && bytes <= smallLimit) {
            if (void* payload = allocateSmall(bytes, zero))
                return payload;
        }
        return allocateInArena(bytes, zero);
    }

    bool free(void* payload)
    {
        const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(payload) -
                                      reinterpret_cast<std::uintptr_t>(m_region) - sizeof(SmallBlock);
        if (m_region != nullptr && offset < smallRegion)
            return freeSmall(payload);
        return freeInArena(payload);
    }

    // Gives a cache's blocks back to the classes; under the registry lock.
    void takeBack(ThreadCache* cache)
    {
        for (std::size_t c = 0; c < classCount; ++c) {
            ThreadCache::Bin& bin = cache->bins[c];
            if (bin.head == nullptr)
                continue;
            SmallBlock* last = bin.head;
            while (last->next != nullptr)
                last = last->next;
            giveBack(c, bin.head, last);
            bin.head = nullptr;
            bin.count = 0;
        }
        unlinkFromHeap(cache);
    }

private:
    static const std::size_t arenaLimit = 8;

    std::uintptr_t tagOf(const SmallBlock* block) const
    {
        return m_secret ^ reinterpret_cast<std::uintptr_t>(block);
    }

    void* allocateSmall(std::size_t bytes, bool zero)
    {
        const std::size_t c = classTable.of[(bytes + 15) / 16];
        ThreadCache* cache = cacheOfThread();
        SmallBlock* block = nullptr;
        if (cache != nullptr) {
            ThreadCache::Bin& bin = cache->bins[c];
            if (bin.head == nullptr)
                refill(c, bin);
            block = bin.head;
            if (block == nullptr)
                return nullptr;
            bin.head = block->next;
            --bin.count;
        } else {
            ThreadCache::Bin one{nullptr, 0};
            refill(c, one, 1);
            block = one.head;
            if (block == nullptr)
                return nullptr;
        }
        const bool dirty = block->tag != freshMark;
        block->tag = tagOf(block);
        void* payload = block + 1;
        if (zero && dirty) {
            // A fixed length is filled in line, without a call.
            if (bytes <= 16)
                std::memset(payload, 0, 16);
            else if (bytes <= 32)
                std::memset(payload, 0, 32);
            else
                std::memset(payload, 0, bytes);
        }
        return payload;
    }

    // Refuses, with nothing changed, a pointer that is not a live block:
    // one not 16-byte aligned, or whose header does not carry this heap's
    // tag for its address.
    bool freeSmall(void* payload)
    {
        if (reinterpret_cast<std::uintptr_t>(payload) % 16 != 0)
            return false;
        SmallBlock* block = static_cast<SmallBlock*>(payload) - 1;
        if (block->tag != tagOf(block))
            return false;
        block->tag = usedMark;
        const std::size_t c = static_cast<std::size_t>(reinterpret_cast<char*>(block) - m_region) >> classShift;
        ThreadCache* cache = cacheOfThread();
        if (cache == nullptr) {
            block->next = nullptr;
            giveBack(c, block, block);
            return true;
        }
        ThreadCache::Bin& bin = cache->bins[c];
        if (bin.count >= classTable.limit[c])
            spill(c, bin);
        block->next = bin.head;
        bin.head = block;
        ++bin.count;
        return true;
    }

    // Fills an empty bin from the class's free blocks, then from its
    // stretch.
    __attribute__((noinline)) void refill(std::size_t c, ThreadCache::Bin& bin, std::size_t wanted = 0)
    {
        if (wanted == 0)
            wanted = classTable.limit[c] / 2;
        SizeClass& sizeClass = m_classes[c];
        Guard guard(sizeClass.lock);
        SmallBlock* head = nullptr;
        std::size_t count = 0;
        if (sizeClass.free != nullptr) {
            head = sizeClass.free;
            SmallBlock* last = head;
            for (count = 1; count < wanted && last->next != nullptr; ++count)
                last = last->next;
            sizeClass.free = last->next;
            last->next = nullptr;
        }
        const std::size_t stride = strideOf(c);
        while (count < wanted && static_cast<std::size_t>(sizeClass.end - sizeClass.carved) >= stride) {
            SmallBlock* block = reinterpret_cast<SmallBlock*>(sizeClass.carved);
            sizeClass.carved += stride;
            block->next = head;
            head = block;
            ++count;
        }
        bin.head = head;
        bin.count = count;
    }

    // Hands the older half of a full bin back to the class.
    __attribute__((noinline)) void spill(std::size_t c, ThreadCache::Bin& bin)
    {
        const std::size_t kept = bin.count / 2;
        SmallBlock* last = bin.head;
        for (std::size_t i = 1; i < kept; ++i)
            last = last->next;
        SmallBlock* first = last->next;
        last->next = nullptr;
        SmallBlock* end = first;
        while (end->next != nullptr)
            end = end->next;
        giveBack(c, first, end);
        bin.count = kept;
    }

    __attribute__((noinline)) void giveBack(std::size_t c, SmallBlock* first, SmallBlock* last)
    {
        SizeClass& sizeClass = m_classes[c];
        Guard guard(sizeClass.lock);
        last->next = sizeClass.free;
        sizeClass.free = first;
    }

    // The calling thread's cache of this heap, made on first use; null if
    // no memory is left for one.
    ThreadCache* cacheOfThread()
    {
        if (ThreadRecord* record = threadRecord)
            for (const ThreadRecord::Recent& recent : record->recent)
                if (recent.heap == m_number)
                    return recent.cache;
        return findOrMakeCache();
    }

    __attribute__((noinline)) ThreadCache* findOrMakeCache()
    {
        std::lock_guard<std::mutex> guard(registryLock);
        ThreadRecord* record = threadRecord;
        if (record == nullptr) {
            pthread_key_t key;
            if (!threadEndKey(key))
                return nullptr;
            record = new (std::nothrow) ThreadRecord();
            if (record == nullptr || pthread_setspecific(key, record) != 0) {
                delete record;
                return nullptr;
            }
            threadRecord = record;
        }
        ThreadCache* cache = record->caches;
        while (cache != nullptr && cache->heap != this)
            cache = cache->nextOfThread;
        if (cache == nullptr) {
            cache = new (std::nothrow) ThreadCache();
            if (cache == nullptr)
                return nullptr;
            cache->heap = this;
            cache->owner = record;
            cache->nextOfHeap = m_caches;
            if (m_caches != nullptr)
                m_caches->previousOfHeap = cache;
            m_caches = cache;
            cache->nextOfThread = record->caches;
            if (record->caches != nullptr)
                record->caches->previousOfThread = cache;
            record->caches = cache;
        }
        record->recent[record->nextRecent++ % ThreadRecord::recentCount] = {m_number, cache};
        return cache;
    }

    void unlinkFromHeap(ThreadCache* cache)
    {
        if (cache->previousOfHeap != nullptr)
            cache->previousOfHeap->nextOfHeap = cache->nextOfHeap;
        else
            m_caches = cache->nextOfHeap;
        if (cache->nextOfHeap != nullptr)
            cache->nextOfHeap->previousOfHeap = cache->previousOfHeap;
    }

    static void unlinkFromThread(ThreadCache* cache)
    {
        if (cache->previousOfThread != nullptr)
            cache->previousOfThread->nextOfThread = cache->nextOfThread;
        else
            cache->owner->caches = cache->nextOfThread;
        if (cache->nextOfThread != nullptr)
            cache->nextOfThread->previousOfThread = cache->previousOfThread;
    }

    // The slow paths stay out of line, so that the fast ones keep few
    // registers to save.
    __attribute__((noinline)) void* allocateInArena(std::size_t bytes, bool zero)
    {
        std::size_t dirty = 0;
        void* payload = arena(threadSlot() % m_arenaCount).allocate(bytes, dirty);
        if (payload != nullptr && zero)
            std::memset(payload, 0, dirty);
        return payload;
    }

    // Looks in this thread's arena first, where its own blocks are.
    __attribute__((noinline)) bool freeInArena(void* payload)
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
    const std::uint64_t m_number;
    const std::uintptr_t m_secret;
    const std::size_t m_arenaCount;
    Arena m_first;
    std::atomic<Arena*> m_arenas[arenaLimit] = {};
    char* m_region = nullptr;
    ThreadCache* m_caches = nullptr;
    SizeClass m_classes[classCount];
};

// A thread's end: its caches go back to their heaps, which are all alive,
// since a heap's destruction takes its caches out of every thread's list.
void endThread(void* pointer)
{
    ThreadRecord* record = static_cast<ThreadRecord*>(pointer);
    {
        std::lock_guard<std::mutex> guard(registryLock);
        while (ThreadCache* cache = record->caches) {
            record->caches = cache->nextOfThread;
            cache->heap->takeBack(cache);
            delete cache;
        }
    }
    threadRecord = nullptr;
    delete record;
}

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
    // Windows rounds the maximum up to whole pages.
    maximumSize = roundUp(maximumSize, pageSize());
    Heap* heap = new (std::nothrow) Heap(maximumSize);
    if (heap == nullptr)
        return fail(ERROR_NOT_ENOUGH_MEMORY, HANDLE(nullptr));
    const std::size_t first = maximumSize != 0 ? maximumSize : std::max(growthStep, initialSize);
    if (!heap->addSegment(first)) {
        delete heap;
        return failFromErrno(HANDLE(nullptr));
    }
    if (maximumSize == 0)
        heap->reserveSmallBlocks();
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
    if (heap->bounded() && bytes > largestFixedBlock)
        return fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID(nullptr));
    void* block = heap->allocate(bytes, (flags & HEAP_ZERO_MEMORY) != 0);
    if (block == nullptr)
        return fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID(nullptr));
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
