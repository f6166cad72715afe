// Allocation helpers and the leak checker: records while started, releases, notices.
#include <gtest/gtest.h>
#include <zul/base/alloc.h>
#include <zul/base/mlcheck.h>
#include <zul/log/console.h>

#include <atomic>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "log/recording_logger.h"

namespace {

using testing::internal::CaptureStdout;

// The checker's lines go through the console queue: what a flush writes to standard output.
std::string GetCapturedStdout() {
    zul::console::flush();
    return testing::internal::GetCapturedStdout();
}
constexpr char const* kFile = "tests/alloc";

struct Probe {
    static inline std::atomic<int> alive{0};
    int v;
    explicit Probe(int x = 0) : v(x) { ++alive; }
    ~Probe() { --alive; }
};

struct Thrower {
    Thrower() { throw std::runtime_error("ctor"); }
};

// A tracked object made and released the way the library does it.
Probe* make(unsigned line, int v = 0) {
    return zul::allocate_push_maybe(zul::allocate_no_mlc<Probe>(kFile, line, "make", v), kFile,
                                    line, "make");
}
void drop(Probe*& p) {
    zul::destroy_pop_maybe(p, kFile, 20, "drop");
    zul::destroy_no_mlc(p, kFile, 20, "drop");
}

class MemLeakCheckerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        zul::console::create();  // made before checking starts, so it is not recorded
        zul::MemLeakChecker::destroy();
        checker()->start();
    }
    void TearDown() override { zul::MemLeakChecker::destroy(); }
    static zul::MemLeakChecker* checker() { return zul::MemLeakChecker::instance(); }
};

TEST_F(MemLeakCheckerTest, TrackedObjectIsRecordedUntilReleased) {
    Probe* p = make(10, 7);
    EXPECT_EQ(p->v, 7);
    EXPECT_EQ(checker()->size(), 1u);
    EXPECT_EQ(checker()->count(zul::Current(kFile, 10, "make")), 1u);
    drop(p);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(Probe::alive, 0);
    EXPECT_EQ(checker()->size(), 0u);

    // A throwing constructor leaves neither memory nor a record.
    EXPECT_THROW(
        zul::allocate_push_maybe(zul::allocate_no_mlc<Thrower>(kFile, 1, "t"), kFile, 1, "t"),
        std::runtime_error);
    EXPECT_EQ(checker()->size(), 0u);
}

TEST_F(MemLeakCheckerTest, StoppedCheckerKeepsNothingAndAnswersTrue) {
    int x = 0, y = 0;
    checker()->push(&y, kFile, 1, "f");
    checker()->stop();  // deletes the checker; the next instance() is a new, stopped one
    zul::MemLeakChecker::destroy();
    zul::MemLeakChecker::destroy();  // absent: a no-op
    EXPECT_FALSE(checker()->started());
    checker()->push(&x, kFile, 1, "f");
    EXPECT_EQ(checker()->size(), 0u);
    CaptureStdout();
    EXPECT_TRUE(checker()->pop(&x, kFile, 2, "g"));
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_FALSE(checker()->pop(nullptr, kFile, 2, "g"));
}

TEST_F(MemLeakCheckerTest, DumpLinesEchoRecordsAndReleases) {
    int x = 0;
    std::ostringstream os;
    os << &x;
    std::string const px = os.str();
    checker()->dumpOn();
    CaptureStdout();
    checker()->push(&x, kFile, 5, "mk");
    EXPECT_TRUE(checker()->pop(&x, kFile, 6, "rm"));
    EXPECT_FALSE(checker()->pop(&x, kFile, 7, "rm"));
    std::string const want = "+++ " + px + " mk(tests/alloc:5)\n" +                      //
                             "--- " + px + " mk(tests/alloc:5) (rm(tests/alloc:6))\n" +  //
                             "--- " + px + " (rm(tests/alloc:7))\n" +                    //
                             "[NOTICE] not found pointer rm(tests/alloc:7)\n";
    EXPECT_EQ(GetCapturedStdout(), want);
    checker()->dumpOff();
    CaptureStdout();
    checker()->push(&x, kFile, 5, "mk");
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(checker()->size(), 1u);  // records survive dumpOff

    // Pushing a recorded address keeps one record, with the newer location.
    checker()->push(&x, kFile, 8, "new");
    EXPECT_EQ(checker()->size(), 1u);
    EXPECT_EQ(checker()->count(zul::Current(kFile, 5, "mk")), 0u);
    EXPECT_EQ(checker()->count(zul::Current(kFile, 8, "new")), 1u);
    EXPECT_TRUE(checker()->pop(&x, kFile, 9, "rm"));
}

