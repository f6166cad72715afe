// Tests of typed insertion into and extraction from value-tree nodes.
#include <gtest/gtest.h>
#include <zul/pml/ntv_unit.h>

#include <climits>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

using zul::String;
using zul::pml::ntv::Unit;

namespace {

std::string text(const Unit& u) {
    return String(u.getStringValue());
}

template <class T>
void expectRoundTrip(T v) {
    Unit u;
    u << v;
    T back{};
    EXPECT_TRUE(u >> back) << text(u);
    EXPECT_EQ(back, v) << text(u);
}

// Reads `T` from a text node holding `stored`; `ok` and `want` give the expected result.
template <class T>
void expectRead(const char* stored, bool ok, T want) {
    Unit u;
    u.setValue(stored);
    const T sentinel = static_cast<T>(7);
    T got = sentinel;
    EXPECT_EQ(u >> got, ok) << '"' << stored << '"';
    EXPECT_EQ(got, ok ? want : sentinel) << '"' << stored << '"';
}

}  // namespace

TEST(NtvUnitTyped, InsertionTexts) {
    struct Row {
        std::function<void(Unit&)> put;
        std::string text;
        const char* type;
    };
    const unsigned char ubytes[] = "y";
    const Row rows[] = {
        {[](Unit& u) { u << true; }, "1", ""},
        {[](Unit& u) { u << false; }, "0", ""},
        {[](Unit& u) { u << zul::Bit(true); }, "1", ""},
        {[](Unit& u) { u << 'A'; }, "A", ""},
        {[](Unit& u) { u << static_cast<unsigned char>(200); }, "\xC8", ""},
        {[](Unit& u) { u << static_cast<short>(-5); }, "-5", ""},
        {[](Unit& u) { u << static_cast<unsigned short>(65535); }, "65535", ""},
        {[](Unit& u) { u << INT_MIN; }, "-2147483648", ""},
        {[](Unit& u) { u << UINT_MAX; }, "4294967295", ""},
        {[](Unit& u) { u << LONG_MIN; }, "-9223372036854775808", ""},
        {[](Unit& u) { u << ULONG_MAX; }, "18446744073709551615", ""},
        {[](Unit& u) { u << LLONG_MAX; }, "9223372036854775807", ""},
        {[](Unit& u) { u << ULLONG_MAX; }, "18446744073709551615", ""},
        {[](Unit& u) { u << zul::Short(-7); }, "-7", ""},
        {[](Unit& u) { u << zul::Ushort(7); }, "7", ""},
        {[](Unit& u) { u << zul::Long(-1); }, "-1", ""},
        {[](Unit& u) { u << zul::Ulong(1); }, "1", ""},
        {[](Unit& u) { u << zul::Longlong(-3); }, "-3", ""},
        {[](Unit& u) { u << zul::Byte(255); }, "255", ""},
        {[](Unit& u) { u << 1.5f; }, "1.5", ""},
        {[](Unit& u) { u << 0.1; }, "0.1", ""},
        {[](Unit& u) { u << 1e7; }, "1e+07", ""},
        {[](Unit& u) { u << 123456789.0; }, "1.23457e+08", ""},
        {[](Unit& u) { u << zul::Wchar(0xE9); }, "\\u00E9", ""},
        {[](Unit& u) { u << zul::Wchar(0x1F600); }, "\\uF600", ""},
        {[](Unit& u) { u << zul::istr("ab", 1); }, "a", ""},
        {[](Unit& u) { u << "txt"; }, "txt", ""},
        {[](Unit& u) { u << static_cast<const char*>(nullptr); }, "", ""},
        {[&](Unit& u) { u << ubytes; }, "y", ""},
        {[](Unit& u) { u << std::string("std"); }, "std", ""},
        {[](Unit& u) { u << String("own"); }, "own", ""},
        {[](Unit& u) { u << L"\u00E9"; }, "w6k=", "utf8"},
        {[](Unit& u) { u << std::wstring(L"A"); }, "QQ==", "utf8"},
        {[](Unit& u) { u << zul::iwstr(); }, "", "utf8"},
        {[](Unit& u) { u << zul::Bytes(zul::istr("\x00\x01\x02", 3)); }, "AAEC", "base64"},
    };
    for (const Row& r : rows) {
        Unit u(zul::istr("n"));
        u.addChild("gone", "1");  // insertion replaces a list by the text
        r.put(u);
        EXPECT_TRUE(u.simple()) << r.text;
        EXPECT_EQ(u.numofChildren(), 0u) << r.text;
        EXPECT_EQ(text(u), r.text);
        EXPECT_EQ(u.type(), r.type) << r.text;
        EXPECT_EQ(u.name(), "n");
    }
}

