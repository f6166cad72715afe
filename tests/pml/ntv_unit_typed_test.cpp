// Tests of typed insertion into and extraction from value-tree nodes.
#include <climits>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "pml_test_support.h"

using namespace zul_test;

namespace {

std::string text(const Unit& u) {
    return String(u.getStringValue());
}

// Stores every value and reads it back unchanged.
template <class... T>
void expectRoundTrips(T... values) {
    auto one = [](auto v) {
        Unit u;
        u << v;
        decltype(v) back{};
        EXPECT_TRUE(u >> back) << text(u);
        EXPECT_EQ(back, v) << text(u);
    };
    (one(values), ...);
}

// The plain value of a typed wrapper (its `value`), or the value itself.
template <class T>
auto plain(const T& v, int) -> decltype(v.value) {
    return v.value;
}
template <class T>
std::remove_cv_t<T> plain(const T& v, long) {
    return v;
}
template <class T>
using Plain = decltype(plain(std::declval<T&>(), 0));

// Reads `T` from a text node holding `stored`; `ok` and `want` give the expected result, and a
// failed read leaves the target unchanged.
template <class T>
void expectRead(const char* stored, bool ok, Plain<T> want) {
    Unit u;
    u.setValue(stored);
    T got = static_cast<T>(7);
    EXPECT_EQ(u >> got, ok) << '"' << stored << '"';
    const Plain<T> sentinel = plain(static_cast<T>(7), 0);
    EXPECT_EQ(plain(got, 0), ok ? want : sentinel) << '"' << stored << '"';
}

}  // namespace

#define PUT(x) [&](Unit& u) { u << (x); }

TEST(NtvUnitTyped, InsertionTexts) {
    struct Row {
        std::function<void(Unit&)> put;
        std::string text;
        const char* type = "";
    };
    const unsigned char ubytes[] = "y";
    // clang-format off
    const Row rows[] = {
        {PUT(true), "1"}, {PUT(false), "0"}, {PUT(zul::Bit(true)), "1"},
        {PUT('A'), "A"}, {PUT(static_cast<unsigned char>(200)), "\xC8"},
        {PUT(static_cast<short>(-5)), "-5"},
        {PUT(static_cast<unsigned short>(65535)), "65535"},
        {PUT(INT_MIN), "-2147483648"}, {PUT(UINT_MAX), "4294967295"},
        {PUT(LONG_MIN), "-9223372036854775808"}, {PUT(ULONG_MAX), "18446744073709551615"},
        {PUT(LLONG_MAX), "9223372036854775807"}, {PUT(ULLONG_MAX), "18446744073709551615"},
        {PUT(zul::Short(-7)), "-7"}, {PUT(zul::Byte(255)), "255"},  // one wrapper per path

        {PUT(1.5f), "1.5"}, {PUT(0.1), "0.1"}, {PUT(1e7), "1e+07"},
        {PUT(123456789.0), "1.23457e+08"},
        {PUT(zul::Wchar(0xE9)), "\\u00E9"}, {PUT(zul::Wchar(0x1F600)), "\\uF600"},
        {PUT(istr("ab", 1)), "a"}, {PUT("txt"), "txt"},
        {PUT(static_cast<const char*>(nullptr)), ""}, {PUT(ubytes), "y"},
        {PUT(std::string("std")), "std"}, {PUT(String("own")), "own"},
        {PUT(L"\u00E9"), "w6k=", "utf8"}, {PUT(std::wstring(L"A")), "QQ==", "utf8"},
        {PUT(zul::iwstr()), "", "utf8"},
        {PUT(zul::Bytes(istr("\x00\x01\x02", 3))), "AAEC", "base64"},
    };
    // clang-format on
    for (size_t i = 0; i < sizeof rows / sizeof *rows; ++i) {
        Unit u(istr("n"));
        u.addChild("gone", "1");  // insertion replaces a list by the text
        rows[i].put(u);
        EXPECT_TRUE(u.simple()) << i;
        EXPECT_EQ(u.numofChildren(), 0u) << i;
        EXPECT_EQ(text(u), rows[i].text) << i;
        EXPECT_EQ(u.type(), rows[i].type) << i;
        EXPECT_EQ(u.name(), "n");
    }
}

