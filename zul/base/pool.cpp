// The chunked small-block allocator behind poolAllocate and poolRelease.
//
// Every block lives in a chunk of kPoolChunkBytes, aligned to its size, whose header says
// which thread owns it. A thread allocates and frees in its own chunks without a lock. A
// block freed on another thread is pushed onto its chunk's `remote` list with one
// compare-and-swap; the owner splices that list back when it runs short. When a thread
// ends, its chunks become orphans (their `remote` head holds the kOrphaned tag), handled
// under the global lock: the next live thread that frees into one adopts it. Emptied chunks
// go to a bounded spare list (kPoolSpareChunks); beyond it they are unmapped.
//
// Why this is safe: who may touch a chunk, and when.
//
// 1. A chunk is always in exactly one state: owned (`owner` is a live thread's heap and
//    `remote` is a list, the chunk is on that heap's avail or full list), orphaned (`owner`
//    null, `remote` == kOrphaned, on the global orphan list of its class), spare (on the
//    global spare list, header not in use) or unmapped. Every change of state happens under
//    the global lock: mapping and reuse (newChunkLocked), release (releaseChunkLocked),
//    orphaning by the ending owner (~HeapOwner) and adoption (releaseOrphan).
// 2. The plain header fields (local, bump, end, prev, next, size, used, full) and the free
//    blocks of a chunk are touched only by its owning thread while it is owned, and only
//    under the global lock otherwise. The owner is always the thread that made the last
//    change of state (it took the chunk from the spare list or adopted it, under the lock),
//    and a chunk leaves its owner only through that same thread (release or orphaning,
//    under the lock). The lock therefore orders every plain access of one owner before
//    those of the next, and nothing else reads the plain fields.
// 3. Any other thread touches only the atomics: `owner` (read to find the heap to hint) and
//    `remote` (the push). It does so only while it holds a block of the chunk that it is
//    freeing, and `used` counts that block until the owner has spliced it back, so the
//    chunk cannot be released or reused under it: a chunk is released only at used == 0,
//    read by its owner (or under the lock for an orphan) after all of `remote` was spliced.
//    Once the push has succeeded the freeing thread touches the chunk no more; it may still
//    add to the remote-free hint of the heap it read, and heaps are never freed, so a stale
//    heap only gets a useless hint. poolRelease cannot take a foreign chunk for one of the
//    caller's own: the caller's heap got into `owner` only by the caller's own store, or
//    under the lock before the caller was given that heap, and the last store of `owner`
//    came before the block was handed out, so the caller sees it.
// 4. The push publishes the block's link with release; the owner's exchange takes the list
//    with acquire, so it sees every link before reusing the blocks. The push fails and is
//    retried when `remote` changed in between; a chunk orphaned in between has `remote` ==
//    kOrphaned, so the retry takes the locked path, where the tag is read again.
// 5. An ending thread first hands every chunk over (~HeapOwner, under the lock: it splices
//    `remote` for the last time while swapping in the tag, then releases the empty chunks
//    and orphans the rest), and only then marks itself ended. What it allocates or frees
//    afterwards (later thread-local destructors) goes through the lock as an orphan's would.
//    Its heap goes to the free list under the same lock, with every list empty, and is
//    given to a new thread under that lock again.
// 6. poolRelease tells a chunk block from one of the global operator new by the address
//    bitmap. A block's chunk was marked before the block was handed out, and stays marked
//    until the chunk is unmapped, which needs every block back; an address is marked only
//    while it is part of our mapping, so the C library cannot hand it out meanwhile. The
//    unmapping clears the bit before munmap returns, and the system can map those pages
//    again only after that.
//
// Lock order: the global lock is the pool's only one and the innermost of the library; while
// it is held, only mapping calls and the global operator new (for the address bitmap) run.
#include <pthread.h>
#include <sys/mman.h>
#include <zul/base/pool.h>
#include <zul/base/mutex.h>

#include <atomic>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define ZUL_POOL_BYPASS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZUL_POOL_BYPASS 1
#endif
#endif

