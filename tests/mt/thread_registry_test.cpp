// The thread registry: identity strings of foreign and lifecycle threads, reuse of a thread
// id, null arguments, the date-time refresh and the dump texts.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zul/log/log_dumper.h>
#include <zul/mt/thread.h>

#include <thread>

#include "mt/thread_test_support.h"

namespace {

using namespace zul_test;
using zul::SimpleThread;
using zul::ThreadFactory;

TEST(ThreadRegistry, ForeignThreadIdentityIsBuiltOnceAndRefreshed) {
    std::thread([] {
        zul::ThreadId const me = zul::currentThreadId();
        zul::ThreadInfo& a = SimpleThread::current();
        EXPECT_EQ(a.thread_, nullptr);
        EXPECT_EQ(a.sThreadId_, identity('<', me, '>'));
        char const* built = a.sThreadId_.c_str();
        zul::ThreadInfo& b = ThreadFactory::instance()->getThreadInfo(me);
        EXPECT_EQ(&a, &b);
        EXPECT_EQ(b.sThreadId_.c_str(), built);  // not rebuilt
        EXPECT_NE(b.currDateTime_.toMicroSeconds(), 0);
        EXPECT_EQ(b.sCurrDateTime_, b.currDateTime_.toDateTime());
    }).join();
}

// In a forked child the first record asked for is rebuilt with the child's process id.
TEST(ThreadRegistry, ForkedChildRebuildsItsIdentity) {
    SimpleThread::current();  // built here with the parent's id
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    pid_t const child = fork();
    if (child == 0) {
        std::string const want = identity('<', zul::currentThreadId(), '>');
        char const ok = SimpleThread::current().sThreadId_ == want ? 'y' : 'n';
        _exit(write(fds[1], &ok, 1) == 1 ? 0 : 1);
    }
    char ok = 0;
    EXPECT_EQ(read(fds[0], &ok, 1), 1);
    EXPECT_EQ(ok, 'y');
    waitpid(child, nullptr, 0);
    close(fds[0]), close(fds[1]);
}

// A finished SimpleThread deleted on its own thread after leaving the registry may create a
// foreign "<...>" record there (its destructor logs); a later thread with the same id, or the
// same thread registering again, must still get its own "{...}" identity.
TEST(ThreadRegistry, AddRebuildsALeftoverForeignRecord) {
    std::size_t const size = ThreadFactory::instance()->size();
    ThreadFactory::instance()->add(nullptr);  // null: ignored
    ThreadFactory::instance()->erase(nullptr);
    EXPECT_EQ(ThreadFactory::instance()->size(), size);

    ProbePtr t(new Probe("again"));
    std::string foreign, rebuilt;
    t->birth = [&] {
        ThreadFactory::instance()->erase(t.get());
        foreign = SimpleThread::current().sThreadId_;
        ThreadFactory::instance()->add(t.get());
        rebuilt = SimpleThread::current().sThreadId_;
        return true;
    };
    t->startAndWait(0);
    zul::ThreadId const id = t->id();
    EXPECT_EQ(foreign, identity('<', id, '>'));
    EXPECT_EQ(rebuilt, identity('{', id, '}'));
    EXPECT_EQ(t->fullname(), "again" + identity('{', id, '}'));
    t->stop();

    // The same through a real deletion on the thread itself; thread ids are usually reused
    // at once, which is the case this guards.
    {
        ProbePtr first(new Probe("first"));
        first->loop = [] { return false; };
        first->onDestroy = [] { SimpleThread::current(); };
        first->startAndWait(0), first->join();
    }
    ProbePtr second(new Probe("second"));
    second->startAndWait(0);
    EXPECT_EQ(second->fullname(), "second" + identity('{', second->id(), '}'));
    second->stop();
}

TEST(ThreadRegistry, DumpListsLiveThreadsOnly) {
    // A fresh registry: every earlier thread has ended.
    SimpleThread::destroyThreadFactory();
    zul::dumper empty;
    empty << zul::THREAD_FACTORY();
    // The new registry lives on, as the first one did: not a leak of this test.
    zul::destroy_pop_maybe(ThreadFactory::instance(), __FILE__, __LINE__, "test");
    EXPECT_EQ(empty.str(), "@zul::ThreadFactory {\n    threads_ = @zul::mt::map {\n    }\n}");

    Counter working;
    ProbePtr t(new Probe("listed"));
    t->work = [&] { working.add(), t->wait(); };
    t->startAndWait(0);
    ASSERT_TRUE(working.waitFor(1));
    zul::dumper d;
    ThreadFactory::instance()->dump(d);
    std::string const text = d.str();
    zul::String key;
    key += t->id();
    for (std::string want :
         {key + " : @zul::ThreadInfo {", "sThreadId_ = \"" + identity('{', t->id(), '}') + "\"",
          "fullname() = \"" + t->fullname() + "\"", std::string("living() = true"),
          std::string("refcount = 3")})

        EXPECT_NE(text.find(want), std::string::npos) << want << "\nin\n" << text;

    t->stop();
    zul::dumper after;
    after << zul::THREAD_FACTORY();
    EXPECT_EQ(after.str().find("listed"), std::string::npos) << after.str();
    EXPECT_FALSE(ThreadFactory::instance()->contains(t->id()));
}

}  // namespace
