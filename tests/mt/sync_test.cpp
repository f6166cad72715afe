// Mutex, guard, condition and monitor: notification batching, late waiters, time-outs.
#include <gtest/gtest.h>
#include <zul/mt/sync.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
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
    // Measured on the same monotonic clock as the waits: no slack below the time-out.
    Row const rows[] = {{-5000, 0}, {0, 0}, {30, 30}, {120, 120}};
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

// Deadlines are read on the monotonic clock, which setting the system's date does not move;
// a wall-clock deadline would lie decades away from these readings.
TEST(MtCondition, DeadlinesAreOnTheMonotonicClock) {
    auto monotonicUs = [] {
        timespec ts;
        clock_gettime(CLOCK_MONOTONIC, &ts);
        return ts.tv_sec * 1000000LL + ts.tv_nsec / 1000;
    };
    long long const huge = std::numeric_limits<long long>::max();
    struct Row {
        long long timeoutUs, addedUs;
    } const rows[] = {{200000, 200000}, {1999999, 1999999}, {0, 0}, {-5000, 0}};
    for (Row const& row : rows) {
        SCOPED_TRACE(row.timeoutUs);
        long long const before = monotonicUs();
        zul::detail::MonotonicTime const at = zul::detail::deadlineAfter(zul::Time(row.timeoutUs));
        long long const after = monotonicUs();
        long long const us = static_cast<long long>(at.sec()) * 1000000LL + at.usec();
        EXPECT_GE(us, before + row.addedUs);
        EXPECT_LE(us, after + row.addedUs);
        EXPECT_LT(at.usec(), 1000000);
    }
    zul::detail::MonotonicTime const far = zul::detail::deadlineAfter(zul::Time(huge));
    EXPECT_EQ(static_cast<long long>(far.sec()), huge / 1000000LL);  // saturated
    long long const now = zul::detail::monotonicNow().toMicroSeconds();
    EXPECT_LE(std::llabs(now - monotonicUs()), 1000000LL);
}

}  // namespace
