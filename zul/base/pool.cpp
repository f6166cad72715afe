// The per-thread block caches behind poolAllocate and poolRelease. Each thread touches only
// its own cache, so nothing is locked; a block freed on another thread than the one that
// made it simply joins the freeing thread's cache, since every cached block is an ordinary
// block of the global operator new.
#include <zul/base/pool.h>

#if defined(__SANITIZE_ADDRESS__)
#define ZUL_POOL_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZUL_POOL_ASAN 1
#endif
#endif

#ifdef ZUL_POOL_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace zul {
namespace detail {
namespace {

constexpr std::size_t kGrain = 8;
constexpr std::size_t kClasses = kPoolMaxBlock / kGrain + 1;

struct FreeBlock {
    FreeBlock* next;
};

/// One free list per block size, and the bytes they hold together.
struct Cache {
    FreeBlock* head[kClasses];
    std::size_t bytes;
};

// Gives a block of `size` bytes back to the global operator delete, sized where the
// compiler offers sized deallocation (clang leaves it off by default).
inline void heapRelease(void* p, std::size_t size) noexcept {
#if defined(__cpp_sized_deallocation)
    ::operator delete(p, size);
#else
    (void)size;
    ::operator delete(p);
#endif
}

inline bool cacheable(std::size_t size) noexcept {
    return size != 0 && size <= kPoolMaxBlock && size % kGrain == 0;
}

// A cached block is poisoned but for its link, so that a use after release is still caught
// by AddressSanitizer.
inline void poison(void* p, std::size_t size) noexcept {
#ifdef ZUL_POOL_ASAN
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(p) + sizeof(FreeBlock), size - sizeof(FreeBlock));
#else
    (void)p;
    (void)size;
#endif
}

inline void unpoison(void* p, std::size_t size) noexcept {
#ifdef ZUL_POOL_ASAN
    ASAN_UNPOISON_MEMORY_REGION(p, size);
#else
    (void)p;
    (void)size;
#endif
}

void drain(Cache& c) noexcept {
    for (std::size_t i = 1; i < kClasses; ++i) {
        const std::size_t size = i * kGrain;
        while (FreeBlock* b = c.head[i]) {
            c.head[i] = b->next;
            unpoison(b, size);
            heapRelease(b, size);
        }
    }
    c.bytes = 0;
}

/// Owns the calling thread's cache and gives it back to the heap when the thread ends.
struct CacheOwner {
    Cache cache{};
    ~CacheOwner();
};

// The fast paths read only these, which need no initialisation: the cache of this thread
// (null until its first release, and again once the thread has ended), whether the thread
// has ended (blocks then go straight to the heap), and how many blocks it handed to the heap
// because its cache was full.
__attribute__((tls_model("initial-exec"))) thread_local Cache* t_cache = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local bool t_ended = false;
__attribute__((tls_model("initial-exec"))) thread_local std::size_t t_spilled = 0;

// Every this many blocks handed to the heap, one request of kSettleRequest bytes: the size
// from which glibc first merges the small blocks freed so far (see poolRelease).
constexpr std::size_t kSpillsPerSettle = 4096;
constexpr std::size_t kSettleRequest = 4096;

thread_local CacheOwner t_owner;

CacheOwner::~CacheOwner() {
    t_cache = nullptr;
    t_ended = true;
    drain(cache);
}

/// The calling thread's cache, made on first use; null once the thread has ended.
Cache* attach() noexcept {
    if (t_ended) return nullptr;
    t_cache = &t_owner.cache;
    return t_cache;
}

}  // namespace

void* poolAllocate(std::size_t size) {
    Cache* c = t_cache;
    if (c != nullptr && cacheable(size)) {
        FreeBlock*& head = c->head[size / kGrain];
        if (FreeBlock* b = head) {
            head = b->next;
            c->bytes -= size;
            unpoison(b, size);
            // The next block of this size is handed out soon and written at once; start
            // fetching it now (the free list is seldom in cache).
            __builtin_prefetch(head, 1);
            return b;
        }
    }
    return ::operator new(size);
}

void poolRelease(void* p, std::size_t size) noexcept {
    if (p == nullptr) return;
    if (cacheable(size)) {
        Cache* c = t_cache;
        if (c == nullptr) c = attach();
        if (c != nullptr && c->bytes + size <= kPoolThreadBytes) {
            FreeBlock* b = static_cast<FreeBlock*>(p);
            FreeBlock*& head = c->head[size / kGrain];
            b->next = head;
            head = b;
            c->bytes += size;
            poison(b, size);
            return;
        }
    }
    heapRelease(p, size);
    // glibc keeps small freed blocks unmerged until it serves a large request; a big tree
    // that overflows the cache would otherwise leave the heap in scattered pieces, from
    // which the next tree is built slowly and far apart. Make such a request now and then.
    if (++t_spilled % kSpillsPerSettle == 0) {
        try {
            ::operator delete(::operator new(kSettleRequest));
        } catch (...) {
        }
    }
}

void poolTrim() noexcept {
    if (t_cache != nullptr) drain(*t_cache);
}

std::size_t poolCachedBytes() noexcept {
    return t_cache != nullptr ? t_cache->bytes : 0;
}

}  // namespace detail
}  // namespace zul
