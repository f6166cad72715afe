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

TEST(Bytes, AppendGrowsByDoublePlusTwo) {
    struct Step {
        std::string add;
        size_t capacity;
    };
    Step const steps[] = {
        {"a", 2}, {"bcd", 6}, {std::string(100, 'x'), 104}, {"", 104}, {"y", 210}};
    zul::Bytes b;
    std::string expect;
    for (auto const& s : steps) {
        b += zul::istr(s.add);
        expect += s.add;
        EXPECT_EQ(b.max_size(), s.capacity) << "after adding " << s.add.size();
        EXPECT_EQ(text(b), expect);
    }
}

TEST(Bytes, ResizeNeverShrinksAndKeepsBytes) {
    zul::Bytes b(10);
    EXPECT_EQ(b.size(), 0u);
    EXPECT_EQ(b.max_size(), 10u);
    EXPECT_TRUE(b.empty());
    b.set("hello", 5);
    b.resize(3);
    EXPECT_EQ(b.max_size(), 10u);
    b.resize(11);  // max(2 * 10 + 2, 11)
    EXPECT_EQ(b.max_size(), 22u);
    EXPECT_EQ(text(b), "hello");
    b.init(4);
    EXPECT_EQ(b.size(), 0u);
    EXPECT_EQ(b.max_size(), 22u);
}

TEST(Bytes, SelfAssignmentAndAliasedSourcesAreSafe) {
    zul::Bytes b(zul::istr("abcdef"));
    b = b;
    b.assign(b);
    b.set(b);
    EXPECT_EQ(text(b), "abcdef");

    b += b;  // the source is the buffer that grows
    EXPECT_EQ(text(b), "abcdefabcdef");
    b.set(b.c_str() + 2, 3);  // from inside, no growth
    EXPECT_EQ(text(b), "cde");
}

TEST(Bytes, SetFromNullKeepsPreviousBytes) {
    zul::Bytes b(zul::istr("hello"));
    b.set(static_cast<char const*>(nullptr), 5);
    EXPECT_EQ(text(b), "hello");
    b.set(zul::istr());
    EXPECT_EQ(b.size(), 0u);
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
