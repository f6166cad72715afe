// Character, memory and small helpers: null tolerance, bounds, exact texts, byte order.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <zul/base/exception.h>
#include <zul/util/util_func.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <utility>

namespace {

constexpr size_t npos = zul::istr::npos;

int sign(int v) {
    return (v > 0) - (v < 0);
}

TEST(UtilFuncStr, LenNAndCopy) {
    EXPECT_EQ(zul::StrLenN(nullptr, 5), 0u);
    EXPECT_EQ(zul::StrLenN("abc", 0), 0u);
    EXPECT_EQ(zul::StrLenN("abc", 2), 2u);
    EXPECT_EQ(zul::StrLenN("abc", 3), 3u);
    EXPECT_EQ(zul::StrLenN("abc", npos), 3u);

    char buf[8];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(zul::StrCopy(buf, "abcdef", 2), buf);
    EXPECT_EQ(std::string(buf, 4), std::string("ab\0#", 4));
    EXPECT_STREQ(zul::StrCopy(buf, "xyz"), "xyz");
    EXPECT_STREQ(zul::StrCopy(buf, nullptr, 5), "");
    EXPECT_EQ(zul::StrCopy(nullptr, "a", 1), nullptr);
    EXPECT_EQ(zul::StrCopy(buf, buf, 3), buf);
}

TEST(UtilFuncStr, CmpCStrings) {
    const char* same = "abc";
    struct Row {
        const char *a, *b;
        size_t n;
        bool ic;
        int sign;
    } rows[] = {
        // clang-format off
        {"abc", "ABD", 2, true, 0}, {"abc", "ABD", 3, true, -1}, {"abc", "ABD", npos, true, -1},
        {"abc", "abc", npos, false, 0}, {"ab", "abc", npos, false, -1}, {"b", "abc", npos, false, 1},
        {"ab", "abc", 2, false, 0}, {"abc", "abd", 0, false, 0}, {same, same, npos, false, 0},
        {nullptr, "", npos, false, 0}, {nullptr, nullptr, npos, false, 0},
        {nullptr, "a", npos, false, -1}, {"a", nullptr, npos, false, 1}, {"", nullptr, 1, false, 0},
        {"", "a", npos, false, -1}, {"a", "", npos, true, 1}, {"\x80", "a", npos, false, 1},
        {"ABC", "abc", npos, true, 0}, {"ab", "AB", 5, true, 0}, {"a", "AB", 5, true, -1},
        // clang-format on
    };
    for (const Row& r : rows)
        EXPECT_EQ(sign(zul::StrCmp(r.a, r.b, r.n, r.ic)), r.sign)
            << zul::SafeStr(r.a) << " | " << zul::SafeStr(r.b) << " n=" << r.n << " ic=" << r.ic;

    // The case-blind walk reports the character where the texts part.
    EXPECT_EQ(zul::StrCmpUnsafe("ab", "A", npos, true), 'b');
    EXPECT_EQ(zul::StrCmpUnsafe("a", "Ab", npos, true), -'b');
    EXPECT_EQ(zul::StrCmpUnsafe("a", "Ab", 1, true), 0);
    EXPECT_EQ(zul::StrCmpUnsafe("abc", "ABD", 3, true), 'C' - 'D');
}

TEST(UtilFuncStr, CmpViews) {
    const char text[] = "abcXYZ";
    const char other[] = "abd";
    struct Row {
        const char* what;
        zul::istr a, b;
        size_t n;
        bool ic;
        int want;  // exact result
    } rows[] = {
        {"same pointer, sizes differ", {text, 3}, {text, 6}, npos, false, 0},
        {"n == 0", {text, 3}, {other, 3}, 0, false, 0},
        {"null a, filled b", {}, {other, 3}, npos, false, -1},
        {"null a, empty b", {}, {other, 0}, npos, false, 0},
        {"null a, null b", {}, {}, npos, false, 0},
        {"filled a, null b", {text, 2}, {}, npos, false, 1},
        {"empty a, filled b", {text, 0}, {other, 1}, npos, false, -1},
        {"prefix is smaller by the size difference", {text, 2}, {other, 3}, npos, false, -1},
        {"longer is larger", {other, 3}, {"ab", 2}, npos, false, 1},
        {"bound makes them equal", {text, 3}, {"abcd", 4}, 3, false, 0},
        {"content decides", {text, 3}, {other, 3}, npos, false, 'c' - 'd'},
        {"unterminated view, case-blind", {text, 3}, {"ABC", 3}, npos, true, 0},
        {"case-blind, longer", {text, 4}, {"ABC", 3}, npos, true, 1},
    };
    for (const Row& r : rows) EXPECT_EQ(zul::StrCmp(r.a, r.b, r.n, r.ic), r.want) << r.what;

    EXPECT_TRUE(zul::StrBeginWith("abcdef", "abc") && zul::StrBeginWith("abc", "") &&
                zul::StrBeginWith(nullptr, zul::istr()));
    EXPECT_FALSE(zul::StrBeginWith("ab", "abc") || zul::StrBeginWith("ABC", "abc") ||
                 zul::StrBeginWith(nullptr, "a"));
}

TEST(UtilFuncStr, CaseDigitsAndTrimming) {
    char s[] = "aBc1-xyz";
    EXPECT_STREQ(zul::StrToUpper(s, 4), "ABC1-xyz");
    EXPECT_STREQ(zul::StrToLower(s), "abc1-xyz");
    EXPECT_STREQ(zul::StrToUpper(s, 0), "abc1-xyz");
    EXPECT_EQ(zul::StrToUpper(nullptr, 3), nullptr);

    const std::pair<const char*, bool> digits[] = {
        {nullptr, false}, {"", false},   {"0123456789", true}, {"12a", false},
        {" 1", false},    {"-1", false}, {"\xB2", false}};
    for (auto [p, all] : digits) EXPECT_EQ(zul::StrIsAllDigits(p), all) << zul::SafeStr(p);

    // Each row: input, after StrTrimRight, pair character, after trimLeftRight.
    struct Trim {
        std::string in, right;
        char c;
        std::string pair;
    } trims[] = {
        // clang-format off
        {"ab \t\r\n\v\f", "ab", '"', "ab \t\r\n\v\f"}, {"   ", "", '"', "   "}, {"", "", '"', ""},
        {"\"x\"", "\"x\"", '"', "x"}, {"\"", "\"", '"', "\""}, {"\"x", "\"x", '"', "\"x"},
        {"\"\"", "\"\"", '"', ""}, {"\"\"\"", "\"\"\"", '"', "\""}, {" a ", " a", ' ', "a"},
        // clang-format on
    };
    for (const Trim& t : trims) {  // the wide forms share these templates
        std::string r = t.in, p = t.in;
        zul::StrTrimRight(r);
        zul::trimLeftRight(p, t.c);
        EXPECT_EQ(r, t.right) << t.in;
        EXPECT_EQ(p, t.pair) << t.in;
    }
}

TEST(UtilFuncMem, NullTolerantCopiesAndCompares) {
    char d[8];
    auto reset = [&] { std::memcpy(d, "########", 8); };
    reset();
    EXPECT_EQ(zul::MemSet(d, 'a', 3), d);
    EXPECT_EQ(std::string(d, 8), "aaa#####");
    EXPECT_EQ(zul::MemSet(nullptr, 'a', 3), nullptr);
    EXPECT_EQ(zul::MemSet(d, 'b', 0), d);
    EXPECT_EQ(std::string(d, 8), "aaa#####");

    reset();
    EXPECT_EQ(zul::MemCopy(d, "xyz", 3), d);
    EXPECT_EQ(std::string(d, 8), "xyz#####");
    zul::MemCopy(d, nullptr, 3);
    zul::MemCopy(d, "q", 0);
    zul::MemCopy(d, d, 3);
    EXPECT_EQ(std::string(d, 8), "xyz#####");
    EXPECT_EQ(zul::MemCopy(nullptr, "q", 1), nullptr);

    reset();
    EXPECT_EQ(zul::MemCopyZ(d, "abcdef", 3), d);
    EXPECT_EQ(std::string(d, 8), std::string("abc\0####", 8));
    reset();
    zul::MemCopyZ(d, nullptr, 5);  // a null source copies nothing, still terminates
    EXPECT_EQ(std::string(d, 8), std::string("\0#######", 8));
    reset();
    zul::MemCopyZ(d, d, 3);
    EXPECT_EQ(std::string(d, 8), "########");

    const char* x = "abc";
    struct Row {
        const void *a, *b;
        size_t n;
        int sign;
    } rows[] = {
        {x, x, 3, 0},         {nullptr, nullptr, 3, 0}, {nullptr, "a", 1, -1}, {"a", nullptr, 1, 1},
        {nullptr, "a", 0, 0}, {"ab", "ac", 2, -1},      {"ab", "ac", 1, 0},    {"\x80", "a", 1, 1},
    };
    for (const Row& r : rows) EXPECT_EQ(sign(zul::MemCmp(r.a, r.b, r.n)), r.sign);
}

TEST(UtilFuncChar, ClassesAndHexDigits) {
    // High bytes must be looked up by their unsigned value, never as a negative index.
    for (int v = 128; v < 256; ++v) {
        const char c = static_cast<char>(v);
        EXPECT_FALSE(zul::CharIsDigit(c) || zul::CharIsSpace(c) || zul::CharIsAlpha(c) ||
                     zul::CharIsPrint(c))
            << v;
        EXPECT_EQ(zul::CharToUpper(c), c);
    }
    EXPECT_TRUE(zul::CharIsSpace(L'\t') && !zul::CharIsSpace(L'x'));
    EXPECT_TRUE(zul::CharIsPrint(L'x') && !zul::CharIsPrint(L'\n'));

    EXPECT_TRUE(zul::CharIn(',', "a,b") && zul::CharIn('\0', "a,b") && zul::CharIn('\0', nullptr));
    EXPECT_FALSE(zul::CharIn('c', "a,b") || zul::CharIn('a', nullptr));

    for (unsigned v = 0; v < 16; ++v) {
        const char digit = "0123456789ABCDEF"[v];
        EXPECT_EQ(zul::HexToChar(static_cast<unsigned char>(v)), digit);
        EXPECT_EQ(zul::HexToChar(static_cast<unsigned char>(v | 0xF0)), digit);
        EXPECT_EQ(zul::HexFromChar(digit), v);
        EXPECT_EQ(zul::HexFromChar(zul::CharToLower(digit)), v);
    }
    for (char bad : {'g', 'G', '/', ':', '@', '`', ' ', '\0', '\xff'})
        EXPECT_EQ(zul::HexFromChar(bad), 255) << static_cast<int>(bad);
}

TEST(UtilFuncChar, CharAtBoundsAndItsException) {
    char s[] = "abc";
    unsigned char u[] = "abc";
    EXPECT_EQ(zul::CharAt(s, 3, 0), s);
    EXPECT_EQ(zul::CharAt(s, 3, 3), s + 3);  // the terminator position
    EXPECT_EQ(zul::CharAt(u, 3, 3), u + 3);

    struct Row {
        const char* what;
        std::function<void()> call;
        unsigned line;
    } rows[] = {
        {"char*, index past the terminator", [&] { zul::CharAt(s, 3, 4); }, 370},
        {"unsigned char*, null", [&] { zul::CharAt(static_cast<unsigned char*>(nullptr), 0, 0); },
         382},

    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        try {
            r.call();
            ADD_FAILURE() << "nothing thrown";
        } catch (const zul::OutOfRangeException& e) {
            EXPECT_STREQ(e.msg(), "zul::OutOfRangeException: zul::OutOfRangeException");
            EXPECT_EQ(e.line(), r.line);
            EXPECT_STREQ(e.file(), "zul/util/util_func.cpp");
            EXPECT_STREQ(e.func(), "CharAt");
        }
    }

    // The constant forms answer out of range with one shared NUL.
    const char* cs = s;
    const unsigned char* cu = u;
    EXPECT_EQ(zul::CharAt(cs, 3, 3), cs + 3);
    const char* nul = zul::CharAt(cs, 3, 4);
    EXPECT_EQ(*nul, '\0');
    EXPECT_EQ(zul::CharAt(static_cast<const char*>(nullptr), 3, 0), nul);
    EXPECT_EQ(static_cast<const void*>(zul::CharAt(cu, 3, 9)), static_cast<const void*>(nul));
}

TEST(UtilFuncChar, PrintNamesEveryControlCode) {
    // clang-format off
    const char* const names[32] = {"<NUL>", "^A", "^B", "^C", "^D", "^E", "^F", "^G", "<BS>",
        "<HT>", "<LF>", "<VT>", "<FF>", "<CR>", "^N", "^O", "^P", "^Q", "^R", "^S", "^T", "^U",
        "^V", "^W", "^X", "^Y", "^Z", "<ESC>", "^\\", "^]", "^^", "^_"};
    // clang-format on
    for (int code = 0; code < 32; ++code) {
        std::ostringstream os;
        zul::Print(os, static_cast<char>(code));
        EXPECT_EQ(os.str(), names[code]) << code;
    }
    const std::pair<int, const char*> rows[] = {{' ', " "},      {'A', "A"},     {'~', "~"},
                                                {'\\', "\\"},    {127, "\\177"}, {128, "\\200"},
                                                {0xE9, "\\351"}, {255, "\\377"}};
    for (auto [code, text] : rows) {
        std::ostringstream os;
        zul::Print(os, static_cast<char>(code)) << 10;  // the stream is back to decimal
        EXPECT_EQ(os.str(), std::string(text) + "10") << code;
    }
    std::ostringstream os;
    zul::Print(os, static_cast<const char*>(nullptr));
    zul::Print(os, "|ok");
    EXPECT_EQ(os.str(), "<null>|ok");
    EXPECT_STREQ(
        reinterpret_cast<const char*>(zul::SafeStr(static_cast<const unsigned char*>(nullptr))),
        "<null>");
}

TEST(UtilFuncSystem, EnvironmentAndErrors) {
    ::setenv("ZUL_UTIL_TEST_VAR", "v=1", 1);
    ::unsetenv("ZUL_UTIL_TEST_UNSET");
    EXPECT_EQ(zul::getenv("ZUL_UTIL_TEST_VAR"), "v=1");
    EXPECT_EQ(zul::getenv("ZUL_UTIL_TEST_UNSET"), "");
    EXPECT_EQ(zul::getenv(nullptr), "");
    ::unsetenv("ZUL_UTIL_TEST_VAR");

    errno = EACCES;
    EXPECT_EQ(zul::getLastErrno(), EACCES);
    EXPECT_EQ(zul::getLastErrorMsg(2), "(2) " + std::string(std::strerror(2)));
    EXPECT_EQ(errno, EACCES);  // kept across the call
    EXPECT_EQ(zul::getLastErrorMsg(), "(13) " + std::string(std::strerror(EACCES)));
    EXPECT_EQ(zul::getLastErrorMsg(-1).compare(0, 5, "(-1) "), 0);

    const std::pair<const char*, const char*> rows[] = {
        {"a.:b..c", "a.b.c"}, {"a::b::c", "a.b.c"}, {"", ""},
        {"::a", ".a"},        {"a:", "a."},         {"plain", "plain"}};
    for (auto [in, out] : rows) EXPECT_EQ(zul::normalizeName(in), out) << in;
    EXPECT_EQ(zul::normalizeName(zul::istr()), "");
    EXPECT_EQ(zul::normalizeName(zul::istr("a::bX", 4)), "a.b");

    EXPECT_FALSE(zul::System::closing());
    zul::System::close();
    zul::System::close();
    EXPECT_TRUE(zul::System::closing());
}

TEST(UtilFuncNet, ByteOrder) {
    EXPECT_EQ(zul::hton(static_cast<unsigned short>(0x1234)), (zul::octets<2>{{0x12, 0x34}}));
    EXPECT_EQ(zul::hton(0x1122334455667788ul), (zul::octets<4>{{0x55, 0x66, 0x77, 0x88}}));
    EXPECT_EQ(zul::hton(0x0102030405060708ull), (zul::octets<8>{{1, 2, 3, 4, 5, 6, 7, 8}}));
    for (unsigned short v : {0, 1, 0x80, 0xFF, 0x1234, 0x8000, 0xFFFF})
        EXPECT_EQ(zul::ntoh(zul::hton(v)), v);
    for (unsigned long v : {0ul, 1ul, 0x80000000ul, 0xFFFFFFFFul, 0xDEADBEEFul})
        EXPECT_EQ(zul::ntoh(zul::hton(v)), v);
    EXPECT_EQ(zul::ntoh(zul::hton(0x1FFFFFFFFul)), 0xFFFFFFFFul);
    for (unsigned long long v : {0ull, 1ull, 0x8000000000000000ull, ~0ull, 0x0123456789ABCDEFull})
        EXPECT_EQ(zul::ntoh(zul::hton(v)), v);
}

TEST(UtilFuncNet, AddressTexts) {
    const std::pair<const char*, unsigned long> rows[] = {
        {"127.0.0.1", htonl(0x7F000001u)}, {"1.2.3.4", htonl(0x01020304u)},  {"0.0.0.0", 0ul},
        {"255.255.255.255", 0xFFFFFFFFul}, {"not an address", 0xFFFFFFFFul}, {"", 0xFFFFFFFFul},
    };
    for (auto [text, addr] : rows) {
        EXPECT_EQ(zul::ip_aton(text), addr) << text;
        if (text[0] >= '0' && text[0] <= '9') {
            EXPECT_EQ(zul::ip_ntoa(addr), text);
        }
    }
    EXPECT_EQ(zul::ip_aton(zul::istr()), 0xFFFFFFFFul);
    EXPECT_EQ(zul::ip_ntoa(0x1200000000ul | htonl(0x0A000001u)), "10.0.0.1");  // high bits dropped

    using zul::operator<<;
    std::ostringstream os;
    os << ACE_INET_Addr(static_cast<u_short>(8080), "127.0.0.1");
    EXPECT_EQ(os.str(), "127.0.0.1:8080");
}

}  // namespace
