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

struct Boom {
    void dump(dumper& d) const {
        dumper::_Entry e(d, "Boom");
        d << zul::indent << zul::namestring("x") << 1 << zul::endline;
        throw std::runtime_error("boom");
    }
};

TEST(Dumper, StandardConfigIndented) {
    dumper d;
    d << dumper::Config();
    EXPECT_EQ(d.str(),
              "@zul::dumper::Config {\n"
              "    compact_ = false\n"
              "    lineSeparator_ = \"\n"
              "    \"\n"
              "    indentSeparator_ = \"    \"\n"
              "    level_ = 0\n"
              "    eolSeparator_ = \n"
              "    beginTag_ = \"{\"\n"
              "    endTag_ = \"}\"\n"
              "    typeTag_ = \":\"\n"
              "    nvSeparator_ = \" = \"\n"
              "    valueSeparator_ = \", \"\n"
              "}");
    EXPECT_EQ(d.level(), 0u);
}

TEST(Dumper, StandardConfigCompact) {
    dumper d(true);
    d << dumper::Config();
    EXPECT_EQ(d.str(), "{false, \"\n\", \"    \", 0, , \"{\", \"}\", \":\", \" = \", \", \"}");
}

TEST(Dumper, QuotedText) {
    std::string const s256(256, 'a');
    std::string const s257 = s256 + "b";
    std::string const s300(300, 'z');
    struct Row {
        std::string in;
        std::string out;
    } const rows[] = {
        {"", ""},
        {"abc", "\"abc\""},
        {std::string("\x01\x02"
                     "A",
                     3),
         "\"\\x{0102}A\""},
        {"\x7F", "\"\\x{7F}\""},
        {"\x80\xFF", "\"\\x{80FF}\""},
        {std::string("\x01\n\x02z", 4), "\"\\x{01\n02}z\""},
        {"a\nb", "\"a\nb\""},
        {s256, "\"" + s256 + "\""},
        {s257, "\"" + s256 + "<omit data up to 257>\""},
        {s300, "\"" + std::string(256, 'z') + "<omit data up to 300>\""},
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
}

TEST(Dumper, NewlineInQuotedTextKeepsIndentation) {
    dumper d(false, "\n", "..", 2);
    d << "a\nb";
    EXPECT_EQ(d.str(), "\"a\n....b\"");
    dumper c(true, "|", "-", 1);
    c << "a\nb";
    EXPECT_EQ(c.str(), "\"a|-b\"");
}

TEST(Dumper, ValueWriters) {
    EXPECT_EQ(fmt(true), "true");
    EXPECT_EQ(raw_(true), "1");
    EXPECT_EQ(raw_(false), "0");
    EXPECT_EQ(fmt('a'), "'a'");
    EXPECT_EQ(fmt('\t'), "'<HT>'");
    EXPECT_EQ(fmt(static_cast<char>(127)), "'\\177'");
    EXPECT_EQ(fmt(static_cast<unsigned char>('B')), "'B'");
    EXPECT_EQ(raw_('a'), "a");
    EXPECT_EQ(fmt(static_cast<short>(-3)), "-3");
    EXPECT_EQ(fmt(4000000000u), "4000000000");
    EXPECT_EQ(fmt(-9000000000LL), "-9000000000");
    EXPECT_EQ(fmt(1.5), "1.5");
    EXPECT_EQ(fmt(0.1f), "0.1");
    EXPECT_EQ(fmt(static_cast<void const*>(nullptr)), raw_(static_cast<void*>(nullptr)));
    EXPECT_EQ(fmt(L"h\u00e9"), "\"h\xC3\xA9\"");
    EXPECT_EQ(fmt(std::wstring()), "");
    EXPECT_EQ(raw_(std::wstring(L"\u00e9")), "\xC3\xA9");
    // Wide text is not cut at 256.
    EXPECT_EQ(fmt(std::wstring(300, L'w')).size(), 302u);
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
}

TEST(Dumper, EntryClosesOnException) {
    dumper d;
    EXPECT_THROW(d << Boom(), std::runtime_error);
    EXPECT_EQ(d.str(), "@Boom {\n    x = 1\n}");
    EXPECT_EQ(d.level(), 0u);
}

TEST(Dumper, StrNeedsOwnStream) {
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
}

TEST(Dumper, DumpsItself) {
    dumper inner(true);
    inner << 7;
    dumper d;
    d << inner;
    EXPECT_EQ(d.str(),
              "@zul::dumper {\n"
              "    str() = \"7\"\n"
              "    owned_ = true\n"
              "    first_ = true\n"
              "    savedFirst_ = true\n"
              "    cfg_ = @zul::dumper::Config {\n"
              "        compact_ = true\n"
              "        lineSeparator_ = \"\n"
              "        \"\n"
              "        indentSeparator_ = \"    \"\n"
              "        level_ = 0\n"
              "        eolSeparator_ = \n"
              "        beginTag_ = \"{\"\n"
              "        endTag_ = \"}\"\n"
              "        typeTag_ = \":\"\n"
              "        nvSeparator_ = \" = \"\n"
              "        valueSeparator_ = \", \"\n"
              "    }\n"
              "}");
}

TEST(Dumper, Containers) {
    std::list<int> l{1, 2};
    std::map<int, std::string> m{{1, "one"}, {2, "two"}};
    std::multimap<int, char> mm{{1, 'a'}, {1, 'b'}};
    EXPECT_EQ(fmt(l), "@zul::list {\n    1\n    2\n}");
    EXPECT_EQ(fmt(m), "@zul::map {\n    1 : \"one\"\n    2 : \"two\"\n}");
    EXPECT_EQ(fmt(mm), "@zul::multimap {\n    1 : 'a'\n    1 : 'b'\n}");
    EXPECT_EQ(fmt(std::list<int>()), "@zul::list {\n}");
    dumper c(true);
    c << m;
    EXPECT_EQ(c.str(), "{1 : \"one\", 2 : \"two\"}");
}

TEST(DumperForms, TextTypesAndWrappers) {
    char buf[10];
    zul::StringRef ref(buf, sizeof buf);
    ref.append("abc");
    EXPECT_EQ(fmt(ref),
              "@zul::StringRef {\n    buffer_ = \"abc\"\n    curSize_ = 3\n"
              "    maxSize_ = 10\n}");
    std::ostringstream os;
    ref.dump(os);
    EXPECT_EQ(os.str(), "{\"abc\", 3, 10}");

    EXPECT_EQ(fmt(zul::Bit(true)), "true");
    EXPECT_EQ(fmt(zul::Bit(false)), "false");
    EXPECT_EQ(fmt(zul::Byte(65)), "'A'");
    EXPECT_EQ(fmt(zul::Short(-5)), "-5");
    EXPECT_EQ(fmt(zul::Ushort(65535)), "65535");
    EXPECT_EQ(fmt(zul::Long(-1)), "-1");
    EXPECT_EQ(fmt(zul::Ulong(18446744073709551615UL)), "18446744073709551615");
    EXPECT_EQ(fmt(zul::Longlong(42)), "42");
    EXPECT_EQ(fmt(zul::Wchar(L'A')), "\"A\"");
    // Bytes of 0x80 and above are not printable in the C locale.
    EXPECT_EQ(fmt(zul::Wchar(0xE9)), "\"\\x{C3A9}\"");
}

TEST(DumperForms, InetAddr) {
    ACE_INET_Addr addr(static_cast<u_short>(8080), "127.0.0.1");
    dumper d;
    d << addr;
    EXPECT_EQ(d.str(), "127.0.0.1:8080");
}

TEST(DumperForms, ValueTree) {
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
    zul::Current const where("f.cpp", 12, "fn");
    EXPECT_EQ(fmt(where),
              "@zul::Current {\n    _v.file() = \"f.cpp\"\n    _v.line() = 12\n"
              "    _v.func() = \"fn\"\n    _v.prefix() = \n}");
    zul::CallStack s;
    s.container().push(zul::Current("o.cpp", 1, "outer"));
    s.container().push(zul::Current(nullptr, 2, nullptr));
    EXPECT_EQ(fmt(s),
              "@zul::CallStack {\n"
              "    _v.container() = @zul::stack {\n"
              "        @zul::Current {\n"
              "            _v.file() = \"o.cpp\"\n"
              "            _v.line() = 1\n"
              "            _v.func() = \"outer\"\n"
              "            _v.prefix() = \n"
              "        }\n"
              "        @zul::Current {\n"
              "            _v.file() = \n"
              "            _v.line() = 2\n"
              "            _v.func() = \n"
              "            _v.prefix() = \n"
              "        }\n"
              "    }\n"
              "    _v.separator() = \"\n"
              "    \"\n"
              "}");
}

TEST(DumperForms, LeakReport) {
    zul::MemLeakChecker::destroy();
    zul::MemLeakChecker* mlc = zul::MemLeakChecker::instance();
    std::ostringstream none;
    mlc->dump(none);

    // A dumper's own stream is a tracked allocation for as long as the dumper lives.
    mlc->start();
    {
        dumper owned;
        EXPECT_EQ(mlc->size(), 1u);
    }
    EXPECT_EQ(mlc->size(), 0u);
    EXPECT_EQ(none.str(), "@zul::MemLeakChecker {\n\tCongratulations! No memory leaked.\n}");

    int objects[3];
    mlc->start();
    mlc->push(&objects[0], "a.cpp", 10, "f");
    mlc->push(&objects[1], "a.cpp", 10, "f");
    mlc->push(&objects[2], "b.cpp", 5, "g");
    std::ostringstream os;
    mlc->dump(os);
    zul::MemLeakChecker::destroy();
    EXPECT_EQ(os.str(),
              "@zul::MemLeakChecker {\n"
              "    sorted = @zul::multimap {\n"
              "        1 : @zul::Current {\n"
              "            _v.file() = \"b.cpp\"\n"
              "            _v.line() = 5\n"
              "            _v.func() = \"g\"\n"
              "            _v.prefix() = \n"
              "        }\n"
              "        2 : @zul::Current {\n"
              "            _v.file() = \"a.cpp\"\n"
              "            _v.line() = 10\n"
              "            _v.func() = \"f\"\n"
              "            _v.prefix() = \n"
              "        }\n"
              "    }\n"
              "    sorting = @zul::map {\n"
              "        f(a.cpp:10) : 2\n"
              "        g(b.cpp:5) : 1\n"
              "    }\n"
              "}");
}

}  // namespace