TEST(NtvUnitTyped, ExtractionRules) {
    // clang-format off
    expectRead<bool>("true", true, true);   expectRead<bool>("false", true, false);
    expectRead<bool>("1", true, true);      expectRead<bool>("0", true, false);
    expectRead<bool>("yes", false, false);  expectRead<bool>("", false, false);
    expectRead<char>(" A", true, 'A');      expectRead<unsigned char>("\tz", true, 'z');
    expectRead<int>("  42", true, 42);      expectRead<int>("12abc", true, 12);
    expectRead<int>("x", false, 0);         expectRead<int>("", false, 0);
    expectRead<int>("99999999999", false, 0);  // overflow leaves the target alone
    expectRead<unsigned short>("70000", false, 0);
    expectRead<long long>("-9223372036854775808", true, LLONG_MIN);
    expectRead<unsigned long>("18446744073709551615", true, ULONG_MAX);
    expectRead<double>("1e-3", true, 0.001);  expectRead<float>("2.5x", true, 2.5f);
    expectRead<double>("abc", false, 0);

    expectRead<zul::Byte>("300", true, 44);  // the low 8 bits
    expectRead<zul::Byte>("70000", false, 0);
    expectRead<zul::Short>("-12", true, -12);      expectRead<zul::Ushort>("x", false, 0);
    expectRead<zul::Bit>("true", true, true);      expectRead<volatile int>("q", false, 0);
    expectRead<volatile double>("5", true, 5);     expectRead<volatile bool>("1", true, true);
    expectRead<volatile bool>("5", false, false);  // "5" is not a bool

    // clang-format on

    Unit u;
    String str("old");
    u.setValue("  whole text  ");
    EXPECT_TRUE(u >> str);
    EXPECT_EQ(str, "  whole text  ");
}

TEST(NtvUnitTyped, Wchar) {
    const struct {
        const char* stored;
        bool ok;
        wchar_t want;
    } rows[] = {
        {"\\u00E9", true, 0xE9}, {"\\uffff", true, 0xFFFF},
        {"\\u00E", false, 0},    {"\\u00E9x", false, 0},
        {"\\u00G9", false, 0},   {"xu00E9", false, 0},
        {"\\U00E9", false, 0},   {"", false, 0},
    };
    for (const auto& r : rows) {
        Unit u;
        u.setValue(r.stored);
        zul::Wchar w(L'z');
        EXPECT_EQ(u >> w, r.ok) << r.stored;
        EXPECT_EQ(w.value, r.want) << r.stored;  // reset to 0 even on failure
    }
    Unit u;
    u << zul::Wchar(0x4E2D);
    zul::Wchar back;
    EXPECT_TRUE(u >> back);
    EXPECT_EQ(back.value, 0x4E2D);
}

TEST(NtvUnitTyped, WideTextAndBytes) {
    for (const std::wstring& w : std::vector<std::wstring>{
             L"", L"plain", L"\u00E9t\u00E9", L"\u4E2D\u6587", L"\U0001F600 and more"}) {
        Unit u;
        u << w;
        EXPECT_EQ(u.type(), "utf8");
        std::wstring back = L"junk";
        EXPECT_TRUE(u >> back);
        EXPECT_EQ(back, w);
    }
    // Without the "utf8" type the text itself is decoded.
    Unit plain;
    plain.setValue("\xC3\xA9t\xC3\xA9");
    std::wstring w = L"junk";
    EXPECT_TRUE(plain >> w);
    EXPECT_EQ(w, L"\u00E9t\u00E9");

    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
    for (size_t n : {0u, 1u, 2u, 3u, 57u, 58u, 256u}) {
        Unit u;
        u << zul::Bytes(istr(all.data(), n));
        EXPECT_EQ(u.type(), "base64");
        zul::Bytes back;
        EXPECT_TRUE(u >> back);
        ASSERT_EQ(back.size(), n);
        EXPECT_TRUE(n == 0 || std::memcmp(back.data(), all.data(), n) == 0) << n;
    }
}

TEST(NtvUnitTyped, RoundTripsAtTheLimits) {
    expectRoundTrips(true, false, 'q', static_cast<unsigned char>(255), -1.5, 0.25f,
                     static_cast<short>(SHRT_MIN), static_cast<unsigned short>(USHRT_MAX), INT_MIN,
                     UINT_MAX, LONG_MIN, ULONG_MAX, LLONG_MAX, ULLONG_MAX, String("text"));
}

TEST(NtvUnitTyped, NonTextNodesReadNothing) {
    Unit list;
    list.addChild("a", "1");
    Unit none;
    for (const Unit* u : {&list, &none}) {
        // Reads into a copy of `v` and expects failure; the copy as the read left it.
        auto read = [u](auto v) {
            EXPECT_FALSE(*u >> v);
            return v;
        };
        EXPECT_EQ(read(3), 3);
        EXPECT_EQ(read(true), true);
        EXPECT_EQ(read(2.0), 2.0);
        EXPECT_EQ(read(String("keep")), "keep");
        EXPECT_EQ(read(zul::Bytes(istr("k"))).size(), 1u);
        EXPECT_EQ(read(zul::Wchar(L'x')).value, 0);  // reset first
        EXPECT_EQ(read(std::wstring(L"x")), L"");    // reset first
    }
}
