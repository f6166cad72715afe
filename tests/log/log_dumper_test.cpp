// Tests of zul::dumper: the two layouts, quoted text, value writers, containers, and the
// dumper forms of the library's own types.
#include <gtest/gtest.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/exception.h>
#include <zul/base/mlcheck.h>
#include <zul/log/log_dumper.h>
#include <zul/log/log_tracer.h>
#include <zul/pml/ntv_unit.h>
#include <zul/util/util_func.h>

#include <list>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using zul::dumper;

// Writes one value through the formatted (or plain) writer of a fresh standard dumper.
template <class T>
std::string fmt(T const& v) {
    dumper d;
    d << v;
    return d.str();
}
template <class T>
std::string raw_(T const& v) {
    dumper d;
    d.write(v);
    return d.str();
}

// The indented layout of an object: "@type {", each field on its own line one level deeper,
// "}". A newline inside a field (a nested object, a quoted newline) is followed by the field's
// indentation, as the dumper writes it.
std::string block(char const* type, std::initializer_list<std::string> fields) {
    std::string s = std::string("@") + type + " {\n";
    for (std::string const& f : fields) {
        s += "    ";
        for (char c : f) s += c == '\n' ? std::string("\n    ") : std::string(1, c);
        s += "\n";
    }
    return s + "}";
}

std::string configBlock(bool compact) {
    return block("zul::dumper::Config",
                 {std::string("compact_ = ") + (compact ? "true" : "false"),
                  "lineSeparator_ = \"\n\"", "indentSeparator_ = \"    \"", "level_ = 0",
                  "eolSeparator_ = ", "beginTag_ = \"{\"", "endTag_ = \"}\"", "typeTag_ = \":\"",
                  "nvSeparator_ = \" = \"", "valueSeparator_ = \", \""});
}

std::string currentBlock(std::string const& file, int line, std::string const& func) {
    return block("zul::Current", {"_v.file() = " + file, "_v.line() = " + std::to_string(line),
                                  "_v.func() = " + func, "_v.prefix() = "});
}

struct Boom {
    void dump(dumper& d) const {
        dumper::_Entry e(d, "Boom");
        d << zul::indent << zul::namestring("x") << 1 << zul::endline;
        throw std::runtime_error("boom");
    }
};

TEST(Dumper, StandardConfigInBothLayouts) {
    dumper d;
    d << dumper::Config();
    EXPECT_EQ(d.str(), configBlock(false));
    EXPECT_EQ(d.level(), 0u);
    dumper c(true);
    c << dumper::Config();
    EXPECT_EQ(c.str(), "{false, \"\n\", \"    \", 0, , \"{\", \"}\", \":\", \" = \", \", \"}");
}

TEST(Dumper, QuotedText) {
    std::string const s256(256, 'a');
    struct Row {
        std::string in;
        std::string out;
    } const rows[] = {
        {"", ""},
        {"abc", "\"abc\""},
        {std::string("\x01\x02") + "A", "\"\\x{0102}A\""},

        {"\x7F", "\"\\x{7F}\""},
        {"\x80\xFF", "\"\\x{80FF}\""},
        {std::string("\x01\n\x02z", 4), "\"\\x{01\n02}z\""},
        {"a\nb", "\"a\nb\""},
        {s256, "\"" + s256 + "\""},
        {s256 + "b", "\"" + s256 + "<omit data up to 257>\""},
        {std::string(300, 'z'), "\"" + std::string(256, 'z') + "<omit data up to 300>\""},
        {std::string(255, 'a') + "\x01\x02",
         "\"" + std::string(255, 'a') + "\\x{01}<omit data up to 257>\""},
    };
    for (auto const& r : rows) {
        EXPECT_EQ(fmt(r.in), r.out) << r.in.size();
        EXPECT_EQ(raw_(r.in), r.in);
    }
    EXPECT_EQ(fmt(static_cast<char const*>(nullptr)), "");
    EXPECT_EQ(fmt(zul::String("x")), "\"x\"");
    EXPECT_EQ(fmt(zul::istr("xyz", 2)), "\"xy\"");

    // A newline inside quoted text keeps the indentation of the current level.
    dumper d(false, "\n", "..", 2);
    d << "a\nb";
    EXPECT_EQ(d.str(), "\"a\n....b\"");
    dumper c(true, "|", "-", 1);
    c << "a\nb";
    EXPECT_EQ(c.str(), "\"a|-b\"");
}

