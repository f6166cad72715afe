// Shared and Handle: counting, assignment order, self-reference in a destructor, null
// dereference, concurrent copies and the leak checker's view (stopThread: simple_thread_test).

#include <gtest/gtest.h>
#include <zul/base/exception.h>
#include <zul/base/mlcheck.h>
#include <zul/mt/handle.h>
#include <zul/mt/shared.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

// Counts its deletions in a counter the test owns.
struct Counted : zul::Shared {
    explicit Counted(std::atomic<int>* deleted) : deleted_(deleted) {}
    ~Counted() override {
        if (deleted_) ++*deleted_;
    }
    std::atomic<int>* deleted_;
};
struct Obj : Counted {
    using Counted::Counted;
    int value = 7;
};
struct Node : Counted {
    using Counted::Counted;
    zul::Handle<Node> next;
};
struct SelfReferencing : Counted {
    using Counted::Counted;
    ~SelfReferencing() override {
        zul::Handle<SelfReferencing> me(this);  // takes the count to 1 and back to 0
    }
};

using ObjPtr = zul::Handle<Obj>;

TEST(MtHandle, CopiesAssignmentsAndMovesKeepTheCount) {
    std::atomic<int> deleted{0};
    Obj* raw = new Obj(&deleted);
    EXPECT_EQ(raw->__getRef(), 0);
    {
        ObjPtr a(raw);
        EXPECT_EQ(raw->__getRef(), 1);
        ObjPtr b(a);
        EXPECT_EQ(raw->__getRef(), 2);
        b = raw;  // the pointer it already holds: no change
        b = b;
        EXPECT_EQ(raw->__getRef(), 2);

        ObjPtr c(std::move(b));
        EXPECT_EQ(b.get(), nullptr);
        EXPECT_EQ(raw->__getRef(), 2);
        c = nullptr;
        EXPECT_EQ(raw->__getRef(), 1);
        zul::Handle<zul::Shared> base(a);  // converting copy
        EXPECT_EQ(raw->__getRef(), 2);
        EXPECT_TRUE(base == a);
        EXPECT_EQ(ObjPtr::dynamicCast(base).get(), raw);
        EXPECT_EQ(deleted.load(), 0);
    }
    EXPECT_EQ(deleted.load(), 1);
}

TEST(MtHandle, AssigningAnObjectOnlyTheOldValueKeepsAlive) {
    std::atomic<int> deleted{0};
    zul::Handle<Node> head(new Node(&deleted));
    Node* second = new Node(&deleted);
    head->next = second;
    EXPECT_EQ(second->__getRef(), 1);
    head = head->next.get();  // the count of `second` rises before the old head goes
    EXPECT_EQ(deleted.load(), 1);
    EXPECT_EQ(head.get(), second);
    EXPECT_EQ(second->__getRef(), 1);
    head = nullptr;
    EXPECT_EQ(deleted.load(), 2);
}

TEST(MtHandle, DestructorTakingAHandleOnItselfDeletesOnce) {
    std::atomic<int> deleted{0};
    { zul::Handle<SelfReferencing> h(new SelfReferencing(&deleted)); }
    EXPECT_EQ(deleted.load(), 1);  // a second deletion would also be a double free
}

TEST(MtHandle, NoDeleteKeepsAnOwnedObject) {
    std::atomic<int> deleted{0};
    // An owner that keeps the object itself marks it, so the last handle leaves it alone.
    auto owned = std::make_unique<Obj>(&deleted);
    owned->__setNoDelete(true);
    { ObjPtr h(owned.get()); }
    EXPECT_EQ(deleted.load(), 0);
    owned.reset();
    EXPECT_EQ(deleted.load(), 1);
}

TEST(MtHandle, NullDereferenceThrowsFromTheHandle) {
    ObjPtr null;
    EXPECT_FALSE(null);
    try {
        (void)null->value;
        FAIL() << "no exception";
    } catch (zul::NullHandleException const& e) {
        EXPECT_STREQ(e.file(), "zul/mt/handle.h");
        EXPECT_STREQ(e.func(), "operator->");
        EXPECT_STREQ(e.name(), "zul::NullHandleException");
        EXPECT_STREQ(e.msg(), "");
    }
    EXPECT_THROW((void)(*null).value, zul::NullHandleException);
}

TEST(MtHandle, ConcurrentCopiesDeleteExactlyOnce) {
    constexpr int kThreads = 8, kRounds = 20000;
    std::atomic<int> deleted{0};
    std::vector<std::thread> threads;
    {
        ObjPtr shared(new Obj(&deleted));
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([shared] {  // each thread holds its own copy
                for (int i = 0; i < kRounds; ++i) {
                    ObjPtr copy(shared);
                    ObjPtr other;
                    other = copy;
                    EXPECT_EQ(other->value, 7);
                }
            });
        }
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(deleted.load(), 1);
}

// Shared is not the first base, so its address differs from the object's.
struct Padding {
    virtual ~Padding() = default;
    char pad[24] = {};
};
struct Tracked : Padding, zul::Shared {};

TEST(MtHandle, LastReleaseRemovesTheLeakRecord) {
    zul::MemLeakChecker::destroy();
    zul::MemLeakChecker::instance()->start();
    Tracked* p = zul::allocate_push_maybe(zul::allocate_no_mlc<Tracked>(__FILE__, __LINE__, "make"),
                                          __FILE__, __LINE__, "make");
    ASSERT_NE(static_cast<void*>(static_cast<zul::Shared*>(p)), static_cast<void*>(p));
    EXPECT_EQ(zul::MemLeakChecker::instance()->size(), 1u);
    { zul::Handle<Tracked> h(p); }
    EXPECT_EQ(zul::MemLeakChecker::instance()->size(), 0u);
    zul::MemLeakChecker::destroy();
}

}  // namespace
