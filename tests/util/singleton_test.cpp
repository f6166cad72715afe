// Singleton_T: one object under a creation race, destroy and re-creation, failed creation.
#include <gtest/gtest.h>
#include <zul/base/mlcheck.h>
#include <zul/util/singleton_T.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

struct Racy {
    static inline std::atomic<int> made{0};
    static inline std::atomic<int> gone{0};
    int value = 42;
    Racy() {
        ++made;
        std::this_thread::yield();  // widen the window in which a second creation could start
    }
    ~Racy() { ++gone; }
};

struct Fragile {
    static inline int failuresLeft = 0;
    Fragile() {
        if (failuresLeft > 0) {
            --failuresLeft;
            throw std::runtime_error("not yet");
        }
    }
};

struct Tracked {};
struct NeverMade {};

#define SITE __FILE__, __LINE__, __func__

TEST(Singleton, SixteenRacingThreadsGetOneObject) {
    using S = zul::Singleton_T<Racy>;
    constexpr int kThreads = 16;
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<Racy*> seen(kThreads, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
            Racy* p = S::instance(SITE);
            EXPECT_EQ(p->value, 42);  // published complete
            seen[i] = p;
        });
    }
    while (ready.load() != kThreads) std::this_thread::yield();
    go.store(true, std::memory_order_release);
    for (auto& t : threads) t.join();

    EXPECT_EQ(Racy::made.load(), 1);
    for (Racy* p : seen) EXPECT_EQ(p, seen[0]);
    EXPECT_EQ(&S::instance(SITE), &S::instance(SITE));  // the one static pointer

    S::destroy();
    EXPECT_EQ(Racy::gone.load(), 1);
    EXPECT_NE(S::instance(SITE), nullptr);  // a fresh object
    EXPECT_EQ(Racy::made.load(), 2);
    S::destroy();
    EXPECT_EQ(Racy::gone.load(), 2);
}

TEST(Singleton, DestroyBeforeCreationAndThrowingConstructor) {
    zul::Singleton_T<NeverMade>::destroy();  // never created: a no-op
    zul::Singleton_T<NeverMade>::destroy();
    EXPECT_NE(zul::Singleton_T<NeverMade>::instance(SITE), nullptr);
    zul::Singleton_T<NeverMade>::destroy();

    // A failed creation leaves the pointer null, so the next call tries again.
    using S = zul::Singleton_T<Fragile>;
    Fragile::failuresLeft = 2;
    EXPECT_THROW(S::instance(SITE), std::runtime_error);
    EXPECT_THROW(S::instance(SITE), std::runtime_error);
    Fragile* p = S::instance(SITE);
    EXPECT_NE(p, nullptr);
    EXPECT_EQ(S::instance(SITE), p);
    S::destroy();
}

TEST(Singleton, CreationAndDestroyAreSeenByTheLeakChecker) {
    zul::MemLeakChecker::destroy();
    zul::MemLeakChecker* m = zul::MemLeakChecker::instance();
    m->start();
    zul::Singleton_T<Tracked>::instance("tests/singleton", 12, "make");
    EXPECT_EQ(m->count(zul::Current("tests/singleton", 12, "make")), 1u);
    zul::Singleton_T<Tracked>::destroy();
    EXPECT_EQ(m->size(), 0u);
    zul::MemLeakChecker::destroy();
}

}  // namespace
