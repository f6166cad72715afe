// Wide text: UTF-8 <-> wide conversions (exact failure lines, all-or-nothing and partial
// results), iwstr views, String's wide members, AutoPtr and per-thread converters.
#include <gtest/gtest.h>
#include <zul/base/base_type_auto.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/mlcheck.h>

#include <cerrno>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
constexpr size_t kFailed = static_cast<size_t>(-1);

// The exact line a failed conversion prints to standard error.
std::string errorLine(char const* name, char const* what, int err) {
    return std::string("[ERROR] ") + name + " " + what + ", " + std::strerror(err) + "(" +
           std::to_string(err) + ")\n";
}
const auto decodeError = [](int err) { return errorLine("ZUL_UTF8_TO_WSTRING", "iconv()", err); };
const auto encodeError = [](int err) { return errorLine("ZUL_WSTRING_TO_UTF8", "iconv", err); };
const auto bytesOf = [](zul::Bytes const& b) { return std::string(b.c_str(), b.size()); };

// ASCII, 2-, 3-, 4- and (the encoder's worst case) 6-byte sequences.
struct RoundTrip {
    std::string utf8;
    std::wstring wide;
};
const RoundTrip kRoundTrips[] = {
    {"plain ASCII, 0-9 ~", L"plain ASCII, 0-9 ~"},
    {"\xC3\xA9\xC2\x80\xDF\xBF", L"\u00E9\u0080\u07FF"},
    {"\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBD", L"\u0800\u20AC\uFFFD"},
    {"\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", L"\U0001F600\U0010FFFF"},
    {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z", L"a\u00E9\u20AC\U0001F600z"},
    {"\xFD\xBF\xBF\xBF\xBF\xBF\xFD\xBF\xBF\xBF\xBF\xBF", std::wstring(2, wchar_t(0x7FFFFFFF))},
};

TEST(WideConvert, RoundTripsEveryForm) {
    for (auto const& r : kRoundTrips) {
        SCOPED_TRACE(r.utf8);
        std::wstring w(L"stale"), a(L"stale");
        zul::utf8ToWstring(r.utf8, w);
        zul::ansiToWstring(r.utf8, a);
        zul::Bytes b;
        zul::wstringToUtf8(r.wide, b);
        zul::String s("stale");
        zul::wstringToAnsi(r.wide, s);
        EXPECT_EQ(w, r.wide);
        EXPECT_EQ(a, r.wide);
        EXPECT_EQ(bytesOf(b), r.utf8);
        EXPECT_EQ(s, r.utf8);

        // The tagged forms only forward to the converters above; these have code of their own.
        EXPECT_EQ(std::wstring(zul::to_wstr(r.utf8.c_str()).get()), r.wide);
        EXPECT_EQ(std::wstring(zul::to_wstr(r.wide.c_str()).get()), r.wide);
        zul::Bytes nul = zul::toUtf8(zul::ansi(r.utf8));
        for (auto const& text : {std::string(zul::toAnsi(zul::utf8(r.utf8))), bytesOf(nul),
                                 std::string(zul::to_str(r.wide.c_str()).get()),
                                 std::string(zul::to_utf8str(r.wide.c_str()).get())})
            EXPECT_EQ(text, r.utf8);
        EXPECT_EQ(nul.c_str()[nul.size()], '\0');
    }
}

TEST(WideConvert, InvalidInputPrintsExactLineAndEmptiesResult) {
    const std::pair<char const*, int> bad8[] = {
        {"\xFF", EILSEQ},         {"abc\xFF", EILSEQ}, {"\xC3\xA9\xFF\xC3\xA9", EILSEQ},
        {"\xC0\x80", EILSEQ},      // overlong NUL
        {"\xED\xA0\x80", EILSEQ},  // encoded surrogate
        {"ab\xC3", EINVAL},        // truncated at the end
    };
    for (auto const& [utf8, err] : bad8) {
        std::wstring w(L"stale");
        CaptureStderr();
        zul::utf8ToWstring(utf8, w);
        EXPECT_EQ(GetCapturedStderr(), decodeError(err)) << utf8;
        EXPECT_TRUE(w.empty());
    }
    const std::wstring badWide[] = {{L'a', wchar_t(0xD800)}, {L'a', wchar_t(0x80000000u)}};
    for (auto const& w : badWide) {
        zul::Bytes b(zul::istr("stale"));
        zul::String s("stale");
        CaptureStderr();
        zul::wstringToUtf8(w, b);
        zul::wstringToAnsi(w, s);
        EXPECT_EQ(GetCapturedStderr(), encodeError(EILSEQ) + encodeError(EILSEQ));
        EXPECT_EQ(b.size(), 0u);
        EXPECT_TRUE(s.empty());
    }
    // Too little room fails as a whole.
    wchar_t w[2];
    char u[1];
    CaptureStderr();
    EXPECT_EQ(ZUL_UTF8_TO_WSTRING("abc", 3, w, 2), kFailed);
    EXPECT_EQ(ZUL_WSTRING_TO_UTF8(L"\u00E9", 1, u, 1), kFailed);
    EXPECT_EQ(GetCapturedStderr(), decodeError(E2BIG) + encodeError(E2BIG));

    // A truncated lead byte must not combine with the continuation byte of the next call.
    std::wstring next;
    CaptureStderr();
    zul::utf8ToWstring("a\xC3", next);
    zul::utf8ToWstring("\xA9", next);
    EXPECT_EQ(GetCapturedStderr(), decodeError(EINVAL) + decodeError(EILSEQ));
    EXPECT_TRUE(next.empty());
    zul::utf8ToWstring("\xC3\xA9", next);
    EXPECT_EQ(next, L"\u00E9");
}

TEST(WideConvert, NullEmptyAndTerminatingZero) {
    CaptureStderr();
    std::wstring w(L"stale");
    zul::utf8ToWstring(zul::istr(), w);
    EXPECT_TRUE(w.empty());
    zul::Bytes b(zul::istr("stale"));
    zul::wstringToUtf8(zul::iwstr(L""), b);
    EXPECT_EQ(b.size(), 0u);
    zul::String s("stale");
    zul::utf8ToAnsi(zul::istr(), s);
    EXPECT_TRUE(s.empty());
    unsigned char* buf = zul::ansiToUtf8(zul::istr(), b);
    EXPECT_EQ(buf, b.buffer());
    EXPECT_EQ(b.size(), 0u);
    EXPECT_EQ(b.buffer()[0], 0);
    EXPECT_EQ(ZUL_UTF8_TO_WSTRING(nullptr, 5, nullptr, 0), 0u);
    EXPECT_EQ(GetCapturedStderr(), "");

    // A final 0 element is counted out; one inside the text is kept.
    const std::pair<zul::iwstr, std::string> rows[] = {
        {zul::iwstr(L"ab\0", 3), "ab"},
        {zul::iwstr(L"a\0b", 3), std::string("a\0b", 3)},
        {zul::iwstr(L"\0", 1), ""}};
    for (auto const& [wide, utf8] : rows) {
        zul::wstringToUtf8(wide, b);
        EXPECT_EQ(bytesOf(b), utf8);
    }
}

TEST(WideConvert, PointerConversionsKeepWhatPrecedesAFailure) {
    EXPECT_TRUE(zul::to_wstr(static_cast<char const*>(nullptr)).isNull());
    EXPECT_TRUE(zul::to_wstr(static_cast<wchar_t const*>(nullptr)).isNull());
    EXPECT_TRUE(zul::to_str(static_cast<char const*>(nullptr)).isNull());
    EXPECT_TRUE(zul::to_str(static_cast<wchar_t const*>(nullptr)).isNull());

    zul::AutoPtr<char> empty = zul::to_str("");
    ASSERT_FALSE(empty.isNull());
    EXPECT_EQ(empty[0], '\0');

    const std::string bad8 = std::string("ab\xC3\xA9\xFF") + "cd";
    const std::wstring badWide = std::wstring(L"ab\u00E9") + wchar_t(0xD800) + L"cd";
    CaptureStderr();
    EXPECT_EQ(std::wstring(zul::to_wstr(bad8.c_str()).get()), L"ab\u00E9");
    EXPECT_STREQ(zul::to_str(badWide.c_str()).get(), "ab\xC3\xA9");
    EXPECT_STREQ(zul::to_utf8str(badWide.c_str() + 3).get(), "");
    EXPECT_EQ(GetCapturedStderr(), decodeError(EILSEQ) + encodeError(EILSEQ) + encodeError(EILSEQ));
}

TEST(WideConvert, PerThreadConvertersRunConcurrently) {
    constexpr int kThreads = 8, kRounds = 2000, kFailEvery = 500;
    std::vector<int> mismatches(kThreads, 0);
    std::vector<std::thread> threads;
    CaptureStderr();
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &mismatches] {
            for (int i = 0; i < kRounds; ++i) {
                auto const& r = kRoundTrips[(t + i) % std::size(kRoundTrips)];
                std::wstring w;
                zul::utf8ToWstring(r.utf8, w);
                if (w != r.wide || zul::String(w) != r.utf8) ++mismatches[t];
                if (i % kFailEvery == 0) {  // a failure must not disturb the next call
                    zul::utf8ToWstring("\xC3", w);
                    if (!w.empty()) ++mismatches[t];
                }
            }
        });
    }
    for (auto& th : threads) th.join();
    std::string err = GetCapturedStderr();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
    std::string expected;
    for (int i = 0; i < kThreads * (kRounds / kFailEvery); ++i) expected += decodeError(EINVAL);
    EXPECT_EQ(err, expected);
}

