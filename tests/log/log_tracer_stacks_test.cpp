// Per-thread call stacks and traced scopes: depth, indentation, records, independence of
// threads, and the stack an exception carries.
#include <gtest/gtest.h>
#include <pthread.h>
#include <zul/base/exception.h>
#include <zul/base/raise.h>
#include <zul/log/log_dumper.h>
#include <zul/log/log_tracer.h>

#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "log/recording_logger.h"
#include "mt/mt_test_support.h"
#include "support/fresh_process.h"

namespace {

size_t depth() {
    return zul::tracer::instance()->container().size();
}

}  // namespace

TEST(TraceEntry, RecordsIndentByDepthWithDotsAndUnderscores) {
    zul_test::RecordingLogger lg;
    lg.traceOn(true);
    size_t const base = depth();
    {
        zul::TraceEntry outer(lg, "a.cpp", 1, "outer", 3, nullptr);
        EXPECT_EQ(depth(), base + 1);
        {
            zul::TraceEntry inner(lg, "a.cpp", 2, "inner", 3, "x");
            EXPECT_EQ(depth(), base + 2);
        }
    }
    EXPECT_EQ(depth(), base);
    std::string const dots(4 * base, '.'), lines(4 * base, '_');
    auto records = lg.records();
    ASSERT_EQ(records.size(), 4u);
    auto const text = [&](int i, std::string const& t) {
        EXPECT_NE(records[i].find("[ZUL] " + t), std::string::npos) << records[i];
    };
    text(0, "TRACE  " + (base ? dots + " " : "") + "outer()");
    text(1, "TRACE  " + dots + "...." + " inner( x )");
    text(2, "TRACE~ " + lines + "____" + " inner( x )");
    text(3, "TRACE~ " + (base ? lines + " " : "") + "outer()");
    EXPECT_EQ(lg.flushes(), 0) << "trace lines wait for the next flush";
}

TEST(TraceEntry, TypeBitsAndSwitchSelectRecords) {
    struct Row {
        zul::TraceEntry::LogType type;
        bool traceOn;
        size_t entries, exits;
    } const rows[] = {
        {0, true, 0, 0}, {1, true, 1, 0}, {2, true, 0, 1}, {3, true, 1, 1}, {3, false, 0, 0}};
    for (auto const& r : rows) {
        zul_test::RecordingLogger lg;
        lg.traceOn(r.traceOn);
        {
            zul::TraceEntry e(lg, "a.cpp", 1, "f", r.type, "");
            EXPECT_EQ(e.logType(), r.type);
        }
        EXPECT_EQ(lg.count("TRACE  "), r.entries) << r.type;
        EXPECT_EQ(lg.count("TRACE~ "), r.exits) << r.type;
    }
    zul_test::RecordingLogger lg;
    lg.traceOn(true);
    {
        zul::TraceEntry e(lg, "a.cpp", 1, "f", 1, "");
        e.addType(2);  // the exit record is wanted after all
        EXPECT_EQ(e.logType(), 3u);
    }
    EXPECT_EQ(lg.count("TRACE~ "), 1u);
}

TEST(TraceEntry, SilentFrameShowsInRaisedExceptionStack) {
    zul_test::RecordingLogger lg;
    try {
        zul::TraceEntry outer(lg, "zul/x/outer.cpp", 10, "outerScope", 0, nullptr);
        zul::TraceEntry inner(lg, "zul/x/inner.cpp", 20, "innerScope", 0, nullptr);
        ZUL_RAISE(zul::InvalidDataException, "InvalidDataException", "bad");
    } catch (zul::Exception const& e) {
        std::string const what = e.what();
        EXPECT_NE(what.find("CALL STACK: innerScope(zul/x/inner.cpp:20)\n"
                            "            outerScope(zul/x/outer.cpp:10)"),
                  std::string::npos)
            << what;
    }
    EXPECT_TRUE(lg.records().empty());
}

TEST(TraceEntry, ExitAfterDestroyedStackWritesAndPopsNothing) {
    zul_test::RecordingLogger lg;
    lg.traceOn(true);
    {
        zul::TraceEntry e(lg, "a.cpp", 1, "f", 3, nullptr);
        zul::tracer::instance()->destroy_current_stack();
    }
    EXPECT_EQ(depth(), 0u);
    EXPECT_EQ(lg.count("TRACE~"), 0u);
    EXPECT_EQ(lg.count("TRACE  f()"), 1u);
}

