// Per-thread caches of freed small blocks in front of the global operator new, for the
// objects the library makes and drops by the hundred thousand (value-tree nodes and values).
#pragma once

#include <zul/base/api.h>

#include <cstddef>
#include <new>

namespace zul {
namespace detail {

/// Blocks of at most this many bytes, in multiples of 8, are cached; others go straight to
/// the global operator new and delete.
constexpr std::size_t kPoolMaxBlock = 1024;
/// The most a thread's cache holds, in bytes, counting all block sizes together; blocks
/// freed beyond it go back to the heap. Enough for the trees of everyday documents; a
/// larger bound would keep the pieces of a big tree scattered through the heap long after
/// it is gone, which slows every other user of the heap.
constexpr std::size_t kPoolThreadBytes = std::size_t(4) << 20;

/// A block of `size` bytes: one the calling thread freed earlier, or ::operator new(size).
/// Throws std::bad_alloc like the operator.
ZUL_API void* poolAllocate(std::size_t size);

/// Takes back a block of `size` bytes that came from poolAllocate(size) or from
/// ::operator new(size), on any thread: the calling thread keeps it for its next
/// poolAllocate of that size while its cache has room, otherwise it goes to
/// ::operator delete (with, every few thousand such blocks, one larger request that lets
/// the heap merge them). Null is ignored. A thread's cache goes back to the heap when the
/// thread ends.
ZUL_API void poolRelease(void* p, std::size_t size) noexcept;

/// Gives every block the calling thread holds back to the heap.
ZUL_API void poolTrim() noexcept;

/// The bytes the calling thread holds in its cache.
ZUL_API std::size_t poolCachedBytes() noexcept;

/// A standard allocator over the caches for node-based containers: single objects come
/// from poolAllocate, arrays from the global operator new.
template <class T>
struct PoolAllocator {
    using value_type = T;

    PoolAllocator() noexcept = default;
    template <class U>
    PoolAllocator(const PoolAllocator<U>&) noexcept {}

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

/// A last-in first-out stack of trivially copyable values kept in blocks from the caches, so
/// that however many it holds it never asks the heap for one large piece.
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
