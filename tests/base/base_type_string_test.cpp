// Text views and strings: view clamping and ordering, ostr bounds, String conversions
// checked against the standard streams, StringRef column writes.
#include <gtest/gtest.h>
#include <zul/base/base_type_string.h>

#include <cfloat>
#include <climits>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <utility>

namespace {

using zul::istr;
using zul::ostr;
using zul::String;
constexpr size_t npos = istr::npos;

std::string str(istr s) {
    return s.data ? std::string(s.data, s.size) : std::string("<null>");
}

template <class T>
std::string streamed(const T& v) {
    std::ostringstream os;
    os << v;
    return os.str();
}

TEST(IstrView, ConstructionMeasuresAndClamps) {
    const char gap[] = {'a', 'b', '\0', 'c', 'd'};
    const unsigned char bytes[] = "xyz";
    const char* nul = nullptr;
    const std::pair<istr, size_t> rows[] = {
        // clang-format off
        {istr("abc"), 3}, {istr(nul), 0}, {istr(gap), 2}, {istr(gap, 5), 5}, {istr(nul, 7), 0},
        {istr(bytes), 3}, {istr(std::string("12345")), 5}, {istr(istr("hello"), 2), 2},
        {istr(istr("hi"), 9), 2},
        // clang-format on
    };
    for (auto [view, size] : rows) EXPECT_EQ(view.size, size) << str(view);
    static_assert(sizeof(istr) == 16 && sizeof(ostr) == 16 &&
                  sizeof(String) == sizeof(std::string));
}

TEST(IstrCompare, UnsignedBytesNullFirstShorterFirst) {
    struct Row {
        istr a, b;
        int sign;
    } rows[] = {
        {istr("ab"), istr("abc"), -1}, {istr("b"), istr("abc"), 1},
        {istr("\x80"), istr("a"), 1},  {istr("abc"), istr("abc"), 0},
        {istr(), istr(), 0},           {istr(), istr(""), 0},
        {istr(), istr("a"), -1},       {istr("a"), istr(), 1},
        {istr("abd"), istr("abc"), 1}, {istr("a\0b", 3), istr("a", 1), 1},
    };
    for (const Row& r : rows) {
        const int c = r.a.compare(r.b);
        EXPECT_EQ((c > 0) - (c < 0), r.sign) << str(r.a) << " vs " << str(r.b);
        EXPECT_TRUE((r.a == r.b) == (r.sign == 0) && (r.a != r.b) == (r.sign != 0) &&
                    (r.a < r.b) == (r.sign < 0) && (r.a > r.b) == (r.sign > 0) &&
                    (r.a <= r.b) == (r.sign <= 0) && (r.a >= r.b) == (r.sign >= 0))
            << str(r.a) << " vs " << str(r.b);
    }
    EXPECT_EQ(istr("ab").compare(istr("abc")), -1);  // a tie on the common part is -1/0/1
    EXPECT_EQ(istr("abc").compare(istr("ab")), 1);
}

TEST(IstrSlices, ClampToTheView) {
    const istr h("hello");
    const std::pair<istr, const char*> rows[] = {
        // clang-format off
        {h.rightstr(10), "hello"}, {h.rightstr(npos), "hello"}, {h.rightstr(2), "lo"},
        {h.rightstr(0), ""}, {h.substr(10, 2), ""}, {h.substr(1, 3), "ell"}, {h.substr(3), "lo"},
        {h.substr(5, 1), ""}, {h.leftstr(2), "he"}, {h.leftstr(99), "hello"},
        {h.removeLeft(istr("zz")), "llo"}, {h.removeRight(2), "hel"},
        // clang-format on
    };

    for (auto [got, want] : rows) EXPECT_EQ(str(got), want);
    EXPECT_EQ(h.substr(10, 2).data, h.data + 5);
    EXPECT_EQ(istr().substr(3, 3).data, nullptr);

    struct Affix {
        istr view, x;
        bool begins, ends;
    } affixes[] = {
        // clang-format off
        {h, istr("he"), true, false}, {h, istr("llo"), false, true}, {istr("he"), h, false, false},
        {h, istr(""), true, true}, {h, h, true, true}, {istr(), istr(), true, true},
        {istr("lo"), h, false, false},
        // clang-format on
    };
    for (const Affix& a : affixes) {
        EXPECT_EQ(a.view.beginWith(a.x), a.begins) << str(a.view) << " / " << str(a.x);
        EXPECT_EQ(a.view.endWith(a.x), a.ends) << str(a.view) << " / " << str(a.x);
    }
}

TEST(IstrDump, SizeThenTextAndRawStreaming) {
    std::ostringstream a, b, c, d;
    istr("hello").dump(a);
    istr().dump(b);
    c << std::hex << istr("a\0b", 3) << istr() << istr("", 0);
    d << std::hex;
    istr("0123456789abcdef").dump(d);  // the size stays decimal
    EXPECT_EQ(a.str(), "5, hello");
    EXPECT_EQ(b.str(), "0, <null>");
    EXPECT_EQ(c.str(), std::string("a\0b", 3));
    EXPECT_EQ(d.str(), "16, 0123456789abcdef");
}

TEST(OstrAssign, EmptyOrNullBufferIgnoresEverything) {
    char one[1] = {'#'};
    ostr zero(one, 0), null(static_cast<char*>(nullptr), 10);
    for (ostr* o : {&zero, &null}) {
        *o = "abc";
        o->assign("abc", 3);
        *o = istr("x");
        o->clear();  // no byte belongs to a capacity-0 view
        o->reset();
        *o = static_cast<const char*>(nullptr);
    }
    EXPECT_EQ(one[0], '#');
    EXPECT_EQ(null.size(), 0u);
    EXPECT_EQ(null.sizeN(), 0u);
}

TEST(OstrAssign, CopiesTerminatesAndTruncates) {
    struct Row {
        const char* p;
        size_t n;
        const char* want;
    } rows[] = {
        // clang-format off
        {"abc", 3, "abc"}, {"abcdef", 3, "abc"}, {"", 0, ""}, {nullptr, 5, ""}, {"abc", 0, ""},
        {"abcdefg", 7, "abcdefg"}, {"abcdefgh", 8, "abcdefg"}, {"abcdefghijk", 11, "abcdefg"},
        {"ab\0cd", 5, "ab"},
        // clang-format on
    };
    for (const Row& r : rows) {
        char buf[8];
        std::memset(buf, '#', sizeof buf);
        ostr(buf, sizeof buf).assign(r.p, r.n);
        EXPECT_STREQ(buf, r.want) << (r.p ? r.p : "<null>") << " n=" << r.n;
    }
    char buf[8] = "zzzzzzz";
    ostr o(buf, sizeof buf);
    o = istr("viewed", 4);
    EXPECT_STREQ(buf, "view");
}

TEST(OstrView, SizesSlicesResetAndDump) {
    char buf[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    ostr o(buf, sizeof buf);
    EXPECT_EQ(o.sizeN(), 8u);
    EXPECT_EQ(o.sizeN(3), 3u);
    o.reset();
    EXPECT_EQ(std::string(buf, 8), std::string("\0bcdefg\0", 8));
    o = "abc";
    EXPECT_EQ(o.size(), 3u);
    EXPECT_EQ(o.sizeN(), 3u);
    EXPECT_EQ(static_cast<istr>(o).size, 8u);  // the whole capacity, not the text
    struct Row {
        ostr got;
        size_t offset, capacity;
    } rows[] = {
        {o.substr(2, 3), 2, 3}, {o.substr(6), 6, 2},   {o.substr(20, 4), 8, 0},
        {o.leftstr(5), 0, 5},   {o.leftstr(99), 0, 8}, {o.rightstr(3), 5, 3},
        {o.rightstr(8), 0, 8},  {o.rightstr(9), 0, 8}, {o.rightstr(npos), 0, 8},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(r.got.buffer, buf + r.offset);
        EXPECT_EQ(r.got.capacity, r.capacity);
    }
    EXPECT_EQ(ostr().substr(2, 2).buffer, nullptr);
    std::ostringstream a, b;
    o.dump(a);
    ostr().dump(b);
    EXPECT_EQ(a.str(), "3/8, abc");
    EXPECT_EQ(b.str(), "0/0, <null>");
}

TEST(StringBasics, NullTolerantConstructionAssignmentAndAppend) {
    EXPECT_EQ(String(istr()), "");
    EXPECT_EQ(String("a\0b", 3).size(), 3u);
    EXPECT_EQ(String(reinterpret_cast<const unsigned char*>("xy"), 1), "x");
    String s("keep");
    s = static_cast<const char*>(nullptr);
    EXPECT_TRUE(s.empty());
    s = "x";
    s = istr();
    EXPECT_TRUE(s.empty());
    s = "x";
    s = static_cast<const unsigned char*>(nullptr);
    EXPECT_TRUE(s.empty());
    char mutableText[] = "m";
    ((((s += static_cast<const char*>(nullptr)) += istr()) += "a") += mutableText) += "";
    ((((s += std::string("b")) += String("c")) += istr("dz", 1)) += 'e') +=
        static_cast<unsigned char>('f');
    EXPECT_EQ(s, "ambcdef");
    EXPECT_FALSE(!s);
    EXPECT_NE(static_cast<void*>(s), nullptr);
    EXPECT_TRUE(!String());
    EXPECT_EQ(static_cast<void*>(String()), nullptr);
    EXPECT_TRUE(String::null().empty());

    const std::pair<const char*, const char*> trims[] = {
        {"\"x\"", "x"},         {"\"", "\""}, {"\"x", "\"x"}, {"\"\"", ""},
        {"\"\"x\"\"", "\"x\""}, {"", ""},     {"x\"", "x\""}, {"'x'", "'x'"}};
    for (auto [in, out] : trims) EXPECT_EQ(String(in).trimLeftRight('"'), out) << in;
}

template <class T>
void expectFormatsLikeStream(std::initializer_list<T> values) {
    for (const T& v : values) {
        String s;
        s += v;
        EXPECT_EQ(s, streamed(v));
    }
}

TEST(StringValueToText, IntegersMatchTheStream) {
    expectFormatsLikeStream<short>({0, -5, SHRT_MIN, SHRT_MAX});
    expectFormatsLikeStream<unsigned short>({0, 7, USHRT_MAX});
    expectFormatsLikeStream<int>({0, -1, 42, INT_MIN, INT_MAX});
    expectFormatsLikeStream<unsigned>({0, 10, UINT_MAX});
    expectFormatsLikeStream<long>({0, -1000000, LONG_MIN, LONG_MAX});
    expectFormatsLikeStream<unsigned long>({0, ULONG_MAX});
    expectFormatsLikeStream<long long>({LLONG_MIN, LLONG_MAX, -9});
    expectFormatsLikeStream<unsigned long long>({0, ULLONG_MAX});
    expectFormatsLikeStream<bool>({true, false});
    String chain;
    // appends chain without separators
    chain += static_cast<short>(-5);
    chain += 1.0 / 3;
    chain += true;
    EXPECT_EQ(chain, "-50.3333331");
}

TEST(StringValueToText, FloatingPointMatchesTheStream) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    expectFormatsLikeStream<double>(
        {1.5,     0.1,          1e7,      123456789.0, 1.0 / 3, 0.0,   -0.0,      1e-5,
         0.0001,  123456,       1234567,  999999.5,    9999995, 1e100, -2.5e-300, DBL_MAX,
         DBL_MIN, DBL_TRUE_MIN, inf,      -inf,        nan,     -nan,  100,       0.000123456789,
         1e21,    0.5,          2.0000005});
    expectFormatsLikeStream<float>({0.1f, 1.5f, 3.4e38f, FLT_MIN, 16777216.f, -7.25f, 1e-45f,
                                    std::numeric_limits<float>::infinity()});
}

// Runs one text through operator>> and through a real std::istringstream, starting both
// from the same value, and compares result and stored value bit for bit.
template <class T>
void expectReadsLikeStream(const std::string& text) {
    T mine, theirs;
    std::memset(&mine, 0x5A, sizeof mine);
    std::memcpy(&theirs, &mine, sizeof mine);
    const bool got = String(text) >> mine;
    bool want = false;
    if (!text.empty()) {
        std::istringstream is(text);
        is >> theirs;
        want = !is.fail();
    }
    EXPECT_EQ(got, want) << '"' << text << "\" as " << typeid(T).name();
    EXPECT_EQ(std::memcmp(&mine, &theirs, sizeof mine), 0)
        << '"' << text << "\" as " << typeid(T).name() << ": " << +mine << " vs " << +theirs;
}

template <class... T>
void expectReadsLikeStreamAs(const std::string& text) {
    (expectReadsLikeStream<T>(text), ...);
}

TEST(StringTextToValue, MatchesTheStreamForEveryType) {
    // clang-format off
    const std::string texts[] = {
        "", "  ", "42", "  42", "\t\n\v\f\r42x", "12abc", "x", "-", "+", "+5", "-5", "-0", "007",
        "0x1F", "1e3", "- 5", "5 6", "+-5", "\x80", " A", "true", "false", "1", "0", "2", "01",
        "-1", "32767", "32768", "-32768", "-32769", "65535", "65536", "-65535", "-65536", "127",
        "255", "256", "2147483647", "2147483648", "-2147483648", "-2147483649", "4294967295",
        "4294967296", "-4294967295", "9223372036854775807", "9223372036854775808",
        "-9223372036854775808", "-9223372036854775809", "18446744073709551615",
        "18446744073709551616", "18446744073709551620", "65540", "4294967300",
        "9223372036854775810", "-9223372036854775810", "-18446744073709551615",
        "99999999999999999999999999", "000000000000000000000000000000001",
        "1.5", ".5", "1.", ".", "-.5e-3", "1e", "1e+", "1e-", "1e+5x", "1E5", "e5", "1e400",
        "-1e400", "1e-400", "3.5e38", "-3.5e38", "1e-46", "2.4703282292062328e-324", "inf",
        "-inf", "nan", "0x1p3", "1.2.3", "1e5e3", "1e5.3", "0.1", "2.5e1",
        "123456789012345678901234567890", "1.7976931348623157e308", "1.7976931348623159e308",
        "4.9e-324", std::string("7\0" "8", 3), std::string(" \0" "5", 3),
        "0" + std::string(400, '0') + "12", "1" + std::string(400, '0'),
        "0." + std::string(400, '0') + "1",
    };
    // clang-format on
    for (const std::string& t : texts)
        expectReadsLikeStreamAs<char, unsigned char, short, unsigned short, int, unsigned, long,
                                unsigned long, long long, unsigned long long, float, double, bool>(
            t);
}

TEST(StringTextToValue, RoundTripsWhatValueToTextWrites) {
    auto roundTrip = [](auto x) {
        String s;
        s += x;
        decltype(x) back{};
        EXPECT_TRUE(s >> back) << s;
        EXPECT_EQ(back, x);
    };
    for (long long x : {0LL, -1LL, 42LL, LLONG_MIN, LLONG_MAX}) roundTrip(x);
    for (double x : {0.5, -1.25, 1e7, 3.0e-5}) roundTrip(x);  // exact in 6 digits
}

// A locale that groups thousands and uses a decimal comma, to prove that the fast paths
// step aside when the global locale is not the classic one.
struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(StringConversions, FollowANonClassicGlobalLocale) {
    const std::locale old = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    String s;
    s += 1234567;
    s += ' ';
    s += 2.5;
    int i = 0;
    const bool readGrouped = String("1.234") >> i;
    double d = 0;
    const bool readComma = String("2,5") >> d;
    std::locale::global(old);
    EXPECT_EQ(s, "1.234.567 2,5");
    EXPECT_TRUE(readGrouped);
    EXPECT_EQ(i, 1234);
    EXPECT_TRUE(readComma);
    EXPECT_EQ(d, 2.5);
}

// A 10-byte buffer of dots, as the column writes of the log records use it.
struct Dots {
    char buf[10];
    zul::StringRef ref{buf, sizeof buf};
    Dots() { std::memset(buf, '.', sizeof buf); }
    std::string text() const { return std::string(buf, sizeof buf); }
};

TEST(StringRefColumns, AlignedWritesLandAtFixedPlaces) {
    using R = zul::StringRef;
    const std::pair<void (*)(R&), const char*> rows[] = {
        {[](R& r) { r.right(istr("abc")); }, "...... abc"},
        {[](R& r) { r.center(istr("abcdefghijkl")); }, " cdefghij "},
        {[](R& r) { r.center(istr("ab")); }, "... ab ..."},
        {[](R& r) { r.center(istr("abc")); }, ".. abc ..."},
        {[](R& r) { r.left(istr("abc")); }, "abc ......"},
        {[](R& r) { r.left(istr("abcdefghijkl")); }, "abcdefghi "},
        {[](R& r) { r.right(istr("abcdefghijkl")); }, " defghijkl"},
        {[](R& r) { r.right('x', 3); }, "...... xxx"},
        {[](R& r) { r.right('x', 50); }, " xxxxxxxxx"},
        {[](R& r) { r.left(istr("ab")).right(istr("xyz")); }, "ab ... xyz"},
        {[](R& r) { r.left(istr("abcdefgh")).right(istr("xyz")); }, "abcdef xyz"},
        {[](R& r) { r.left(istr()).right(istr("")).center(istr()).right('x', 0); }, ".........."},
    };
    for (auto [op, want] : rows) {
        Dots d;
        op(d.ref);
        EXPECT_EQ(d.text(), want);
        EXPECT_EQ(d.ref.curSize(), 0u);  // alignment never advances
    }
}

TEST(StringRefColumns, FillAndAppendAdvanceAndStopAtTheEnd) {
    Dots d;
    d.ref.fill('-', 3).append("ab");
    EXPECT_EQ(d.text(), std::string("---ab\0....", 10));
    d.ref.append(nullptr).append("zz", 0).fill('x', 0);
    EXPECT_EQ(d.ref.curSize(), 5u);
    d.ref.append("0123456789", 3);
    EXPECT_EQ(d.text(), std::string("---ab012\0.", 10));
    d.ref.append("XYZW");  // room for two: no terminator fits after them
    EXPECT_EQ(d.text(), "---ab012XY");
    EXPECT_EQ(d.ref.curSize(), 10u);
    d.ref.append("Q").fill('#', 4);
    EXPECT_EQ(d.text(), "---ab012XY");
    EXPECT_EQ(d.ref.curSize(), d.ref.maxSize());
    EXPECT_EQ(str(d.ref.text()), "---ab012XY");

    Dots f;
    f.ref.fill('=', 99);
    EXPECT_EQ(f.text(), "==========");
    EXPECT_EQ(f.ref.curSize(), 10u);
}

TEST(CharrayFill, CopiesClampAndTerminate) {
    const std::pair<size_t, const char*> rows[] = {
        {0, ""}, {2, "xx"}, {4, "xxxx"}, {5, "xxxx"}, {npos, "xxxx"}};
    for (auto [n, want] : rows) {
        zul::charray<4> a('x', n);
        EXPECT_STREQ(a.c_str(), want);
        EXPECT_EQ(static_cast<istr>(a).size, std::strlen(want));
    }
    EXPECT_EQ(sizeof(zul::charray<64>), 65u);
    EXPECT_EQ(zul::charray<64>().out().capacity, 65u);
}

}  // namespace