TEST(NtvUnitTyped, ExtractionRules) {
    expectRead<bool>("true", true, true);
    expectRead<bool>("false", true, false);
    expectRead<bool>("1", true, true);
    expectRead<bool>("0", true, false);
    expectRead<bool>("yes", false, false);
    expectRead<bool>("", false, false);
    expectRead<char>(" A", true, 'A');
    expectRead<unsigned char>("\tz", true, 'z');
    expectRead<int>("  42", true, 42);
    expectRead<int>("12abc", true, 12);
    expectRead<int>("x", false, 0);
    expectRead<int>("", false, 0);
    expectRead<int>("99999999999", false, 0);  // overflow leaves the target alone
    expectRead<unsigned short>("70000", false, 0);
    expectRead<long long>("-9223372036854775808", true, LLONG_MIN);
    expectRead<unsigned long>("18446744073709551615", true, ULONG_MAX);
    expectRead<double>("1e-3", true, 0.001);
    expectRead<float>("2.5x", true, 2.5f);
    expectRead<double>("abc", false, 0);

    Unit u;
    u.setValue("300");
    zul::Byte b(1);
    EXPECT_TRUE(u >> b);
    EXPECT_EQ(b.value, 44);  // low 8 bits of 300
    u.setValue("70000");
    EXPECT_FALSE(u >> b);
    EXPECT_EQ(b.value, 44);

    u.setValue("-12");
    zul::Short s;
    zul::Long l;
    zul::Longlong ll;
    zul::Ushort us(9);
    zul::Ulong ul;
    EXPECT_TRUE(u >> s && s.value == -12);
    EXPECT_TRUE(u >> l && l.value == -12);
    EXPECT_TRUE(u >> ll && ll.value == -12);
    u.setValue("x");
    EXPECT_FALSE(u >> us);
    EXPECT_EQ(us.value, 9);
    u.setValue("8");
    EXPECT_TRUE(u >> ul && ul.value == 8u);
    zul::Bit bit;
    u.setValue("true");
    EXPECT_TRUE(u >> bit && bit.value);

    volatile int vi = 1;
    volatile double vd = 1;
    volatile bool vb = false;
    u.setValue("5");
    EXPECT_TRUE(u >> vi);
    EXPECT_TRUE(u >> vd);
    EXPECT_FALSE(u >> vb);  // "5" is not a bool
    EXPECT_EQ(vi, 5);
    EXPECT_EQ(vd, 5.0);
    u.setValue("1");
    EXPECT_TRUE(u >> vb);
    EXPECT_TRUE(vb);
    u.setValue("q");
    EXPECT_FALSE(u >> vi);
    EXPECT_EQ(vi, 5);

    String str("old");
    u.setValue("  whole text  ");
    EXPECT_TRUE(u >> str);
    EXPECT_EQ(str, "  whole text  ");
}

TEST(NtvUnitTyped, Wchar) {
    struct Row {
        const char* stored;
        bool ok;
        wchar_t want;
    };
    const Row rows[] = {
        {"\\u00E9", true, 0xE9}, {"\\uffff", true, 0xFFFF},
        {"\\u00E", false, 0},    {"\\u00E9x", false, 0},
        {"\\u00G9", false, 0},   {"xu00E9", false, 0},
        {"\\U00E9", false, 0},   {"", false, 0},
    };
    for (const Row& r : rows) {
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
    const std::wstring texts[] = {L"", L"plain", L"\u00E9t\u00E9", L"\u4E2D\u6587",
                                  L"\U0001F600 and more"};
    for (const std::wstring& w : texts) {
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
        zul::Bytes bytes(zul::istr(all.data(), n));
        Unit u;
        u << bytes;
        EXPECT_EQ(u.type(), "base64");
        zul::Bytes back;
        EXPECT_TRUE(u >> back);
        ASSERT_EQ(back.size(), n);
        EXPECT_EQ(n == 0 || std::memcmp(back.data(), all.data(), n) == 0, true) << n;
    }
}

TEST(NtvUnitTyped, RoundTripsAtTheLimits) {
    expectRoundTrip(true);
    expectRoundTrip(false);
    expectRoundTrip('q');
    expectRoundTrip(static_cast<unsigned char>(255));
    expectRoundTrip(std::numeric_limits<short>::min());
    expectRoundTrip(std::numeric_limits<unsigned short>::max());
    expectRoundTrip(std::numeric_limits<int>::min());
    expectRoundTrip(std::numeric_limits<unsigned int>::max());
    expectRoundTrip(std::numeric_limits<long>::min());
    expectRoundTrip(std::numeric_limits<unsigned long>::max());
    expectRoundTrip(std::numeric_limits<long long>::max());
    expectRoundTrip(std::numeric_limits<unsigned long long>::max());
    expectRoundTrip(0.25f);
    expectRoundTrip(-1.5);
    expectRoundTrip(String("text"));
}

TEST(NtvUnitTyped, NonTextNodesReadNothing) {
    Unit list;
    list.addChild("a", "1");
    Unit none;
    for (const Unit* u : {&list, &none}) {
        int i = 3;
        bool b = true;
        double d = 2;
        String s("keep");
        zul::Bytes bytes(zul::istr("k"));
        zul::Wchar w(L'x');
        std::wstring ws = L"x";
        EXPECT_FALSE(*u >> i);
        EXPECT_FALSE(*u >> b);
        EXPECT_FALSE(*u >> d);
        EXPECT_FALSE(*u >> s);
        EXPECT_FALSE(*u >> bytes);
        EXPECT_FALSE(*u >> w);
        EXPECT_FALSE(*u >> ws);
        EXPECT_EQ(i, 3);
        EXPECT_TRUE(b);
        EXPECT_EQ(d, 2);
        EXPECT_EQ(s, "keep");
        EXPECT_EQ(bytes.size(), 1u);
        EXPECT_EQ(w.value, 0);
        EXPECT_TRUE(ws.empty());
    }
}
