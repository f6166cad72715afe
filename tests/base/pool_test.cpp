// The chunked small-block allocator: reuse by size, requests that bypass it, blocks freed
// on other threads, chunks of ended threads, frees during thread teardown, and the stack.
#include <gtest/gtest.h>
#include <zul/base/pool.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace {

using zul::detail::poolAllocate;
using zul::detail::poolRelease;
using zul::detail::poolStats;
using zul::detail::poolTrim;

// Chunks that threads hold (not spare).
std::size_t chunksHeld() {
    const zul::detail::PoolStats s = poolStats();
    return s.chunks - s.spareChunks;
}

// Chunks holding live blocks, after the calling thread and the spare list let go of theirs.
std::size_t chunksInUse() {
    poolTrim();
    return chunksHeld();
}

class Pool : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!zul::detail::poolActive()) GTEST_SKIP() << "every block goes to operator new here";
        base_ = chunksInUse();
    }
    std::size_t base_ = 0;
};

TEST_F(Pool, BlocksAreReusedBySizeAndForeignBlocksGoBack) {
    void* a = poolAllocate(64);
    void* b = poolAllocate(60);  // rounded up to 64: the same kind of block
    void* c = poolAllocate(136);
    poolRelease(a, 64);
    poolRelease(b, 60);
    poolRelease(c, 136);
    poolRelease(nullptr, 64);
    EXPECT_EQ(poolAllocate(136), c);
    EXPECT_EQ(poolAllocate(64), b);
    EXPECT_EQ(poolAllocate(64), a);
    poolRelease(a, 64);
    poolRelease(b, 64);
    poolRelease(c, 136);
    // Blocks of the global operator new, and sizes outside 1..1024, never enter a chunk.
    for (std::size_t size : {8u, 1024u}) poolRelease(::operator new(size), size);
    for (std::size_t size : {0u, 1025u, 4096u}) {
        void* p = poolAllocate(size);
        EXPECT_EQ(chunksInUse(), base_) << size;
        poolRelease(p, size);
    }
    for (std::size_t size : {1u, 1024u}) {
        void* p = poolAllocate(size);
        EXPECT_EQ(chunksInUse(), base_ + 1) << size;
        poolRelease(p, size);
    }
    EXPECT_EQ(chunksInUse(), base_);
}

TEST_F(Pool, EmptiedChunksAreReleasedWithoutATrim) {
    // Freed in the order made and in the reverse order: either way only the chunk being
    // allocated from may stay.
    constexpr std::size_t kSize = 256, kBlocks = 4000;  // about 16 chunks
    for (bool reverse : {false, true}) {
        std::vector<void*> made(kBlocks);
        for (void*& p : made) p = poolAllocate(kSize);
        EXPECT_GE(chunksHeld(), base_ + 15);
        if (reverse) std::reverse(made.begin(), made.end());
        for (void* p : made) poolRelease(p, kSize);
        EXPECT_LE(chunksHeld(), base_ + 1) << reverse;
    }
}

TEST_F(Pool, BlocksFreedElsewhereAreReclaimedByTheOwner) {
    constexpr std::size_t kSize = 96, kBlocks = 5000;  // several chunks
    std::vector<void*> made(kBlocks);
    for (std::size_t i = 0; i < kBlocks; ++i) {
        made[i] = poolAllocate(kSize);
        std::memset(made[i], 0x5a, kSize);
    }
    const std::size_t inUse = chunksInUse();
    EXPECT_GT(inUse, base_ + 5);
    std::thread([&] {
        for (void* p : made) poolRelease(p, kSize);
    }).join();
    // The same number again comes from the blocks the other thread gave back.
    for (std::size_t i = 0; i < kBlocks; ++i) made[i] = poolAllocate(kSize);
    EXPECT_EQ(chunksInUse(), inUse);
    for (void* p : made) poolRelease(p, kSize);
    EXPECT_EQ(chunksInUse(), base_);
}

TEST_F(Pool, ChunksOfAnEndedThreadAreAdoptedAndEmptied) {
    constexpr std::size_t kSize = 136, kBlocks = 3000;
    std::vector<void*> made(kBlocks);
    std::thread([&] {
        for (void*& p : made) p = poolAllocate(kSize);
        poolRelease(made.back(), kSize);  // a block freed by its owner
        made.pop_back();
    }).join();
    EXPECT_GT(chunksInUse(), base_);  // the live blocks keep their chunks
    // Freed on two other threads at once; the chunks change owner as they go.
    std::thread first([&] {
        for (std::size_t i = 0; i < made.size(); i += 2) poolRelease(made[i], kSize);
        poolTrim();
    });
    std::thread second([&] {
        for (std::size_t i = 1; i < made.size(); i += 2) poolRelease(made[i], kSize);
        poolTrim();
    });
    first.join();
    second.join();
    EXPECT_EQ(chunksInUse(), base_);
}

