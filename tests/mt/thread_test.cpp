// The platform thread layer: id texts, start and its failures, comparisons, liveness, the
// reference the platform thread holds, startHook's records, ThreadOwner and sleeps.
#include <gtest/gtest.h>
#include <zul/base/exception.h>
#include <zul/mt/thread.h>
#include <zul/util/util_func.h>

#include <cerrno>
#include <chrono>
#include <sstream>
#include <stdexcept>

#include "log/recording_logger.h"
#include "mt/thread_test_support.h"

namespace {

using zul_test::Counter;

// A bare Thread: its body waits for `go`, then throws what `fail` says.
struct RawThread : zul::Thread {
    explicit RawThread(Counter* deleted = nullptr) : deleted_(deleted) {}
    ~RawThread() override {
        if (deleted_) deleted_->add();
    }
    void run_i() override {
        entered.add();
        go.waitFor(1);
        if (fail == 1) throw std::runtime_error("boom");
        if (fail == 2) throw 42;
    }
    Counter entered, go;
    int fail = 0;
    Counter* deleted_;
};

TEST(ThreadCore, IdTextForms) {
    std::pair<std::uint64_t, std::string> const rows[] = {
        {7, "   7"}, {1234, "1234"}, {123456, "123456"}, {0, "   0"}};
    for (auto const& [id, text] : rows) {
        zul::String s("x");
        std::ostringstream os;
        s += static_cast<zul::ThreadId>(id);
        os << static_cast<zul::ThreadId>(id);
        EXPECT_EQ(s, "x" + text);
        EXPECT_EQ(os.str(), text);
    }
    zul::String p;
    p += static_cast<zul::ProcessId>(812);
    EXPECT_EQ(p, " 812");
}

TEST(ThreadCore, StartFailuresComparisonsAndLiveness) {
    zul::Handle<RawThread> a(new RawThread), b(new RawThread);
    EXPECT_FALSE(a->started());
    EXPECT_THROW(a->id(), zul::ThreadNotStartedException);
    EXPECT_THROW(a->getThreadControl(), zul::ThreadNotStartedException);

    // Below the platform's minimum stack: refused, and the thread may still be started.
    try {
        a->start(1);
        FAIL() << "start(1) succeeded";
    } catch (zul::ThreadSyscallException const& e) {
        EXPECT_EQ(e.error(), EINVAL);
    }
    EXPECT_FALSE(a->started());
    EXPECT_EQ(a->__getRef(), 1);

    zul::ThreadControl tc = a->start(0);
    EXPECT_TRUE(a->started());
    EXPECT_THROW(a->start(0), zul::ThreadStartedException);
    a->entered.waitFor(1);
    EXPECT_EQ(a->entered.value(), 1);  // the second start created no thread
    EXPECT_TRUE(tc == a->getThreadControl() && tc.id() == a->id() && tc.isAlive());
    EXPECT_TRUE(tc != zul::ThreadControl::current());

    // Comparisons need both sides started, whichever side is not.
    EXPECT_THROW((void)(*a == *b), zul::ThreadNotStartedException);
    EXPECT_THROW((void)(*b == *a), zul::ThreadNotStartedException);
    EXPECT_THROW((void)(*b < *a), zul::ThreadNotStartedException);
    EXPECT_TRUE(*a == *a && !(*a != *a) && !(*a < *a));

    a->go.add();
    tc.join();
    EXPECT_FALSE(tc.isAlive());
}

// The platform thread's own reference keeps the object alive until the body ends, and
// startHook records what escapes the body.
TEST(ThreadCore, BodyHoldsTheObjectAndStartHookRecordsEscapes) {
    zul_test::ScopedLibraryLogger rec;
    char const* const texts[] = {nullptr, "startHook(): uncaught boom",
                                 "startHook(): uncaught unknown exception"};
    for (int fail = 0; fail < 3; ++fail) {
        Counter deleted;
        RawThread* raw = new RawThread(&deleted);
        raw->fail = fail;
        zul::ThreadControl tc = zul::Handle<RawThread>(raw)->start();
        raw->entered.waitFor(1);
        EXPECT_EQ(deleted.value(), 0);  // only the running body holds it now
        raw->go.add();
        ASSERT_TRUE(deleted.waitFor(1));
        tc.join();
        EXPECT_EQ(rec->count("<ERROR>"), fail ? 1u : 0u);
        EXPECT_EQ(rec->count(fail ? texts[fail] : "startHook("), fail ? 1u : 0u);
        rec->clear();
    }
}

TEST(ThreadCore, OwnerFinalizedRecordAndSleeps) {
    zul_test::ScopedLibraryLogger rec;
    { zul_test::CountingOwner named("boss"), unnamed(nullptr); }
    EXPECT_EQ(rec->count("thread owner boss finalized"), 1u);
    EXPECT_EQ(rec->count("thread owner "), 1u);  // nothing for the unnamed one
    rec->infoOn(false);
    { zul_test::CountingOwner quiet("quiet"); }
    EXPECT_EQ(rec->count("quiet"), 0u);

    auto const t0 = std::chrono::steady_clock::now();
    zul::sleep(30);
    zul::ThreadControl::sleep(zul::Time(-5));  // not positive: returns at once
    EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(30));
}

}  // namespace
