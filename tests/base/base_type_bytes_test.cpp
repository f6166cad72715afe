// Bytes: growth sequence, aliasing copies, null sources, ownership hand-over, leak labels.
#include <gtest/gtest.h>
#include <zul/base/alloc.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/mlcheck.h>

#include <string>
#include <utility>

namespace {

std::string text(zul::Bytes const& b) {
    return std::string(b.c_str(), b.size());
}

TEST(Bytes, GrowsByDoublePlusTwoAndNeverShrinks) {
    const std::pair<std::string, size_t> steps[] = {
        {"a", 2}, {"bcd", 6}, {std::string(100, 'x'), 104}, {"", 104}, {"y", 210}};
    zul::Bytes b;
    std::string expect;
    for (auto const& [add, capacity] : steps) {
        b += zul::istr(add);
        expect += add;
        EXPECT_EQ(b.max_size(), capacity) << "after adding " << add.size();
        EXPECT_EQ(text(b), expect);
    }

    zul::Bytes r(10);
    EXPECT_TRUE(r.empty());
    EXPECT_EQ(r.max_size(), 10u);
    r.set("hello", 5);
    r.resize(3);
    EXPECT_EQ(r.max_size(), 10u);
    r.resize(11);  // max(2 * 10 + 2, 11)
    EXPECT_EQ(r.max_size(), 22u);
    EXPECT_EQ(text(r), "hello");
    r.init(4);
    EXPECT_EQ(r.size(), 0u);
    EXPECT_EQ(r.max_size(), 22u);
}

TEST(Bytes, AliasedAndNullSources) {
    zul::Bytes b(zul::istr("abcdef"));
    b = b;
    b.assign(b);
    b.set(b);
    EXPECT_EQ(text(b), "abcdef");
    b += b;  // the source is the buffer that grows
    EXPECT_EQ(text(b), "abcdefabcdef");
    b.set(b.c_str() + 2, 3);  // from inside, no growth
    EXPECT_EQ(text(b), "cde");

    b.set(static_cast<char const*>(nullptr), 3);  // the size changes, the bytes stay
    EXPECT_EQ(text(b), "cde");
    b.set(zul::istr());
    b.append(zul::istr());
    EXPECT_EQ(b.size(), 0u);
}

TEST(Bytes, CopyAndMoveLeaveIndependentBuffers) {
    zul::Bytes a(zul::istr("xyz"));
    zul::Bytes b(a);
    b.copy(1, zul::istr("Q"));
    EXPECT_EQ(text(a), "xyz");
    EXPECT_EQ(text(b), "xQz");
    a = std::move(b);
    EXPECT_EQ(text(a), "xQz");
    zul::ostr out = a;
    EXPECT_EQ(out.capacity, a.max_size());
    EXPECT_EQ(static_cast<void*>(out.buffer), static_cast<void*>(a.data()));
    a.free();
    EXPECT_EQ(a.data(), nullptr);
    EXPECT_EQ(a.max_size() + a.size(), 0u);
}

TEST(Bytes, AllocationsCarryTheirLabelsAndAreReleased) {
    zul::MemLeakChecker::destroy();
    zul::MemLeakChecker* mlc = zul::MemLeakChecker::instance();
    mlc->start();
    zul::Current const alloc("zul/base/base_type_bytes", 166, "alloc");
    {
        zul::Bytes b(zul::istr("a"));
        EXPECT_EQ(mlc->count(alloc), 1u);
        b += zul::istr("bcdefgh");  // grows: the old buffer is released
        EXPECT_EQ(mlc->count(alloc), 1u);

        // reset() hands the buffer over; its new owner releases it.
        unsigned char* taken = b.data();
        b.reset();
        EXPECT_EQ(b.data(), nullptr);
        EXPECT_EQ(mlc->size(), 1u);
        zul::destroy_a(taken, "zul/base/base_type_bytes", 171, "free");
    }
    EXPECT_EQ(mlc->size(), 0u);
    zul::MemLeakChecker::destroy();
}

}  // namespace
