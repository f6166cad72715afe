// Tests of the PML reading entry points: every source of ntvFromPml and ntvFromValueString,
// the edge cases of empty, plain and partial input, and files in a temporary folder.
#include <fstream>
#include <sstream>
#include <string>

#include "pml_test_support.h"

using namespace zul_test;
using zul::pml::File;
using zul::pml::ntvFromPml;
using zul::pml::ntvFromValueString;

namespace {

// A node with content, so that tests can see it being cleared.
void prefill(Unit& u) {
    u.name("old");
    u.type("t");
    u.addChild("k", "v");
}

// Reads `text` (and its wide twin) through all seven sources of ntvFromPml or, with
// `content`, of ntvFromValueString; every source must give `expected`, and the pointer and
// stream sources must have `rest` left unread.
void expectEverySource(bool content, const std::string& text, const std::string& expected,
                       const std::string& rest) {
    TempDir dir;
    std::wstring wide;
    zul::utf8ToWstring(istr(text), wide);
    auto check = [&](const char* name, auto&& source) {
        Unit u;
        prefill(u);
        EXPECT_TRUE(content ? ntvFromValueString(u, source) : ntvFromPml(u, source)) << name;
        EXPECT_EQ(describe(u), expected) << name;
    };
    std::istringstream is(text);
    std::wistringstream wis(wide);
    const char* p = text.c_str();
    const wchar_t* wp = wide.c_str();
    check("istream", is);
    check("pointer", p);
    check("istr", istr(text));
    check("wistream", wis);
    check("wpointer", wp);
    check("iwstr", zul::iwstr(wide));
    check("file", File(istr(dir.write("f.pml", text))));
    const std::wstring wrest(rest.begin(), rest.end());
    std::string left;
    std::wstring wleft;
    std::getline(is, left, '\0');
    std::getline(wis, wleft, L'\0');
    EXPECT_EQ(left, rest);
    EXPECT_EQ(wleft, wrest);
    EXPECT_EQ(p, rest);
    EXPECT_EQ(wp, wrest);
}

TEST(PmlReader, EverySourceGivesTheSameTree) {
    expectEverySource(false, "n:t(a(1) b('x y') c(\xc3\xa9)) tail",
                      "n:t{a=[1],b=[x y],c=[\xc3\xa9]}", " tail");
    expectEverySource(true, "a(1) b('x y') c(\xc3\xa9)", "{a=[1],b=[x y],c=[\xc3\xa9]}", "");

    // A pointer source continues where the last node ended.
    Unit u;
    const char* p = "a(1)b(2)";
    EXPECT_TRUE(ntvFromPml(u, p));
    EXPECT_STREQ(p, "b(2)");
    EXPECT_TRUE(ntvFromPml(u, p));
    EXPECT_EQ(describe(u), "b=[2]");
    EXPECT_STREQ(p, "");
}

TEST(PmlReader, EmptyPlainAndNullInput) {
    Unit u;
    prefill(u);
    EXPECT_TRUE(ntvFromPml(u, istr("")));
    EXPECT_EQ(describe(u), "~");
    prefill(u);
    EXPECT_TRUE(ntvFromValueString(u, istr("")));
    EXPECT_EQ(describe(u), "=[]");  // an empty text, not a missing value
    EXPECT_TRUE(ntvFromValueString(u, istr("hello")));
    EXPECT_EQ(describe(u), "=[hello]");
    EXPECT_TRUE(ntvFromPml(u, istr("hello")));  // the name token never ends
    EXPECT_EQ(describe(u), "~");

    // Null pointers and null views read as empty text; the pointer stays null.
    const char* p = nullptr;
    prefill(u);
    EXPECT_TRUE(ntvFromPml(u, p));
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(describe(u), "~");
    const wchar_t* wp = nullptr;
    EXPECT_TRUE(ntvFromValueString(u, wp));
    EXPECT_EQ(describe(u), "=[]");
    EXPECT_TRUE(ntvFromPml(u, istr()));
    EXPECT_TRUE(ntvFromPml(u, zul::iwstr()));
    EXPECT_EQ(describe(u), "~");

    const char withNul[] = "a(1\0x)";  // a NUL inside a view ends the text
    EXPECT_TRUE(ntvFromPml(u, istr(withNul, sizeof withNul - 1)));
    EXPECT_EQ(describe(u), "a=[1]");
}

TEST(PmlReader, Files) {
    TempDir dir;
    Unit u;
    prefill(u);
    EXPECT_FALSE(ntvFromPml(u, File(istr(dir.path("missing.pml")))));
    EXPECT_FALSE(ntvFromValueString(u, File(istr(dir.path("missing.pml")))));
    EXPECT_FALSE(ntvFromPml(u, File()));

    File f;
    f = istr(
        dir.write("cfg.pml", "(* settings *)\ncfg(\n    level:int(3)\n    dir(\"C:/tmp\")\n)\n"));
    EXPECT_TRUE(ntvFromPml(u, f));
    EXPECT_EQ(describe(u), "cfg{level:int=[3],dir=[C:/tmp]}");
    std::ifstream is;
    EXPECT_TRUE(f.open(is));
    std::ofstream os;
    EXPECT_FALSE(File(istr(dir.path("no/such/dir.pml"))).open(os));

    // A decode error in a file leaves what was read before it.
    const File bad(istr(dir.write("bad.pml", "cfg(a(1)b:t)c(2))")));
    EXPECT_THROW(ntvFromPml(u, bad), pml::DecodeException);
    EXPECT_EQ(describe(u), "cfg{a=[1]}");
}

}  // namespace
