// SimpleThread: every way a thread ends (flags, hooks run, owner told, records), hook
// exceptions, self-deletion, identity, waits, timed stops, and a concurrent stress run.
#include <gtest/gtest.h>
#include <zul/base/exception.h>
#include <zul/log/log_dumper.h>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "log/recording_logger.h"
#include "mt/thread_test_support.h"

namespace {

using namespace zul_test;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using Strings = std::vector<std::string>;

// Each text in `once` is in exactly one record, each text in `never` in none.
void expectRecords(RecordingLogger& rec, Strings const& once, Strings const& never = {}) {
    for (auto const& s : once) EXPECT_EQ(rec.count(s), 1u) << "record: " << s;
    for (auto const& s : never) EXPECT_EQ(rec.count(s), 0u) << "unexpected record: " << s;
}

TEST(SimpleThread, EveryWayToEnd) {
    auto const start = [](ProbePtr& t) { t->startAndWait(0); };
    auto const startAndJoin = [](ProbePtr& t) { t->startAndWait(0), t->join(); };
    struct Row {
        char const* what;
        std::function<void(ProbePtr&)> drive;
        int births, works, deaths, stops;  // works -1: any number
        bool activeStopping, ownerTold;
        Strings records;  // a leading '%' stands for the full name
    };
    // clang-format off
    std::vector<Row> const rows = {
        {"onLoop false on the third round", [&](ProbePtr& t) {
             auto n = std::make_shared<int>(0);
             t->loop = [n] { return ++*n < 3; };
             startAndJoin(t); },
         1, 3, 1, 0, false, true, {"thread begin.", "notify owner(boss) thread exit", "thread end."}},
        {"stopOnly", [&](ProbePtr& t) { start(t), t->stopOnly(), t->join(); },
         1, -1, 1, 1, false, true, {"% thread stopping only...", "notify owner(boss) thread exit"}},
        {"stop", [&](ProbePtr& t) { start(t), t->stop(); },
         1, -1, 1, 1, true, false, {"% thread stopping...", "% thread stopped.", "thread end."}},
        {"birth failure", [&](ProbePtr& t) { t->birth = [] { return false; }, startAndJoin(t); },
         1, 0, 0, 0, false, true, {"thread begin failure, won't enter run loop."}},
        {"stopped before start", [&](ProbePtr& t) { t->stop(), startAndJoin(t); },
         0, 0, 0, 1, true, false, {"probe thread not started.", "thread begin failure"}},
        {"living(true) before start clears the flag", [&](ProbePtr& t) { t->living(true), startAndJoin(t); },
         0, 0, 0, 0, false, true, {"thread begin failure"}},
    };
    // clang-format on
    for (auto const& r : rows) {
        SCOPED_TRACE(r.what);
        ScopedLibraryLogger rec;
        CountingOwner owner;
        ProbePtr t(new Probe("probe", &owner));
        r.drive(t);
        EXPECT_EQ(t->births, r.births);
        EXPECT_EQ(r.works < 0 ? t->works.load() : r.works, t->works);
        EXPECT_EQ(t->deaths, r.deaths);
        EXPECT_EQ(t->stops, r.stops);
        EXPECT_TRUE(t->started());
        EXPECT_FALSE(t->living());
        EXPECT_EQ(t->activeStopping(), r.activeStopping);
        EXPECT_EQ(owner.exits.value(), r.ownerTold ? 1 : 0);
        Strings once;
        for (std::string s : r.records)
            once.push_back(s[0] == '%' ? s.replace(0, 1, t->fullname()) : s);
        expectRecords(*rec, once, r.ownerTold ? Strings{} : Strings{"notify owner("});

        // Once ended, a stop does nothing and writes nothing.
        std::size_t const before = rec->records().size();
        t->stop();
        EXPECT_TRUE(t->stop(zul::Time::milliSeconds(1)));
        EXPECT_EQ(rec->records().size(), before);
        std::string const fullname = t->fullname();
        t = nullptr;
        expectRecords(*rec, {fullname + " thread finalized."});
    }
}

TEST(SimpleThread, HookExceptionsAreRecorded) {
    ScopedLibraryLogger rec;
    {  // onBirth and onDeath failures end the body, whose tail still runs
        CountingOwner owner;
        ProbePtr b(new Probe("b", &owner)), d(new Probe("d"));
        b->birth = []() -> bool { throw std::runtime_error("no birth"); };
        d->loop = [] { return false; };
        d->death = [] { throw 7; };
        b->startAndWait(0), d->startAndWait(0), b->join(), d->join();
        EXPECT_EQ(b->deaths, 0);
        EXPECT_EQ(owner.exits.value(), 1);
        EXPECT_FALSE(zul::ThreadFactory::instance()->contains(b->id()));
    }
    // A failing onWait skips one onWork; a failing onWork pauses a second, then the loop
    // goes on.
    std::vector<Clock::time_point> rounds;
    Counter twice;
    int waits = 0;
    ProbePtr t(new Probe("w"));
    t->wait_ = [&] { return ++waits != 1; };
    t->work = [&] {
        rounds.push_back(Clock::now());
        if (rounds.size() == 1) throw std::runtime_error("work failed");
        twice.add(), t->wait();
    };
    t->startAndWait(0);
    ASSERT_TRUE(twice.waitFor(1));
    t->stop();
    EXPECT_GE(rounds[1] - rounds[0], milliseconds(990));
    EXPECT_EQ(t->works, 2);
    expectRecords(*rec, {"unhandled no birth", "unhandled unknown exception",
                         "wait failure, won't exec onWork().", "unhandled work failed"});
}

TEST(SimpleThread, IdentityWaitsAndStopThread) {
    ProbePtr t(new Probe("named"));
    EXPECT_EQ(t->fullname(), "named");
    EXPECT_THROW(t->join(), zul::ThreadNotStartedException);
    auto const t0 = Clock::now();
    EXPECT_FALSE(t->wait(zul::Time::milliSeconds(30)));  // living: times out
    EXPECT_GE(Clock::now() - t0, milliseconds(30));

    Counter working;
    zul::ThreadInfo* seen = nullptr;
    t->work = [&] { seen = &zul::SimpleThread::current(), working.add(), t->wait(); };
    EXPECT_TRUE(t->startAndWait(zul::Time::seconds(30), 0));
    EXPECT_THROW(t->startAndWait(0), zul::ThreadStartedException);
    ASSERT_TRUE(working.waitFor(1));
    EXPECT_EQ(t->fullname(), "named" + identity('{', t->id(), '}'));
    EXPECT_EQ(seen->sThreadId_, identity('{', t->id(), '}'));
    EXPECT_EQ(seen->thread_, t.get());

    zul::Handle<zul::SimpleThread> base(t);
    EXPECT_TRUE(zul::stopThread(t));  // through a handle of the subclass
    EXPECT_EQ(t.get(), nullptr);
    EXPECT_TRUE(base->activeStopping());
    EXPECT_TRUE(base->wait(zul::Time::seconds(30)));  // not living: at once
    EXPECT_TRUE(zul::stopThread(t));                  // null: nothing to do
}

TEST(SimpleThread, TimedStop) {
    ScopedLibraryLogger rec;
    CountingOwner owner;
    Counter stuck, release;
    ProbePtr t(new Probe("stuck", &owner));
    t->work = [&] { stuck.add(), release.waitFor(1); };  // deaf to the monitor
    t->startAndWait(0);
    ASSERT_TRUE(stuck.waitFor(1));
    auto const t0 = Clock::now();
    EXPECT_FALSE(t->stop(zul::Time::milliSeconds(10)));
    EXPECT_GE(Clock::now() - t0, milliseconds(20));
    EXPECT_EQ(t->owner(), nullptr);
    auto const warnings = rec->matching(t->fullname() + " thread not stopped in 00:00:00.020");
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("<WARNING>"), std::string::npos) << warnings[0];
    release.add(), t->join();
    EXPECT_EQ(owner.exits.value(), 0);