// Made on a thread's first use, after which the pool's own thread state is made; so it is
// destroyed after that state and works with a thread that has ended.
struct LateUser {
    void* kept = nullptr;
    ~LateUser() {
        void* p = poolAllocate(48);
        std::memset(p, 1, 48);
        poolRelease(p, 48);
        poolRelease(kept, 48);
    }
};
thread_local LateUser t_late;

TEST_F(Pool, ThreadTeardownStillAllocatesAndFrees) {
    std::thread([] {
        t_late.kept = nullptr;  // constructs it first
        t_late.kept = poolAllocate(48);
    }).join();
    EXPECT_EQ(chunksInUse(), base_);
}

TEST_F(Pool, ManyThreadsTradeBlocks) {
    // Each thread makes blocks of random sizes, fills them with a pattern and hands some to
    // the next thread, which checks and frees them.
    constexpr int kThreads = 4, kRounds = 20000;
    struct Box {
        std::mutex m;
        std::vector<std::pair<void*, std::size_t>> blocks;
    };
    std::vector<Box> boxes(kThreads);
    std::atomic<int> bad{0};
    auto check = [&](void* p, std::size_t size) {
        const unsigned char want = static_cast<unsigned char>(size);
        for (std::size_t i = 0; i < size; ++i) {
            if (static_cast<unsigned char*>(p)[i] != want) ++bad;
        }
        poolRelease(p, size);
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 rng(t);
            std::vector<std::pair<void*, std::size_t>> mine;
            for (int r = 0; r < kRounds; ++r) {
                const std::size_t size = 1 + rng() % zul::detail::kPoolMaxBlock;
                void* p = poolAllocate(size);
                std::memset(p, static_cast<unsigned char>(size), size);
                if (rng() % 2) {
                    std::lock_guard<std::mutex> g(boxes[(t + 1) % kThreads].m);
                    boxes[(t + 1) % kThreads].blocks.emplace_back(p, size);
                } else {
                    mine.emplace_back(p, size);
                }
                if (r % 64 == 0) {
                    std::vector<std::pair<void*, std::size_t>> got;
                    {
                        std::lock_guard<std::mutex> g(boxes[t].m);
                        got.swap(boxes[t].blocks);
                    }
                    for (auto& b : got) check(b.first, b.second);
                    for (auto& b : mine) check(b.first, b.second);
                    mine.clear();
                }
            }
            for (auto& b : mine) check(b.first, b.second);
        });
    }
    for (std::thread& t : threads) t.join();
    for (Box& box : boxes) {
        for (auto& b : box.blocks) check(b.first, b.second);
    }
    EXPECT_EQ(bad.load(), 0);
    EXPECT_EQ(chunksInUse(), base_);
}

TEST_F(Pool, ShortLivedThreadsFreeEachOthersBlocks) {
    // Each thread makes blocks, trades them for those left by the thread before and frees
    // those: their maker may still run (remote frees) or have ended (orphaned chunks,
    // adopted by the freeing thread), and ends itself with its own blocks out.
    constexpr int kRounds = 40, kThreads = 6, kBlocks = 300;
    struct Block {
        void* p;
        std::size_t size;
    };
    std::mutex m;
    std::vector<Block> pending;
    std::atomic<int> bad{0};
    auto release = [&bad](Block const& b) {
        const unsigned char want = static_cast<unsigned char>(b.size);
        for (std::size_t i = 0; i < b.size; ++i) {
            if (static_cast<unsigned char*>(b.p)[i] != want) ++bad;
        }
        poolRelease(b.p, b.size);
    };
    for (int round = 0; round < kRounds; ++round) {
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, seed = round * kThreads + t] {
                std::mt19937 rng(seed);
                std::vector<Block> blocks(kBlocks);
                for (Block& b : blocks) {
                    b.size = 8 + rng() % 200;
                    b.p = poolAllocate(b.size);
                    std::memset(b.p, static_cast<unsigned char>(b.size), b.size);
                }
                {
                    std::lock_guard<std::mutex> g(m);
                    blocks.swap(pending);
                }
                for (Block const& b : blocks) release(b);
            });
        }
        for (std::thread& t : threads) t.join();
    }
    for (Block const& b : pending) release(b);
    EXPECT_EQ(bad.load(), 0);
    EXPECT_EQ(chunksInUse(), base_);
}

TEST(PoolStack, KeepsOrderAcrossBlocks) {
    // Sizes around one block (63 values) and several.
    for (std::size_t n : {0u, 1u, 62u, 63u, 64u, 127u, 1000u}) {
        SCOPED_TRACE(n);
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
}

}  // namespace