TEST(Dumper, ValueWritersAndWrappers) {
    const std::pair<std::string, std::string> rows[] = {
        // clang-format off
        {fmt(true), "true"}, {raw_(false), "0"}, {fmt('a'), "'a'"}, {fmt('\t'), "'<HT>'"},
        {fmt(static_cast<char>(127)), "'\\177'"}, {fmt(static_cast<unsigned char>('B')), "'B'"},
        {raw_('a'), "a"}, {fmt(static_cast<short>(-3)), "-3"}, {fmt(4000000000u), "4000000000"},
        {fmt(-9000000000LL), "-9000000000"}, {fmt(1.5), "1.5"}, {fmt(0.1f), "0.1"},
        {fmt(static_cast<void const*>(nullptr)), raw_(static_cast<void*>(nullptr))},
        {fmt(L"h\u00e9"), "\"h\xC3\xA9\""}, {fmt(std::wstring()), ""},
        {raw_(std::wstring(L"\u00e9")), "\xC3\xA9"},
        {fmt(std::wstring(300, L'w')), "\"" + std::string(300, 'w') + "\""},  // never cut
        // The number wrappers write their value like the plain type: one row stands for all.
        {fmt(zul::Bit(false)), "false"}, {fmt(zul::Byte(65)), "'A'"},
        {fmt(zul::Ulong(18446744073709551615UL)), "18446744073709551615"},
        {fmt(zul::Wchar(L'A')), "\"A\""},
        {fmt(zul::Wchar(0xE9)), "\"\\x{C3A9}\""},  // bytes from 0x80 are not printable here
        {fmt(ACE_INET_Addr(static_cast<u_short>(8080), "127.0.0.1")), "127.0.0.1:8080"},
        // clang-format on
    };
    for (auto const& [got, want] : rows) EXPECT_EQ(got, want);
}

TEST(Dumper, FieldsObjectsAndSetters) {
    dumper d;
    {
        dumper::_Entry e(d, "T");
        d << zul::indent << zul::namestring("a") << 1 << zul::endline;
        d << zul::indent << zul::namestring("b", ": ") << zul::rawstring("raw\x01") << zul::endline;
        d << zul::indent << zul::namestring("") << 2 << zul::endline;
        d.eolSeparator(";");
        d << zul::indent << zul::namestring("c") << 3 << zul::endline;
    }
    EXPECT_EQ(d.str(), "@T {\n    a = 1\n    b: raw\x01\n    2\n    c = 3;\n};");

    dumper c(true);
    {
        dumper::_Entry e(c, "T");
        c << zul::indent << zul::namestring("a") << 1 << zul::endline;
        c << zul::indent << zul::namestring("b") << 2 << zul::endline;
    }
    c.nl();
    EXPECT_EQ(c.str(), "{1, 2}\n");

    dumper b;  // an entry still closes when the dump throws
    EXPECT_THROW(b << Boom(), std::runtime_error);
    EXPECT_EQ(b.str(), "@Boom {\n    x = 1\n}");
    EXPECT_EQ(b.level(), 0u);
}

TEST(Dumper, StrNeedsOwnStreamAndDumpsItself) {
    std::ostringstream os;
    dumper d(os);
    d << "x";
    EXPECT_EQ(os.str(), "\"x\"");
    try {
        (void)d.str();
        FAIL() << "no exception";
    } catch (zul::UnsupportedFunctionException const& e) {
        EXPECT_STREQ(e.msg(),
                     "zul::UnsupportedFunctionException: zul::UnsupportedFunctionException");
        EXPECT_STREQ(e.func(), "str");
    }
    dumper outer;
    EXPECT_THROW(outer << d, zul::UnsupportedFunctionException);

    dumper inner(true);
    inner << 7;
    EXPECT_EQ(fmt(inner),
              block("zul::dumper", {"str() = \"7\"", "owned_ = true", "first_ = true",
                                    "savedFirst_ = true", "cfg_ = " + configBlock(true)}));
}

