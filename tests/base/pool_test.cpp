// Per-thread block caches: reuse by size, sizes that bypass them, the byte bound, blocks
// freed on another thread, and the chunked stack.
#include <gtest/gtest.h>
#include <zul/base/pool.h>

#include <cstdint>
#include <thread>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define ZUL_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZUL_TEST_ASAN 1
#endif
#endif
#ifdef ZUL_TEST_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace {

using zul::detail::poolAllocate;
using zul::detail::poolCachedBytes;
using zul::detail::poolRelease;
using zul::detail::poolTrim;

// Every test starts and ends with an empty cache on its thread.
class Pool : public ::testing::Test {
  protected:
    void SetUp() override { poolTrim(); }
    void TearDown() override { poolTrim(); }
};

TEST_F(Pool, BlocksAreReusedBySizeLastInFirstOut) {
    void* a = poolAllocate(64);
    void* b = ::operator new(64);  // a block of the global operator new is taken back too
    void* c = poolAllocate(136);
    poolRelease(a, 64);
    poolRelease(b, 64);
    poolRelease(c, 136);
    poolRelease(nullptr, 64);
    EXPECT_EQ(poolCachedBytes(), 64u + 64u + 136u);
    EXPECT_EQ(poolAllocate(136), c);
    EXPECT_EQ(poolAllocate(64), b);
    EXPECT_EQ(poolAllocate(64), a);
    EXPECT_EQ(poolCachedBytes(), 0u);
    ::operator delete(a);  // and a cached block is an ordinary one
    poolRelease(b, 64);
    poolRelease(c, 136);
#ifdef ZUL_TEST_ASAN
    // Cached blocks are poisoned but for their link.
    EXPECT_FALSE(__asan_address_is_poisoned(b));
    EXPECT_TRUE(__asan_address_is_poisoned(static_cast<char*>(b) + 8));
    EXPECT_TRUE(__asan_address_is_poisoned(static_cast<char*>(c) + 135));
#endif
    poolTrim();
    EXPECT_EQ(poolCachedBytes(), 0u);
}

TEST_F(Pool, OnlyMultiplesOfEightUpToTheLimitAreCached) {
    struct Row {
        std::size_t size;
        bool cached;
    };
    const Row rows[] = {{8, true}, {1024, true}, {1032, false}, {12, false}, {0, false}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.size);
        poolRelease(poolAllocate(r.size), r.size);
        EXPECT_EQ(poolCachedBytes(), r.cached ? r.size : 0u);
        poolTrim();
    }
}

TEST_F(Pool, ThreadCacheStopsAtItsByteBound) {
    constexpr std::size_t kSize = 1024;
    std::vector<void*> blocks(zul::detail::kPoolThreadBytes / kSize + 16);
    for (void*& p : blocks) p = ::operator new(kSize);
    for (void* p : blocks) poolRelease(p, kSize);
    EXPECT_EQ(poolCachedBytes(), zul::detail::kPoolThreadBytes);
}

TEST_F(Pool, BlocksFreedOnAnotherThreadJoinThatThreadsCache) {
    std::vector<void*> made(100);
    for (std::size_t i = 0; i < made.size(); ++i) {
        made[i] = poolAllocate(96);
        *static_cast<std::uint64_t*>(made[i]) = i;
    }
    std::vector<void*> reused;
    std::size_t cachedThere = 0;
    std::thread other([&] {
        for (std::size_t i = 0; i < made.size(); ++i) {
            EXPECT_EQ(*static_cast<std::uint64_t*>(made[i]), i);
            poolRelease(made[i], 96);
        }
        cachedThere = poolCachedBytes();
        for (int i = 0; i < 50; ++i) reused.push_back(poolAllocate(96));
        for (void* p : reused) poolRelease(p, 96);
        // The cache goes back to the heap when this thread ends (a leak checker would see).
    });
    other.join();
    EXPECT_EQ(cachedThere, 100u * 96u);
    EXPECT_EQ(poolCachedBytes(), 0u);  // nothing reached this thread's cache
    for (std::size_t i = 0; i < reused.size(); ++i) EXPECT_EQ(reused[i], made[99 - i]);
}

TEST_F(Pool, StackKeepsOrderAcrossBlocks) {
    // Sizes around one block (63 values) and several.
    for (std::size_t n : {0u, 1u, 62u, 63u, 64u, 127u, 1000u}) {
        SCOPED_TRACE(n);
        {
            zul::detail::PoolStack<std::size_t> s;
            for (std::size_t i = 0; i < n; ++i) s.push(i);
            for (std::size_t i = n; i-- > 0;) {
                ASSERT_FALSE(s.empty());
                EXPECT_EQ(s.top(), i);
                EXPECT_EQ(s.pop(), i);
            }
            EXPECT_TRUE(s.empty());
            for (std::size_t i = 0; i < n; ++i) s.push(i);  // the destructor frees the rest
        }
        // Its blocks came back and were reused for the next size.
        EXPECT_EQ(poolCachedBytes(), (n + 62) / 63 * 512);
    }
}

}  // namespace
