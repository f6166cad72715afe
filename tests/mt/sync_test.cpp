// Mutex, guard, condition and monitor: notification batching, late waiters, time-outs.
#include <gtest/gtest.h>
#include <zul/mt/sync.h>

#include <chrono>
#include <limits>
#include <thread>
#include <vector>

#include "mt/mt_test_support.h"

namespace {

using Mon = zul::Monitor<zul::Mutex>;
using MonGuard = zul::Guard_T<Mon>;
using Clock = std::chrono::steady_clock;
using zul_test::Counter;

long long elapsedMs(Clock::time_point since) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count();
}

// Tries the lock from another thread, so that a held non-recursive mutex is not re-entered.
template <class L>
bool tryLockElsewhere(L const& l) {
    bool got = false;
    std::thread([&] {
        got = l.tryLock();
        if (got) l.unlock();
    }).join();
    return got;
}

TEST(MtGuard, HoldsUntilReleasedOrDestroyed) {
    zul::Mutex m;
    Mon mon;
    {
        zul::Guard_T<zul::Mutex> g(m);
        MonGuard h(mon);
        EXPECT_FALSE(tryLockElsewhere(m));
        EXPECT_FALSE(tryLockElsewhere(mon));
        g.release();
        EXPECT_TRUE(tryLockElsewhere(m));
    }
    EXPECT_TRUE(tryLockElsewhere(mon));
}

// `n` threads waiting on one monitor. Each counts itself under the monitor lock and keeps
// the lock until its wait releases it, so once the count is complete, taking the lock
// proves that every one of them is waiting.
class Waiters {
  public:
    explicit Waiters(int n) : n_(n) {
        for (int i = 0; i < n; ++i) {
            threads_.emplace_back([this] {
                MonGuard g(mon_);
                arrived_.add();
                mon_.wait();
                woken_.add();
            });
        }
        EXPECT_TRUE(arrived_.waitFor(n));
    }
    ~Waiters() {
        {
            MonGuard g(mon_);
            mon_.notifyAll();
        }
        for (auto& t : threads_) t.join();
        EXPECT_EQ(woken_.value(), n_);
    }

    Mon const& mon() const { return mon_; }
    Counter& woken() { return woken_; }

  private:
    int n_;
    Mon mon_;
    Counter arrived_, woken_;
    std::vector<std::thread> threads_;
};

TEST(MtMonitor, NotificationsAreCountedAndPostedAtUnlock) {
    constexpr int kWaiters = 3;
    struct Row {
        char const* name;
        std::vector<int> calls;  // 1 = notify(), -1 = notifyAll()
        int woken;
    };
    Row const rows[] = {
        {"one notify", {1}, 1},
        {"two notifies", {1, 1}, 2},
        {"notify all", {-1}, kWaiters},
        {"notify then notify all", {1, -1}, kWaiters},
        {"notify all is not lowered by a later notify", {-1, 1}, kWaiters},
        {"nothing", {}, 0},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        Waiters w(kWaiters);
        {
            MonGuard g(w.mon());
            for (int c : row.calls) c == -1 ? w.mon().notifyAll() : w.mon().notify();
            // Nobody can be woken into a lock that is still held.
            EXPECT_EQ(w.woken().value(), 0);
        }
        EXPECT_TRUE(w.woken().waitFor(row.woken));
        if (row.woken < kWaiters) {
            EXPECT_FALSE(w.woken().waitFor(row.woken + 1, std::chrono::milliseconds(200)));
        }
    }
}

TEST(MtMonitor, WaitPostsPendingNotificationsFirst) {
    Waiters w(2);
    {
        MonGuard g(w.mon());
        w.mon().notify();
        // The pending notification goes to a thread already waiting, not to this wait.
        EXPECT_FALSE(w.mon().timedWait(zul::Time::milliSeconds(50)));
    }
    EXPECT_TRUE(w.woken().waitFor(1));
    EXPECT_FALSE(w.woken().waitFor(2, std::chrono::milliseconds(200)));
}

TEST(MtMonitor, WaiterArrivingAfterTheUnlockIsNotWoken) {
    Mon mon;
    {
        MonGuard g(mon);
        mon.notifyAll();
    }
    bool woken = true;
    std::thread late([&] {
        MonGuard g(mon);
        woken = mon.timedWait(zul::Time::milliSeconds(100));
    });
    late.join();
    EXPECT_FALSE(woken);
}

TEST(MtMonitor, TimedWaitTimesOut) {
    struct Row {
        long long ms;
        long long atLeastMs;
    };
    Row const rows[] = {{-5000, 0}, {0, 0}, {30, 28}, {120, 118}};
    Mon mon;
    for (Row const& row : rows) {
        SCOPED_TRACE(row.ms);
        MonGuard g(mon);
        auto start = Clock::now();
        EXPECT_FALSE(mon.timedWait(zul::Time::milliSeconds(row.ms)));
        long long took = elapsedMs(start);
        EXPECT_GE(took, row.atLeastMs);
        EXPECT_LT(took, row.atLeastMs + 5000);
    }
}

TEST(MtMonitor, NotifiedTimedWaitReturnsTrueEvenWithAHugeTimeOut) {
    long long const huge[] = {std::numeric_limits<long long>::max(), 3600LL * 1000000LL};
    for (long long us : huge) {
        Mon mon;
        MonGuard g(mon);
        // The notifier gets the lock only once this thread's wait has released it.
        std::thread notifier([&] {
            MonGuard n(mon);
            mon.notifyAll();
        });
        auto start = Clock::now();
        EXPECT_TRUE(mon.timedWait(zul::Time(us)));
        EXPECT_LT(elapsedMs(start), 5000);
        g.release();
        notifier.join();
    }
}

TEST(MtCondition, SignalAndTimeOutOnABoundMutex) {
    zul::Mutex m;
    zul::ConditionVariable<zul::Mutex> cond(m);
    m.lock();
    auto start = Clock::now();
    EXPECT_FALSE(cond.timedWait(zul::Time::milliSeconds(20)));
    EXPECT_GE(elapsedMs(start), 18);

    std::thread signaller([&] {
        zul::Guard_T<zul::Mutex> g(m);
        EXPECT_TRUE(cond.signal());
    });
    EXPECT_TRUE(cond.timedWait(zul::Time::seconds(30)));
    m.unlock();
    signaller.join();
}

}  // namespace