TEST(Dumper, Containers) {
    std::map<int, std::string> m{{1, "one"}, {2, "two"}};
    EXPECT_EQ(fmt(std::list<int>{1, 2}), "@zul::list {\n    1\n    2\n}");
    EXPECT_EQ(fmt(m), "@zul::map {\n    1 : \"one\"\n    2 : \"two\"\n}");

    EXPECT_EQ(fmt(std::list<int>()), "@zul::list {\n}");
    dumper c(true);
    c << m;
    EXPECT_EQ(c.str(), "{1 : \"one\", 2 : \"two\"}");
}

TEST(DumperForms, StringRefAndValueTree) {
    char buf[10];
    zul::StringRef ref(buf, sizeof buf);
    ref.append("abc");
    EXPECT_EQ(fmt(ref),
              "@zul::StringRef {\n    buffer_ = \"abc\"\n    curSize_ = 3\n"
              "    maxSize_ = 10\n}");
    std::ostringstream os;
    ref.dump(os);
    EXPECT_EQ(os.str(), "{\"abc\", 3, 10}");

    using zul::pml::ntv::Unit;
    Unit r("r", nullptr);
    r.addChild("a", "1");
    r.addChild("b", "int", "2");
    Unit* c = new Unit("c", nullptr);
    c->addChild("x");
    r.addChild(c);
    EXPECT_EQ(fmt(r), "r{\n    a(1)\n    b:int(2)\n    c{\n        x()\n    }\n}");
    dumper k(true);
    k << r;
    EXPECT_EQ(k.str(), "r{a(1), b:int(2), c{x()}}");
    EXPECT_EQ(fmt(*r.at("b")), "b:int(2)");
    EXPECT_EQ(fmt(Unit("e", "t", "", nullptr)), "e:t()");
}

TEST(DumperForms, CurrentAndCallStack) {
    EXPECT_EQ(fmt(zul::Current("f.cpp", 12, "fn")), currentBlock("\"f.cpp\"", 12, "\"fn\""));
    zul::CallStack s;
    s.container().push(zul::Current("o.cpp", 1, "outer"));
    s.container().push(zul::Current(nullptr, 2, nullptr));
    const std::string stack =
        block("zul::stack", {currentBlock("\"o.cpp\"", 1, "\"outer\""), currentBlock("", 2, "")});
    EXPECT_EQ(fmt(s),
              block("zul::CallStack", {"_v.container() = " + stack, "_v.separator() = \"\n\""}));
}

TEST(DumperForms, LeakReport) {
    zul::MemLeakChecker::destroy();
    zul::MemLeakChecker* mlc = zul::MemLeakChecker::instance();
    std::ostringstream none;
    mlc->dump(none);
    EXPECT_EQ(none.str(), "@zul::MemLeakChecker {\n\tCongratulations! No memory leaked.\n}");

    // A dumper's own stream is a tracked allocation for as long as the dumper lives.
    mlc->start();
    {
        dumper owned;
        EXPECT_EQ(mlc->size(), 1u);
    }
    EXPECT_EQ(mlc->size(), 0u);

    int objects[3];
    mlc->start();
    mlc->push(&objects[0], "a.cpp", 10, "f");
    mlc->push(&objects[1], "a.cpp", 10, "f");
    mlc->push(&objects[2], "b.cpp", 5, "g");
    std::ostringstream os;
    mlc->dump(os);
    zul::MemLeakChecker::destroy();
    const std::string sorted =
        block("zul::multimap", {"1 : " + currentBlock("\"b.cpp\"", 5, "\"g\""),
                                "2 : " + currentBlock("\"a.cpp\"", 10, "\"f\"")});
    EXPECT_EQ(os.str(),
              block("zul::MemLeakChecker",
                    {"sorted = " + sorted,
                     "sorting = " + block("zul::map", {"f(a.cpp:10) : 2", "g(b.cpp:5) : 1"})}));
}

}  // namespace