TEST_F(MemLeakCheckerTest, ArraysPairLocatedNewWithArrayDelete) {
    unsigned char* bytes =
        zul::allocate_push_maybe(new (kFile, 1, "a") unsigned char[16], kFile, 1, "a");
    char* text = zul::allocate_push_maybe(new (kFile, 2, "b") char[4], kFile, 2, "b");
    wchar_t* wide = zul::allocate_push_maybe(new (kFile, 3, "c") wchar_t[4], kFile, 3, "c");
    EXPECT_EQ(checker()->size(), 3u);
    zul::destroy_a(bytes, kFile, 4, "d");
    EXPECT_EQ(bytes, nullptr);
    zul::destroy_pop(text, kFile, 5, "e");
    zul::destroy_pop(wide, kFile, 6, "f");
    delete[] text;
    delete[] wide;
    EXPECT_EQ(checker()->size(), 0u);
}

TEST_F(MemLeakCheckerTest, ConcurrentHelpersKeepTheRecordsConsistent) {
    constexpr int kThreads = 8, kRounds = 2000;
    constexpr size_t kKept = kThreads * kRounds / 4;
    std::vector<std::thread> threads;
    std::vector<std::vector<Probe*>> kept(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &kept] {
            for (int i = 0; i < kRounds; ++i) {
                Probe* p = make(1);
                if (i % 4 == 0) {
                    kept[t].push_back(p);
                } else {
                    drop(p);
                }
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(checker()->size(), kKept);
    EXPECT_EQ(checker()->count(zul::Current(kFile, 1, "make")), kKept);
    for (auto& v : kept)
        for (Probe* p : v) drop(p);
    EXPECT_EQ(checker()->size(), 0u);
}

// The helpers skip a stopped checker without calling it; they must see every start().
TEST_F(MemLeakCheckerTest, HelpersFollowEveryStartAndStop) {
    checker()->stop();
    Probe* before = make(30);  // made through a fresh, stopped checker: not recorded
    EXPECT_FALSE(checker()->started());
    EXPECT_EQ(checker()->size(), 0u);
    checker()->start();
    Probe* after = make(31);
    EXPECT_EQ(checker()->size(), 1u);
    CaptureStdout();
    drop(before);
    EXPECT_EQ(GetCapturedStdout(), "[NOTICE] not found pointer drop(tests/alloc:20)\n");
    drop(after);
    EXPECT_EQ(checker()->size(), 0u);

    zul::MemLeakChecker::destroy();
    Probe* again = make(32);  // the helper creates the checker again, stopped
    checker()->start();
    Probe* kept = make(33);
    EXPECT_EQ(checker()->count(zul::Current(kFile, 33, "make")), 1u);
    drop(kept);
    CaptureStdout();
    drop(again);
    EXPECT_NE(GetCapturedStdout().find("not found pointer"), std::string::npos);
    EXPECT_EQ(Probe::alive, 0);
}

// Helpers on 8 threads while another thread starts, stops and destroys the checker 1,000
// times: a helper may still reach the checker through a pointer it read just before.
TEST_F(MemLeakCheckerTest, StartAndStopWhileHelpersRun) {
    constexpr int kThreads = 8, kCycles = 1000;
    std::atomic<bool> done{false};
    CaptureStdout();  // notices for objects made in one checking period, released in the next
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&done] {
            while (!done.load()) {
                Probe* p = make(40);
                drop(p);
            }
        });
    }
    for (int i = 0; i < kCycles; ++i) {
        zul::MemLeakChecker::instance()->start();
        std::this_thread::yield();
        if (i % 2 == 0) {
            zul::MemLeakChecker::instance()->stop();
        } else {
            zul::MemLeakChecker::destroy();
        }
    }
    done = true;
    for (auto& th : threads) th.join();
    GetCapturedStdout();
    EXPECT_EQ(Probe::alive, 0);
    EXPECT_FALSE(checker()->started());
    EXPECT_EQ(checker()->size(), 0u);
    checker()->start();  // still a working checker
    Probe* p = make(41);
    EXPECT_EQ(checker()->size(), 1u);
    drop(p);
    EXPECT_EQ(checker()->size(), 0u);
}

}  // namespace

TEST_F(MemLeakCheckerTest, StopWritesTheReportAsOneInformationRecord) {
    for (bool info : {true, false}) {
        zul_test::ScopedLibraryLogger lg;
        lg->infoOn(info);
        checker()->start();
        Probe* leaked = make(33);
        std::ostringstream report;
        checker()->dump(report);
        checker()->stop();
        auto const records = lg->records();
        if (info) {
            ASSERT_EQ(records.size(), 1u);
            EXPECT_NE(records[0].find("[ZUL][INFO] " + report.str()), std::string::npos)
                << records[0];
        } else {
            EXPECT_TRUE(records.empty());
        }
        EXPECT_EQ(checker()->size(), 0u) << "a fresh checker after stop()";
        drop(leaked);
    }
}