TEST(Tracer, ThreadsKeepIndependentStacks) {
    zul_test::RecordingLogger lg;
    zul::TraceEntry mine(lg, "main.cpp", 1, "mainScope", 0, nullptr);
    size_t const mainDepth = depth();
    std::string seen[2];
    auto body = [&](int i) {
        zul::TraceEntry a(lg, "t.cpp", 10 + i, i ? "one" : "zero", 0, nullptr);
        zul::TraceEntry b(lg, "t.cpp", 20 + i, "leaf", 0, nullptr);
        std::ostringstream os;
        zul::printTraceStack(os);
        seen[i] = os.str();
        zul::tracer::instance()->destroy_current_stack();
    };
    std::thread t0(body, 0), t1(body, 1);
    t0.join();
    t1.join();
    EXPECT_EQ(seen[0], "leaf(t.cpp:20)\nzero(t.cpp:10)");
    EXPECT_EQ(seen[1], "leaf(t.cpp:21)\none(t.cpp:11)");
    EXPECT_EQ(depth(), mainDepth);
}

TEST(Tracer, SeparatorAndDumperForm) {
    zul_test::RecordingLogger lg;
    zul::tracer::instance()->destroy_current_stack();
    zul::TraceEntry a(lg, "o.cpp", 1, "outer", 0, nullptr);
    zul::TraceEntry b(lg, "i.cpp", 2, "inner", 0, nullptr);
    auto* t = zul::tracer::instance();
    EXPECT_EQ(&t->separator(" | "), t);
    std::ostringstream os;
    t->dump(os);
    EXPECT_EQ(os.str(), "inner(i.cpp:2) | outer(o.cpp:1)");
    t->separator("\n");
    zul::dumper d;  // the frames' own layout is pinned by the CallStack dumper test
    t->dump(d);
    EXPECT_EQ(d.str().rfind("@zul::tracer {\n    callStack() = @zul::CallStack {", 0), 0u)
        << d.str();
}

// Thread ids are reused: a thread that gets the id of a finished one inherits its stack,
// which that one changed without a lock. Detached threads, each leaving its scopes after it
// has reported, so that only the tracer itself can order those last changes before the
// next thread's; the inherited stack must be empty.
TEST(Tracer, ThreadsInheritingTheIdOfAFinishedOneStartEmpty) {
    constexpr int kThreads = 200;
    struct Shared {
        zul_test::Counter reported;
        std::mutex m;
        std::set<pthread_t> ids;
        int wrong = 0, reused = 0;
    };
    // Never destroyed, and not shared through a reference count, whose release would order
    // a finished thread's last changes by itself.
    static Shared& shared = *new Shared;
    int const base = shared.reported.value();
    {
        std::lock_guard<std::mutex> g(shared.m);
        shared.ids.clear();
        shared.wrong = shared.reused = 0;
    }
    for (int i = 1; i <= kThreads; ++i) {
        std::thread([] {
            zul::logger& lg = zul::detail::libraryLoggerRef();  // type 0: never asked
            size_t const inherited = depth();
            zul::TraceEntry outer(lg, "t.cpp", 1, "outer", 0, nullptr);
            zul::TraceEntry inner(lg, "t.cpp", 2, "inner", 0, nullptr);
            {
                std::lock_guard<std::mutex> g(shared.m);
                shared.wrong += inherited != 0 || depth() != 2;
                shared.reused += shared.ids.insert(pthread_self()).second ? 0 : 1;
            }
            shared.reported.add();
        }).detach();
        ASSERT_TRUE(shared.reported.waitFor(base + i));
    }
    std::lock_guard<std::mutex> g(shared.m);
    EXPECT_EQ(shared.wrong, 0);
    RecordProperty("reusedIds", shared.reused);
}

// A thread remembers where its stack is; destroying the tracer must make it look again.
TEST(Tracer, StackIsFoundAgainAfterTheTracerIsDestroyed) {
    zul_test::inFreshProcess([] {
        zul::logger& lg = zul::detail::libraryLoggerRef();
        { zul::TraceEntry a(lg, "a.cpp", 1, "a", 0, nullptr); }
        zul::tracer::destroy();
        zul::TraceEntry b(lg, "b.cpp", 2, "b", 0, nullptr);
        std::ostringstream os;
        zul::printTraceStack(os);
        EXPECT_EQ(os.str(), "b(b.cpp:2)");
    });
}