TEST(Iwstr, ClampingTrimOrderAndDump) {
    zul::iwstr h(L"hello");
    EXPECT_EQ(zul::iwstr(nullptr).size, 0u);
    EXPECT_EQ(zul::iwstr(L"ab\0cd").size, 2u);
    const std::pair<zul::iwstr, const wchar_t*> views[] = {
        // clang-format off
        {zul::iwstr(h, 99), L"hello"}, {h.substr(1, 3), L"ell"}, {h.substr(10, 2), L""},
        {h.rightstr(10), L"hello"}, {h.rightstr(zul::iwstr::npos), L"hello"},
        {h.removeLeft(L"xx"), L"llo"}, {h.removeRight(2), L"hel"},
        {zul::iwstr(L" \t\n x ").trimLeft(), L"x "}, {zul::iwstr(L" \t ").trimLeft(), L""},
        // clang-format on
    };
    for (auto const& [got, want] : views) EXPECT_EQ(std::wstring(got), want);
    EXPECT_TRUE(h.beginWith(L"he") && h.endWith(L"llo"));
    EXPECT_FALSE(zul::iwstr(L"he").beginWith(L"hello"));

    struct Order {
        zul::iwstr a, b;
        int sign;
    } const orders[] = {
        {L"\u0100", L"\u00FF", -1},  // the low byte comes first: 0x00 < 0xFF
        {L"ab", L"abc", -1},        {L"b", L"abc", 1}, {zul::iwstr(), zul::iwstr(L""), 0},
        {zul::iwstr(), L"a", -1},
    };
    for (auto const& o : orders) {
        int c = o.a.compare(o.b);
        EXPECT_EQ((c > 0) - (c < 0), o.sign) << testing::PrintToString(std::wstring(o.a));
        EXPECT_EQ(o.a < o.b, o.sign < 0);
        EXPECT_EQ(o.a == o.b, o.sign == 0);
    }

    std::ostringstream os;
    zul::iwstr(L"x\u00E9").dump(os);
    os << '|' << zul::iwstr(L"\u20AC") << '|' << zul::iwstr() << '|';
    zul::Wchar(0xE9).dump(os);
    zul::Wchar(0x1F600).dump(os);
    EXPECT_EQ(os.str(), "2, x\xC3\xA9|\xE2\x82\xAC||\xC3\xA9\xF0\x9F\x98\x80");
}

