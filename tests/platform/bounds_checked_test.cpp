// Bounds-checked functions: every size boundary, null arguments, overlap, and what a failed
// call leaves in the destination.
#include <gtest/gtest.h>
#include <zul/platform/bounds_checked.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <functional>
#include <string>

namespace {

// A destination of 8 bytes with 4 guard bytes on each side that no call may touch.
struct Guarded {
    char mem[16];
    Guarded() { std::memset(mem, '#', sizeof mem); }
    char* dst() { return mem + 4; }
    bool guardsIntact() const {
        for (int i : {0, 1, 2, 3, 12, 13, 14, 15})
            if (mem[i] != '#') return false;
        return true;
    }
    std::string bytes() const { return std::string(mem + 4, 8); }
};

constexpr zul::rsize_t kHuge = zul::kRsizeMax + 1;

TEST(BoundsCheckedMemcpy, Table) {
    const char src[] = "ABCDEFGHIJ";
    const std::string zeros(8, '\0');
    struct Row {
        const char* what;
        bool nullDst, nullSrc;
        zul::rsize_t s1max, n;
        int err;
        std::string after;  // the 8 destination bytes afterwards
    } rows[] = {
        {"n == s1max", false, false, 8, 8, 0, "ABCDEFGH"},
        {"n < s1max", false, false, 8, 3, 0, "ABC#####"},
        {"n == 0", false, false, 8, 0, 0, "########"},
        {"n == s1max + 1 zero-fills", false, false, 8, 9, ERANGE, zeros},
        {"s1max == 0 with n > 0", false, false, 0, 1, ERANGE, "########"},
        {"null source zero-fills", false, true, 8, 4, EINVAL, zeros},
        {"n above max zero-fills", false, false, 8, kHuge, ERANGE, zeros},
        {"s1max above max: untouched", false, false, kHuge, 4, ERANGE, "########"},
        {"null destination", true, false, 8, 4, EINVAL, "########"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        Guarded g;
        EXPECT_EQ(
            zul::memcpy_s(r.nullDst ? nullptr : g.dst(), r.s1max, r.nullSrc ? nullptr : src, r.n),
            r.err);
        EXPECT_EQ(g.bytes(), r.after);
        EXPECT_TRUE(g.guardsIntact());
    }
}

TEST(BoundsCheckedMemcpy, OverlapIsRefused) {
    char b[12] = "abcdefghij";
    EXPECT_EQ(zul::memcpy_s(b + 2, 6, b, 4), EINVAL);  // [2,6) meets [0,4)
    EXPECT_EQ(std::string(b, 10), std::string("ab\0\0\0\0\0\0ij", 10));

    char c[12] = "abcdefghij";
    EXPECT_EQ(zul::memcpy_s(c + 4, 4, c, 4), 0);  // adjacent, not overlapping
    EXPECT_STREQ(c, "abcdabcdij");
    EXPECT_EQ(zul::memcpy_s(c, 4, c, 4), EINVAL);  // the very same bytes
}

TEST(BoundsCheckedMemset, Table) {
    struct Row {
        const char* what;
        bool nullDst;
        zul::rsize_t smax, n;
        int err;
        std::string after;
    } rows[] = {
        {"n == smax", false, 8, 8, 0, "zzzzzzzz"},
        {"n < smax", false, 8, 2, 0, "zz######"},
        {"n == 0", false, 8, 0, 0, "########"},
        {"n == smax + 1 still fills smax", false, 8, 9, ERANGE, "zzzzzzzz"},
        {"n above max still fills smax", false, 8, kHuge, ERANGE, "zzzzzzzz"},
        {"smax == 0", false, 0, 1, ERANGE, "########"},
        {"smax above max", false, kHuge, 1, ERANGE, "########"},
        {"null", true, 8, 8, EINVAL, "########"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        Guarded g;
        EXPECT_EQ(zul::memset_s(r.nullDst ? nullptr : g.dst(), r.smax, 'z', r.n), r.err);
        EXPECT_EQ(g.bytes(), r.after);
        EXPECT_TRUE(g.guardsIntact());
    }
}

TEST(BoundsCheckedStrncpy, Table) {
    const char goodbye[7] = {'g', 'o', 'o', 'd', 'b', 'y', 'e'};  // not terminated
    struct Row {
        const char* what;
        const char* src;
        zul::rsize_t s1max, n;
        int err;
        const char* text;  // destination text afterwards; null: destination untouched
    } rows[] = {
        {"fits with room to spare", "hello", 6, 100, 0, "hello"},
        {"text of s1max chars", "hello", 5, 100, ERANGE, ""},
        {"n bounds an unterminated source", goodbye, 5, 4, 0, "good"},
        {"unterminated source too long", goodbye, 5, 7, ERANGE, ""},
        {"n == s1max, shorter text", "abc", 4, 4, 0, "abc"},
        {"n == s1max, text of n chars", "abcd", 4, 4, ERANGE, ""},
        {"n == s1max + 1, shorter text", "abc", 4, 5, 0, "abc"},
        {"n == s1max + 1, text of s1max chars", "abcd", 4, 5, ERANGE, ""},
        {"n == s1max - 1 truncates", "abcdef", 4, 3, 0, "abc"},
        {"n == 0", "abc", 4, 0, 0, ""},
        {"s1max == 1", "", 1, 5, 0, ""},
        {"s1max == 1, text", "a", 1, 5, ERANGE, ""},
        {"null source", nullptr, 4, 2, EINVAL, ""},
        {"n above max", "abc", 4, kHuge, ERANGE, ""},
        {"s1max == 0", "abc", 0, 2, EINVAL, nullptr},
        {"s1max above max", "abc", kHuge, 2, ERANGE, nullptr},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        Guarded g;
        EXPECT_EQ(zul::strncpy_s(g.dst(), r.s1max, r.src, r.n), r.err);
        if (r.text != nullptr) {
            EXPECT_STREQ(g.dst(), r.text);
        } else {
            EXPECT_EQ(g.bytes(), "########");
        }
        // Nothing beyond the declared destination size is written.
        if (r.s1max <= 8) {
            EXPECT_EQ(g.bytes().substr(r.s1max), std::string(8 - r.s1max, '#'));
        }
        EXPECT_TRUE(g.guardsIntact());
    }
    EXPECT_EQ(zul::strncpy_s(nullptr, 4, "abc", 3), EINVAL);
}

TEST(BoundsCheckedStrncpy, OverlapIsRefused) {
    char b[16] = "abcdef";
    EXPECT_EQ(zul::strncpy_s(b + 2, 10, b, 6), EINVAL);
    EXPECT_STREQ(b, "ab");

    char c[16] = "abcdef";
    // Six characters are read and seven written at c+6: the source terminator (c[6]) is
    // overwritten but never read, so there is no overlap.
    EXPECT_EQ(zul::strncpy_s(c + 6, 8, c, 6), 0);
    EXPECT_STREQ(c + 6, "abcdef");
    char d[16] = "abcdef";
    EXPECT_EQ(zul::strncpy_s(d + 6, 8, d, 7), EINVAL);  // now the terminator is read too
}

TEST(BoundsCheckedWcscpy, Table) {
    struct Row {
        const char* what;
        const wchar_t* src;
        zul::rsize_t s1max;
        int err;
        const wchar_t* text;  // null: destination untouched
    } rows[] = {
        {"fits exactly", L"abc", 4, 0, L"abc"},
        {"one too long", L"abcd", 4, ERANGE, L""},
        {"empty", L"", 1, 0, L""},
        {"null source", nullptr, 4, EINVAL, L""},
        {"s1max == 0", L"a", 0, EINVAL, nullptr},
        {"s1max above max", L"a", kHuge, ERANGE, nullptr},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        wchar_t buf[8];
        std::wmemset(buf, L'#', 8);
        EXPECT_EQ(zul::wcscpy_s(buf, r.s1max, r.src), r.err);
        if (r.text != nullptr) {
            EXPECT_STREQ(buf, r.text);
        } else {
            EXPECT_EQ(buf[0], L'#');
        }
        for (size_t i = r.s1max; i < 8; ++i) EXPECT_EQ(buf[i], L'#') << i;
    }
    EXPECT_EQ(zul::wcscpy_s(nullptr, 4, L"a"), EINVAL);
    wchar_t o[8] = L"abc";
    EXPECT_EQ(zul::wcscpy_s(o + 1, 7, o), EINVAL);
    EXPECT_STREQ(o, L"a");
}

// Calls vsnprintf_s without a checked format, so a null format can be passed.
int formatV(char* s, zul::rsize_t n, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    const int r = zul::vsnprintf_s(s, n, format, ap);
    va_end(ap);
    return r;
}

TEST(BoundsCheckedSnprintf, TruncatesAtEverySize) {
    // "value=4" is 7 characters: n = 8 just fits, n = 7 loses the last one.
    for (zul::rsize_t n = 1; n <= 8; ++n) {
        Guarded g;
        EXPECT_EQ(zul::snprintf_s(g.dst(), n, "value=%d", 4), 7) << n;
        EXPECT_EQ(std::string(g.dst()), std::string("value=4").substr(0, n - 1)) << n;
        EXPECT_EQ(g.bytes().substr(n), std::string(8 - n, '#')) << n;
        EXPECT_TRUE(g.guardsIntact());
    }
    // Look-alikes of the forbidden forms are accepted.
    char buf[16];
    EXPECT_EQ(zul::snprintf_s(buf, sizeof buf, "100%%n %2$s%1$s", "b", "a"), 8);
    EXPECT_STREQ(buf, "100%n ab");
}

TEST(BoundsCheckedSnprintf, ViolationsEmptyTheDestination) {
    const char* nul = nullptr;
    const wchar_t* wnul = nullptr;
    int count = 0;
    char buf[32] = "untouched";
    auto f = [&](const char* format, auto... args) {
        return formatV(buf, sizeof buf, format, args...);
    };

    // Without a usable destination nothing is written.
    EXPECT_LT(zul::snprintf_s(buf, 0, "x"), 0);
    EXPECT_LT(zul::snprintf_s(buf, kHuge, "x"), 0);
    EXPECT_STREQ(buf, "untouched");
    EXPECT_LT(zul::snprintf_s(nullptr, 4, "x"), 0);

    struct Row {
        const char* what;
        std::function<int()> call;
    } rows[] = {
        {"null format", [&] { return f(nul); }},
        {"%n", [&] { return f("ab%n", &count); }},
        {"%hhn with flags", [&] { return f("%-5hhn", &count); }},
        {"positional %n", [&] { return f("%1$n", &count); }},
        {"null %s", [&] { return f("[%s]", nul); }},
        {"null %ls", [&] { return f("[%ls]", wnul); }},
        {"null %s after * width", [&] { return f("%*d%s", 5, 1, nul); }},
        {"null %s after double", [&] { return f("%.*f %s", 2, 1.5, nul); }},
        {"null %s after long double", [&] { return f("%Lg %lld %s", 1.5L, 7LL, nul); }},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        std::strcpy(buf, "untouched");
        EXPECT_LT(r.call(), 0);
        EXPECT_STREQ(buf, "");
    }
    EXPECT_EQ(count, 0);
}

TEST(BoundsCheckedSscanf, TextDestinationsAreSized) {
    using std::string;
    struct Row {
        const char *in, *format;
        zul::rsize_t size;
        int result;
        string after;  // the leading destination bytes afterwards
    } rows[] = {
        // "hello" needs six elements: nothing is assigned and the destination becomes empty.
        {"hello", "%s", 5, 0, string(1, '\0')},
        {"  hell world", "%s", 5, 1, string("hell\0", 5)},
        {"a", "%s", 0, 0, "#"},  // size 0 never fits
        // %c needs no terminator: exactly width elements.
        {"xyz", "%3c", 2, 0, "###"},
        {"xyz", "%3c", 3, 1, "xyz#"},
        {" q", "%c", 1, 1, " #"},
        {"ab", "%3c", 3, EOF, ""},  // input ends inside the field
        {"abc123", "%[a-z]", 4, 1, string("abc\0", 4)},
        {"abcd123", "%[a-z]", 4, 0, string(1, '\0')},
        {"]]x", "%[]]", 4, 1, string("]]\0", 3)},
        {"123", "%[a-z]", 4, 0, ""},  // empty match
    };
    for (const Row& r : rows) {
        char buf[8];
        std::memset(buf, '#', sizeof buf);
        EXPECT_EQ(zul::sscanf_s(r.in, r.format, buf, r.size), r.result) << r.in << " " << r.format;
        EXPECT_EQ(string(buf, r.after.size()), r.after) << r.in << " " << r.format;
    }

    // Width bounds the read; the rest stays for the next conversion.
    char a[4], b[4];
    EXPECT_EQ(zul::sscanf_s("abcdef", "%3s%3s", a, sizeof a, b, sizeof b), 2);
    EXPECT_STREQ(a, "abc");
    EXPECT_STREQ(b, "def");
    int value = 0;
    EXPECT_EQ(zul::sscanf_s("key,42", "%[^,],%d", a, sizeof a, &value), 2);
    EXPECT_STREQ(a, "key");
    EXPECT_EQ(value, 42);
    EXPECT_EQ(zul::sscanf_s("skip 7", "%*s %d", &value), 1);  // suppressed text takes no size
    EXPECT_EQ(value, 7);
}

TEST(BoundsCheckedSscanf, ResultsAndViolations) {
    int i = -1;
    char t[4];
    struct Row {
        const char* what;
        int got, want;
    } rows[] = {
        {"empty input", zul::sscanf_s("", "%d", &i), EOF},
        {"only spaces", zul::sscanf_s("   ", "%d", &i), EOF},

        {"matching failure", zul::sscanf_s("abc", "%d", &i), 0},
        {"literal mismatch", zul::sscanf_s("a1", "b%d", &i), 0},
        {"end after a suppressed conversion", zul::sscanf_s("5", "%*d%d", &i), 0},
        {"null input", zul::sscanf_s(nullptr, "%d", &i), EOF},
        {"null format", zul::sscanf_s("1", nullptr), EOF},
        {"null number destination", zul::sscanf_s("1", "%d", static_cast<int*>(nullptr)), EOF},
        {"null text destination", zul::sscanf_s("a", "%s", static_cast<char*>(nullptr), sizeof t),
         EOF},
        {"size above max", zul::sscanf_s("a", "%s", t, kHuge), EOF},
        {"wide text unsupported", zul::sscanf_s("a", "%ls", t, sizeof t), EOF},
        {"allocating unsupported", zul::sscanf_s("a", "%ms", t), EOF},
        {"zero width", zul::sscanf_s("1", "%0d", &i), EOF},
        {"unknown conversion", zul::sscanf_s("1", "%y", &i), EOF},
        {"percent literal", zul::sscanf_s("50 %", "%d %%", &i), 1},
    };
    for (const Row& r : rows) EXPECT_EQ(r.got, r.want) << r.what;
}

TEST(BoundsCheckedSscanf, NumbersAgreeWithTheCLibrary) {
    // Numeric conversions must behave exactly like sscanf: same count, values and %n.
    const char* const rows[][2] = {
        {"  12 34", "%d %d%n"}, {"0x1f 017", "%i %i%n"}, {"ff 17", "%x %o%n"}, {"-7abc", "%d%n%d"},
        {"123456", "%3d%2d%n"}, {"1,2", "%d,%d%n"},      {"1 ,2", "%d ,%d%n"}, {"+5 -6", "%u %d%n"},
        {"9", "%d %d%n"},       {"x9", "x%d%n%d"},       {"12:34", "%d:%x%n"}, {"", "%n%d%d"},
        {"  ", " %n%d%d"},      {"4 5", "%*d %d%n"},
    };
    for (const auto& row : rows) {
        int a1 = -1, b1 = -1, n1 = -1, a2 = -1, b2 = -1, n2 = -1;
        const int r1 = std::sscanf(row[0], row[1], &a1, &b1, &n1);
        const int r2 = zul::sscanf_s(row[0], row[1], &a2, &b2, &n2);
        EXPECT_EQ(r2, r1) << row[0] << " | " << row[1];
        EXPECT_EQ(a2, a1) << row[0] << " | " << row[1];
        EXPECT_EQ(b2, b1) << row[0] << " | " << row[1];
        EXPECT_EQ(n2, n1) << row[0] << " | " << row[1];
    }
    double d = 0;
    long long ll = 0;
    short h = 0;
    size_t consumed = 0;
    EXPECT_EQ(zul::sscanf_s("2.5e1 -9000000000 -3", "%lf %lld %hd%zn", &d, &ll, &h, &consumed), 3);
    EXPECT_DOUBLE_EQ(d, 25.0);
    EXPECT_EQ(ll, -9000000000LL);
    EXPECT_EQ(h, -3);
    EXPECT_EQ(consumed, 20u);
}

}  // namespace