namespace zul {
namespace detail {
namespace {

constexpr std::size_t kGrain = 8;
constexpr std::size_t kClasses = kPoolMaxBlock / kGrain + 1;  // class i holds blocks of 8*i
constexpr std::size_t kBatchChunks = 32;                      // chunks mapped at a time: 2 MiB

struct FreeBlock {
    FreeBlock* next;
};

// In Chunk::remote: the chunk has no owning thread, so go through the global lock.
FreeBlock* const kOrphaned = reinterpret_cast<FreeBlock*>(std::uintptr_t(1));

struct Heap;

struct Chunk {
    std::atomic<Heap*> owner;        // null for an orphan; written only under the global lock
    std::atomic<FreeBlock*> remote;  // blocks freed by other threads, or kOrphaned
    FreeBlock* local;                // free blocks ready for the owner
    char* bump;                      // the part never handed out: [bump, end)
    char* end;
    Chunk* prev;  // in the owner's (or the orphans') list of its class
    Chunk* next;
    std::uint32_t size;  // block size
    std::uint32_t used;  // blocks out, counting those still on `remote`
    bool full;           // on its class's full list
};
constexpr std::size_t kHeader = 128;
static_assert(sizeof(Chunk) <= kHeader, "chunk header");

/// A doubly linked list of chunks.
struct ChunkList {
    Chunk* head = nullptr;