TEST(StringWide, ConstructAssignAppendAndBack) {
    const std::wstring w = L"caf\u00E9 \u20AC";
    const char* u = "caf\xC3\xA9 \xE2\x82\xAC";
    EXPECT_EQ(zul::String(w), u);
    EXPECT_EQ(zul::String(w.c_str()), u);

    EXPECT_EQ(zul::String(static_cast<const wchar_t*>(nullptr)), "");
    zul::String s("old");
    s = static_cast<const wchar_t*>(nullptr);
    EXPECT_EQ(s, "");

    s = "a";
    (s += std::wstring(L"\u00E9")) += zul::iwstr(L"b");
    (s += static_cast<const wchar_t*>(nullptr)) += L"\U0001F600";
    CaptureStderr();
    s += std::wstring(1, wchar_t(0xD800));  // a failed conversion appends nothing
    GetCapturedStderr();
    EXPECT_EQ(s, std::string("a\xC3\xA9") + "b\xF0\x9F\x98\x80");

    EXPECT_EQ(static_cast<std::wstring>(zul::String(u)), w);
    EXPECT_EQ(zul::String::ansiFromUtf8(u), u);
    zul::Bytes b;
    unsigned char* buf = zul::String("xy").ansiToUtf8(b);
    EXPECT_EQ(buf, b.buffer());
    EXPECT_EQ(bytesOf(b), "xy");
    EXPECT_EQ(b.c_str()[2], '\0');
}

TEST(AutoPtr, OwnershipAndLeakCheckerRecords) {
    char* a = new char[4];
    zul::AutoPtr<char> p(a);
    p.set(a);  // the same pointer is kept, not freed (ASan reports a double free otherwise)
    p = new char[4];
    zul::AutoPtr<char> q(std::move(p));
    EXPECT_TRUE(p.isNull());
    delete[] q.release();
    EXPECT_TRUE(q.isNull());

    zul::MemLeakChecker* m = zul::MemLeakChecker::instance();
    m->start();
    {
        zul::AutoPtr<wchar_t> w = zul::to_wstr("abc");
        EXPECT_EQ(m->count(zul::Current("zul/base/base_type_string", 610, "to_wstr")), 1u);
        std::wstring out;
        zul::utf8ToWstring("abc", out);  // its buffer is gone when the call returns
        EXPECT_EQ(m->size(), 1u);
    }
    EXPECT_EQ(m->size(), 0u);
    zul::MemLeakChecker::destroy();
}

}  // namespace
