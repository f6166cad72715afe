// A small-block allocator for the objects the library makes and drops by the hundred
// thousand (value-tree nodes, values and index entries): each thread carves its blocks from
// its own 64 KiB chunks, so building and destroying a tree takes no lock and leaves the C
// library's heap untouched.
#pragma once

#include <zul/base/api.h>

#include <cstddef>
#include <new>

namespace zul {
namespace detail {

/// Requests of 1 to this many bytes are served from chunks, rounded up to a multiple of 8;
/// others go straight to the global operator new and delete.
constexpr std::size_t kPoolMaxBlock = 1024;
/// The size and alignment of a chunk; a block's chunk is found from its address.
constexpr std::size_t kPoolChunkBytes = std::size_t(64) << 10;
/// How many emptied chunks the process keeps for reuse (64 MiB); more are unmapped. A tree
/// of up to some 250,000 nodes is thus rebuilt without asking the system for memory, whose
/// fresh pages cost a fault or a zeroing each. poolTrim unmaps them all at once.
constexpr std::size_t kPoolSpareChunks = 1024;

/// A block of `size` bytes, aligned to 8 (so only for types aligned to at most 8). Throws
/// std::bad_alloc when no memory is left. Not thread-bound: poolRelease may take it back on any
/// thread.
ZUL_API void* poolAllocate(std::size_t size);

/// Takes back a block of `size` bytes that poolAllocate(size) or the global operator new
/// returned, on any thread. A block freed by its
/// chunk's owning thread is reusable at once; one freed elsewhere is queued on its chunk
/// without a lock and reclaimed by the owner when it next runs short of blocks of that
/// size, trims or ends. A chunk whose blocks are all back is emptied for reuse. Null is
/// ignored.
ZUL_API void poolRelease(void* p, std::size_t size) noexcept;

/// Unmaps the emptied chunks the process keeps, and those of the calling thread that hold no
/// live block.
ZUL_API void poolTrim() noexcept;

/// Chunk counts of the whole process, for tests and diagnostics.
struct PoolStats {
    std::size_t chunks;       ///< mapped: in use or kept for reuse
    std::size_t spareChunks;  ///< emptied and kept for reuse
};
ZUL_API PoolStats poolStats() noexcept;

/// False in builds under AddressSanitizer, where every request goes to the global operator
/// new so that the sanitizer sees each block.
ZUL_API bool poolActive() noexcept;

/// A standard allocator over the chunks for node-based containers: single objects come
/// from poolAllocate, arrays from the global operator new.
template <class T>
struct PoolAllocator {
    using value_type = T;

    PoolAllocator() noexcept = default;
    template <class U>
    PoolAllocator(const PoolAllocator<U>&) noexcept {}

    static_assert(alignof(T) <= 8, "pool blocks are aligned to 8");

    T* allocate(std::size_t n) {
        if (n == 1) return static_cast<T*>(poolAllocate(sizeof(T)));
        if (n > std::size_t(-1) / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(::operator new(n * sizeof(T)));
    }
    void deallocate(T* p, std::size_t n) noexcept {
        if (n == 1) {
            poolRelease(p, sizeof(T));
        } else {
            ::operator delete(p);
        }
    }

    template <class U>
    bool operator==(const PoolAllocator<U>&) const noexcept {
        return true;
    }
    template <class U>
    bool operator!=(const PoolAllocator<U>&) const noexcept {
        return false;
    }
};

/// A last-in first-out stack of trivially copyable values kept in pool blocks, so that
/// however many it holds it never asks the heap for one large piece.
template <class T>
class PoolStack {
  public:
    PoolStack() = default;
    PoolStack(const PoolStack&) = delete;
    PoolStack& operator=(const PoolStack&) = delete;
    ~PoolStack() {
        while (top_ != nullptr) dropBlock();
    }

    bool empty() const noexcept { return top_ == nullptr; }
    void push(T v) {
        if (top_ == nullptr || count_ == kPerBlock) addBlock();
        top_->at[count_++] = v;
    }
    /// The value pushed last; the stack must not be empty.
    T top() const noexcept { return top_->at[count_ - 1]; }
    /// Removes and returns the value pushed last; the stack must not be empty.
    T pop() noexcept {
        const T v = top_->at[--count_];
        if (count_ == 0) dropBlock();
        return v;
    }

  private:
    static constexpr std::size_t kBlockBytes = 512;
    static constexpr std::size_t kPerBlock = (kBlockBytes - sizeof(void*)) / sizeof(T);
    struct Block {
        Block* below;
        T at[kPerBlock];
    };
    static_assert(sizeof(Block) <= kPoolMaxBlock && sizeof(Block) % 8 == 0, "cached block size");

    void addBlock() {
        Block* b = static_cast<Block*>(poolAllocate(sizeof(Block)));
        b->below = top_;
        top_ = b;
        count_ = 0;
    }
    void dropBlock() noexcept {
        Block* b = top_;
        top_ = b->below;
        count_ = top_ != nullptr ? kPerBlock : 0;
        poolRelease(b, sizeof(Block));
    }

    Block* top_ = nullptr;
    std::size_t count_ = 0;  ///< values in the top block
};

}  // namespace detail
}  // namespace zul