    void pushFront(Chunk* c) noexcept {
        c->prev = nullptr;
        c->next = head;
        if (head != nullptr) head->prev = c;
        head = c;
    }
    /// Puts `c` second, so that the first (the one allocated from) stays first.
    void pushSecond(Chunk* c) noexcept {
        if (head == nullptr) return pushFront(c);
        c->prev = head;
        c->next = head->next;
        if (c->next != nullptr) c->next->prev = c;
        head->next = c;
    }
    void unlink(Chunk* c) noexcept {
        if (c->prev != nullptr) {
            c->prev->next = c->next;
        } else {
            head = c->next;
        }
        if (c->next != nullptr) c->next->prev = c->prev;
        c->prev = c->next = nullptr;
    }
};

/// A thread's chunks, per class: those that may have room (the first is allocated from)
/// and those found full. Heaps are never freed: a freeing thread may still signal one after
/// its thread has ended, and the next new thread reuses it.
struct Heap {
    ChunkList avail[kClasses];
    ChunkList full[kClasses];
    std::atomic<std::size_t> remoteFrees{0};  // hint: blocks queued on this heap's chunks
    Heap* nextFree = nullptr;                 // in the global list of unused heaps
};

struct Global {
    Mutex lock;
    ChunkList orphans[kClasses];
    Chunk* spare = nullptr;  // emptied chunks, linked through `next`
    std::size_t spareCount = 0;
    Heap* freeHeaps = nullptr;
    std::atomic<std::size_t> chunks{0};
};

// Never destroyed: blocks may be freed by static destructors that run after it.
Global& global() {
    alignas(Global) static unsigned char storage[sizeof(Global)];
    static Global* const g = [] {
        Global* made = new (storage) Global();
        // A child of fork must not inherit the lock held by a thread it does not have.
        pthread_atfork([] { global().lock.lock(); }, [] { global().lock.unlock(); },
                       [] { global().lock.unlock(); });
        return made;
    }();
    return *g;
}

// ---- which addresses are chunks ----
// One bit per 64 KiB of the 48-bit address space, in leaves made on demand and never freed,
// so that a block of the global operator new handed to poolRelease is told apart from a
// block of a chunk without touching memory around it. Bits change under the global lock.

constexpr unsigned kAddressBits = 48;
constexpr unsigned kChunkShift = 16;
constexpr unsigned kLeafBits = 16;
static_assert(kPoolChunkBytes == std::size_t(1) << kChunkShift, "chunk size");

struct Leaf {
    std::atomic<std::uint64_t> bits[(std::size_t(1) << kLeafBits) / 64];
};
std::atomic<Leaf*> g_leaves[std::size_t(1) << (kAddressBits - kChunkShift - kLeafBits)];

bool isChunk(const void* p) noexcept {
    const std::uintptr_t a = reinterpret_cast<std::uintptr_t>(p);
    if (a >> kAddressBits) return false;
    const std::size_t i = a >> kChunkShift;
    const Leaf* leaf = g_leaves[i >> kLeafBits].load(std::memory_order_acquire);
    if (leaf == nullptr) return false;
    const std::size_t j = i & ((std::size_t(1) << kLeafBits) - 1);
    return (leaf->bits[j / 64].load(std::memory_order_relaxed) >> (j % 64)) & 1;
}

/// Makes sure the leaves for [from, from + bytes) exist; throws std::bad_alloc.
void makeLeavesLocked(std::uintptr_t from, std::size_t bytes) {
    for (std::size_t i = from >> kChunkShift; i <= (from + bytes - 1) >> kChunkShift; ++i) {
        std::atomic<Leaf*>& slot = g_leaves[i >> kLeafBits];
        if (slot.load(std::memory_order_relaxed) == nullptr) {
            Leaf* leaf = new Leaf;
            for (auto& w : leaf->bits) w.store(0, std::memory_order_relaxed);
            slot.store(leaf, std::memory_order_release);
        }
    }
}

void markChunkLocked(const void* c, bool on) noexcept {
    const std::size_t i = reinterpret_cast<std::uintptr_t>(c) >> kChunkShift;
    Leaf* leaf = g_leaves[i >> kLeafBits].load(std::memory_order_relaxed);
    const std::size_t j = i & ((std::size_t(1) << kLeafBits) - 1);
    const std::uint64_t bit = std::uint64_t(1) << (j % 64);
    if (on) {
        leaf->bits[j / 64].fetch_or(bit, std::memory_order_relaxed);
    } else {
        leaf->bits[j / 64].fetch_and(~bit, std::memory_order_relaxed);
    }
}

inline Chunk* chunkOf(void* p) noexcept {
    return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(p) & ~(kPoolChunkBytes - 1));
}

// ---- chunks: mapping, spare list, release (all under the global lock) ----

// Maps a batch of chunks: one is returned, the others go to the spare list. The batch is
// aligned to its size (2 MiB) so that the system may back it with one huge page, and made
// present in one call: a fault per page costs far more, above all in a virtual machine.
// Kernels without either advice fault the pages in as they are touched.
Chunk* mapChunksLocked(Global& g) {
    const std::size_t bytes = kBatchChunks * kPoolChunkBytes;
    void* raw =
        mmap(nullptr, bytes + bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) throw std::bad_alloc();
    const std::uintptr_t from = reinterpret_cast<std::uintptr_t>(raw);
    const std::uintptr_t first = (from + bytes - 1) & ~(bytes - 1);
    if (first > from) munmap(raw, first - from);
    const std::uintptr_t tail = first + bytes;
    if (from + bytes + bytes > tail) {
        munmap(reinterpret_cast<void*>(tail), from + bytes + bytes - tail);
    }
    madvise(reinterpret_cast<void*>(first), bytes, MADV_HUGEPAGE);
    madvise(reinterpret_cast<void*>(first), bytes, MADV_POPULATE_WRITE);
    try {
        makeLeavesLocked(first, bytes);
    } catch (...) {
        munmap(reinterpret_cast<void*>(first), bytes);
        throw;
    }
    for (std::size_t i = 0; i < kBatchChunks; ++i) {
        Chunk* c = reinterpret_cast<Chunk*>(first + i * kPoolChunkBytes);
        markChunkLocked(c, true);
        if (i == 0) continue;
        c->next = g.spare;
        g.spare = c;
        ++g.spareCount;
    }
    g.chunks.fetch_add(kBatchChunks, std::memory_order_relaxed);
    return reinterpret_cast<Chunk*>(first);
}

void unmapChunkLocked(Global& g, Chunk* c) noexcept {
    markChunkLocked(c, false);
    munmap(c, kPoolChunkBytes);
    g.chunks.fetch_sub(1, std::memory_order_relaxed);
}

// An emptied chunk is kept for reuse while the spare list has room, pages and all: mapping
// a chunk again costs a fault or a zeroing per page. Past the bound it is unmapped.
void releaseChunkLocked(Global& g, Chunk* c) noexcept {
    if (g.spareCount < kPoolSpareChunks) {
        c->next = g.spare;
        g.spare = c;
        ++g.spareCount;
        return;
    }
    unmapChunkLocked(g, c);
}

/// An empty chunk for blocks of class `cls`, owned by `owner` (null: an orphan).
Chunk* newChunkLocked(Global& g, Heap* owner, std::size_t cls) {
    Chunk* c = g.spare;
    if (c != nullptr) {
        g.spare = c->next;
        --g.spareCount;
    } else {
        c = mapChunksLocked(g);
    }
    const std::size_t size = cls * kGrain;
    c = new (c) Chunk;
    c->owner.store(owner, std::memory_order_release);
    c->remote.store(owner != nullptr ? nullptr : kOrphaned, std::memory_order_relaxed);
    c->local = nullptr;
    c->bump = reinterpret_cast<char*>(c) + kHeader;
    c->end = c->bump + (kPoolChunkBytes - kHeader) / size * size;
    c->prev = c->next = nullptr;
    c->size = static_cast<std::uint32_t>(size);
    c->used = 0;
    c->full = false;
    return c;
}

inline void* takeBlock(Chunk* c) noexcept {
    if (FreeBlock* b = c->local) {
        c->local = b->next;
        ++c->used;
        return b;
    }
    if (c->bump != c->end) {
        void* p = c->bump;
        c->bump += c->size;
        ++c->used;
        return p;
    }
    return nullptr;
}

inline void putBlock(Chunk* c, void* p) noexcept {
    FreeBlock* b = static_cast<FreeBlock*>(p);
    b->next = c->local;
    c->local = b;
    --c->used;
}

/// Moves the blocks of `list` (a detached remote list) to the chunk's free list.
void splice(Chunk* c, FreeBlock* list) noexcept {
    if (list == nullptr || list == kOrphaned) return;
    std::uint32_t n = 1;
    FreeBlock* tail = list;
    while (tail->next != nullptr) {
        tail = tail->next;
        ++n;
    }
    tail->next = c->local;
    c->local = list;
    c->used -= n;
}

/// The owner takes back the blocks other threads freed into `c`; true when there were any.
inline bool collect(Chunk* c) noexcept {
    if (c->remote.load(std::memory_order_relaxed) == nullptr) return false;
    splice(c, c->remote.exchange(nullptr, std::memory_order_acquire));
    return true;
}

// ---- per-thread heaps ----

struct HeapOwner {
    ~HeapOwner();
};

__attribute__((tls_model("initial-exec"))) thread_local Heap* t_heap = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local bool t_ended = false;
thread_local HeapOwner t_owner;

/// The calling thread's heap, made on first use; null once the thread has ended.
Heap* attach() {
    if (t_ended) return nullptr;
    (void)&t_owner;  // registers the end-of-thread hand-over
    Global& g = global();
    Heap* h;
    {
        Guard_T<Mutex> guard(g.lock);
        h = g.freeHeaps;
        if (h != nullptr) g.freeHeaps = h->nextFree;
    }
    if (h == nullptr) h = new Heap();
    t_heap = h;
    return h;
}

/// Hands every chunk of the ending thread over: empty ones are released, the others become
/// orphans. Taking `remote` over with the tag makes every later foreign free see the orphan.
HeapOwner::~HeapOwner() {
    Heap* h = t_heap;
    t_heap = nullptr;
    t_ended = true;
    if (h == nullptr) return;
    Global& g = global();
    Guard_T<Mutex> guard(g.lock);
    for (std::size_t cls = 1; cls < kClasses; ++cls) {
        for (ChunkList* list : {&h->avail[cls], &h->full[cls]}) {
            while (Chunk* c = list->head) {
                list->unlink(c);
                splice(c, c->remote.exchange(kOrphaned, std::memory_order_acq_rel));
                c->full = false;
                if (c->used == 0) {
                    releaseChunkLocked(g, c);
                } else {
                    c->owner.store(nullptr, std::memory_order_release);
                    g.orphans[cls].pushFront(c);
                }
            }
        }
    }
    h->remoteFrees.store(0, std::memory_order_relaxed);
    h->nextFree = g.freeHeaps;
    g.freeHeaps = h;
}

/// For a thread that has ended (its other thread-local objects may still be going): a
/// block from an orphan chunk, under the global lock.
void* allocateOrphan(std::size_t cls) {
    Global& g = global();
    Guard_T<Mutex> guard(g.lock);
    for (Chunk* c = g.orphans[cls].head; c != nullptr; c = c->next) {
        if (void* p = takeBlock(c)) return p;
    }
    Chunk* c = newChunkLocked(g, nullptr, cls);
    g.orphans[cls].pushFront(c);
    return takeBlock(c);
}

// The slow paths stay out of line, so that the fast paths of poolAllocate and poolRelease
// save no registers.
__attribute__((noinline)) void* allocateSlow(std::size_t cls) {
    Heap* h = t_heap != nullptr ? t_heap : attach();
    if (h == nullptr) return allocateOrphan(cls);
    ChunkList& avail = h->avail[cls];
    ChunkList& full = h->full[cls];
    for (;;) {
        if (Chunk* c = avail.head) {
            collect(c);
            if (void* p = takeBlock(c)) return p;
            avail.unlink(c);
            c->full = true;
            full.pushFront(c);
            continue;
        }
        // Nothing with room: reclaim what other threads freed into full chunks, if they
        // said they did, before taking a new chunk.
        if (h->remoteFrees.exchange(0, std::memory_order_relaxed) != 0) {
            for (Chunk* c = full.head; c != nullptr;) {
                Chunk* next = c->next;
                if (collect(c)) {
                    full.unlink(c);
                    c->full = false;
                    avail.pushFront(c);
                }
                c = next;
            }
            if (avail.head != nullptr) continue;
        }
        Global& g = global();
        Guard_T<Mutex> guard(g.lock);
        avail.pushFront(newChunkLocked(g, h, cls));
    }
}

/// The owner's free that needs more than a push: the chunk leaves the full list, or has
/// become empty and is released unless it is the one being allocated from. Chunks that
/// regain room go behind that one, so that every other chunk is released once empty.
__attribute__((noinline)) void ownerFreeSlow(Heap* h, Chunk* c) noexcept {
    const std::size_t cls = c->size / kGrain;
    if (c->full) {
        h->full[cls].unlink(c);
        c->full = false;
        h->avail[cls].pushSecond(c);
        if (c->used != 0 || h->avail[cls].head == c) return;
    }
    if (c->used == 0 && h->avail[cls].head != c) {
        h->avail[cls].unlink(c);
        Global& g = global();
        Guard_T<Mutex> guard(g.lock);
        releaseChunkLocked(g, c);
    }
}

/// A free into an orphan chunk; false when it stopped being one (adopted meanwhile).
bool releaseOrphan(Chunk* c, void* p) noexcept {
    Heap* h = t_heap;
    if (h == nullptr && !t_ended) {
        try {
            h = attach();
        } catch (...) {
            h = nullptr;  // no heap: the block goes back under the lock below
        }
    }
    Global& g = global();
    Guard_T<Mutex> guard(g.lock);
    if (c->remote.load(std::memory_order_relaxed) != kOrphaned) return false;
    const std::size_t cls = c->size / kGrain;
    g.orphans[cls].unlink(c);
    if (h == nullptr) {
        putBlock(c, p);
        if (c->used == 0) {
            releaseChunkLocked(g, c);
        } else {
            g.orphans[cls].pushFront(c);
        }
        return true;
    }
    // Adopt it: from now on this thread frees into it without a lock.
    c->owner.store(h, std::memory_order_release);
    c->remote.store(nullptr, std::memory_order_release);
    putBlock(c, p);
    if (c->used == 0) {
        releaseChunkLocked(g, c);
    } else {
        h->avail[cls].pushSecond(c);
    }
    return true;
}

/// A free by a thread that does not own the chunk.
__attribute__((noinline)) void releaseForeign(Chunk* c, void* p) noexcept {
    FreeBlock* b = static_cast<FreeBlock*>(p);
    for (;;) {
        FreeBlock* head = c->remote.load(std::memory_order_relaxed);
        if (head == kOrphaned) {
            if (releaseOrphan(c, p)) return;
            continue;
        }
        // The owner is read before the push: once pushed, the block (and so the chunk) may
        // be reclaimed at any moment. Heaps live for ever, so a stale owner is harmless; the
        // acquire pairs with the release that published the owner's heap.
        Heap* owner = c->owner.load(std::memory_order_acquire);
        b->next = head;
        if (c->remote.compare_exchange_weak(head, b, std::memory_order_release,
                                            std::memory_order_relaxed)) {
            if (owner != nullptr) owner->remoteFrees.fetch_add(1, std::memory_order_relaxed);
            return;
        }
    }
}

inline bool bypass(std::size_t size) noexcept {
#ifdef ZUL_POOL_BYPASS
    (void)size;
    return true;
#else
    return size - 1 >= kPoolMaxBlock;  // also true for 0
#endif
}

// Gives a block back to the global operator delete, sized where the compiler offers sized
// deallocation (clang leaves it off by default).
inline void heapRelease(void* p, std::size_t size) noexcept {
#if defined(__cpp_sized_deallocation)
    ::operator delete(p, size);
#else
    (void)size;
    ::operator delete(p);
#endif
}

}  // namespace

void* poolAllocate(std::size_t size) {
    if (bypass(size)) return ::operator new(size);
    const std::size_t cls = (size + kGrain - 1) / kGrain;
    if (Heap* h = t_heap) {
        if (Chunk* c = h->avail[cls].head) {
            if (void* p = takeBlock(c)) return p;
        }
    }
    return allocateSlow(cls);
}

void poolRelease(void* p, std::size_t size) noexcept {
    if (p == nullptr) return;
    if (bypass(size) || !isChunk(p)) return heapRelease(p, size);
    Chunk* c = chunkOf(p);
    Heap* h = t_heap;
    if (h != nullptr && c->owner.load(std::memory_order_relaxed) == h) {
        putBlock(c, p);
        if (c->full || c->used == 0) ownerFreeSlow(h, c);
        return;
    }
    releaseForeign(c, p);
}

void poolTrim() noexcept {
    Global& g = global();
    if (Heap* h = t_heap) {
        for (std::size_t cls = 1; cls < kClasses; ++cls) {
            for (ChunkList* list : {&h->avail[cls], &h->full[cls]}) {
                for (Chunk* c = list->head; c != nullptr;) {
                    Chunk* next = c->next;
                    collect(c);
                    if (c->used == 0) {
                        list->unlink(c);
                        c->full = false;
                        Guard_T<Mutex> guard(g.lock);
                        releaseChunkLocked(g, c);
                    }
                    c = next;
                }
            }
        }
    }
    Guard_T<Mutex> guard(g.lock);
    while (Chunk* c = g.spare) {
        g.spare = c->next;
        unmapChunkLocked(g, c);
    }
    g.spareCount = 0;
}

PoolStats poolStats() noexcept {
    Global& g = global();
    Guard_T<Mutex> guard(g.lock);
    return PoolStats{g.chunks.load(std::memory_order_relaxed), g.spareCount};
}

bool poolActive() noexcept {
#ifdef ZUL_POOL_BYPASS
    return false;
#else
    return true;
#endif
}

}  // namespace detail
}  // namespace zul