    ProbePtr quick(new Probe("quick"));  // ends in time: true, and join's record
    quick->startAndWait(0);
    EXPECT_TRUE(quick->stop(zul::Time::seconds(30)));
    expectRecords(*rec, {quick->fullname() + " thread stopped."});
}

// Threads started and stopped by several stoppers at once, births racing stops: nothing
// hangs, every object is deleted and the registry forgets them all.
TEST(ThreadStress, ManyThreadsStartedAndStoppedConcurrently) {
    constexpr int kRounds = 100, kThreads = 64, kStoppers = 4;
    int const before = Probe::destroyed().value();
    Counter go, done;
    std::vector<std::thread> stoppers;
    for (int s = 0; s < kStoppers; ++s)
        stoppers.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                go.waitFor(round + 1);
                std::vector<ProbePtr> mine;
                for (int i = 0; i < kThreads / kStoppers; ++i) {
                    mine.emplace_back(new Probe("stress"));
                    (i + round) % 2 ? void(mine.back()->start()) : mine.back()->startAndWait(0);
                }
                for (auto& t : mine) t->stop();
                done.add();
            }
        });
    for (int round = 0; round < kRounds; ++round) go.add(), done.waitFor(kStoppers * (round + 1));
    for (auto& s : stoppers) s.join();
    EXPECT_EQ(Probe::destroyed().value() - before, kRounds * kThreads);
    zul::dumper d;
    d << zul::THREAD_FACTORY();
    EXPECT_EQ(d.str().find("stress"), std::string::npos);
}

}  // namespace
