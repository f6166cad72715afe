// Tests of the PML reading entry points: every source of ntvFromPml and ntvFromValueString,
// the edge cases of empty, plain and partial input, and files in a temporary folder.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_parser.h>
#include <zul/pml/pml_reader.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "pml_test_support.h"

using zul::String;
using zul::pml::File;
using zul::pml::ntv::Unit;
using zul_test::describe;
using zul_test::TempDir;

namespace {

// A node with content, so that tests can see it being cleared.
void prefill(Unit& u) {
    u.name("old");
    u.type("t");
    u.addChild("k", "v");
}

// Reads `text` (and its wide twin) through all seven sources of ntvFromPml or, with
// `content`, of ntvFromValueString; every source must give `expected`.
void expectEverySource(bool content, const std::string& text, const std::wstring& wide,
                       const std::string& expected) {
    TempDir dir;
    const File file(zul::istr(dir.write("f.pml", text)));
    auto check = [&](const char* name, auto& source) {
        Unit u;
        prefill(u);
        const bool ok =
            content ? zul::pml::ntvFromValueString(u, source) : zul::pml::ntvFromPml(u, source);
        EXPECT_TRUE(ok) << name;
        EXPECT_EQ(describe(u), expected) << name;
    };
    std::istringstream is(text);
    std::wistringstream wis(wide);
    const char* p = text.c_str();
    const wchar_t* wp = wide.c_str();
    zul::istr view(text);
    zul::iwstr wview(wide);
    check("istream", is);
    check("pointer", p);
    check("istr", view);
    check("wistream", wis);
    check("wpointer", wp);
    check("iwstr", wview);
    check("file", file);
}

TEST(PmlReader, EverySourceGivesTheSameTree) {
    expectEverySource(false, "n:t(a(1) b('x y') c(\xc3\xa9)) tail",
                      L"n:t(a(1) b('x y') c(\u00e9)) tail", "n:t{a=[1],b=[x y],c=[\xc3\xa9]}");
    expectEverySource(true, "a(1) b('x y') c(\xc3\xa9)", L"a(1) b('x y') c(\u00e9)",
                      "{a=[1],b=[x y],c=[\xc3\xa9]}");
}

TEST(PmlReader, EmptyPlainAndNullInput) {
    Unit u;
    prefill(u);
    EXPECT_TRUE(zul::pml::ntvFromPml(u, zul::istr("")));
    EXPECT_TRUE(u.empty());
    EXPECT_EQ(u.numofChildren(), 0u);

    prefill(u);
    EXPECT_TRUE(zul::pml::ntvFromValueString(u, zul::istr("")));
    ASSERT_NE(u.value(), nullptr);  // an empty text, not a missing value
    EXPECT_TRUE(u.simple());
    EXPECT_TRUE(u.valueEmpty());
    EXPECT_TRUE(u.name().empty());
    EXPECT_TRUE(u.type().empty());

    EXPECT_TRUE(zul::pml::ntvFromValueString(u, zul::istr("hello")));
    EXPECT_EQ(describe(u), "=[hello]");
    EXPECT_TRUE(zul::pml::ntvFromPml(u, zul::istr("hello")));
    EXPECT_EQ(describe(u), "~");

    // Null pointers and null views read as empty text; the pointer stays null.
    const char* p = nullptr;
    prefill(u);
    EXPECT_TRUE(zul::pml::ntvFromPml(u, p));
    EXPECT_EQ(p, nullptr);
    EXPECT_TRUE(u.empty());
    const wchar_t* wp = nullptr;
    EXPECT_TRUE(zul::pml::ntvFromValueString(u, wp));
    EXPECT_EQ(describe(u), "=[]");
    EXPECT_TRUE(zul::pml::ntvFromPml(u, zul::istr()));
    EXPECT_TRUE(zul::pml::ntvFromPml(u, zul::iwstr()));
    EXPECT_TRUE(u.empty());

    // A NUL inside a view ends the text.
    const char withNul[] = "a(1\0x)";
    EXPECT_TRUE(zul::pml::ntvFromPml(u, zul::istr(withNul, sizeof withNul - 1)));
    EXPECT_EQ(describe(u), "a=[1]");
}

TEST(PmlReader, SourcesStopAfterTheFirstNode) {
    Unit u;
    const char* p = "a(1)b(2)";
    EXPECT_TRUE(zul::pml::ntvFromPml(u, p));
    EXPECT_STREQ(p, "b(2)");
    EXPECT_TRUE(zul::pml::ntvFromPml(u, p));
    EXPECT_EQ(describe(u), "b=[2]");
    EXPECT_STREQ(p, "");

    const wchar_t* wp = L"a(1) b(2)";
    EXPECT_TRUE(zul::pml::ntvFromPml(u, wp));
    EXPECT_STREQ(wp, L" b(2)");

    std::istringstream is("a(1) b(2)");
    EXPECT_TRUE(zul::pml::ntvFromPml(u, is));
    std::string rest;
    std::getline(is, rest);
    EXPECT_EQ(rest, " b(2)");

    std::wistringstream wis(L"x(\u00e9)  y(2)");
    EXPECT_TRUE(zul::pml::ntvFromPml(u, wis));
    EXPECT_EQ(describe(u), "x=[\xc3\xa9]");
    EXPECT_EQ(wis.get(), L' ');
}

TEST(PmlReader, Files) {
    TempDir dir;
    Unit u;
    prefill(u);
    EXPECT_FALSE(zul::pml::ntvFromPml(u, File(zul::istr(dir.path("missing.pml")))));
    EXPECT_FALSE(zul::pml::ntvFromValueString(u, File(zul::istr(dir.path("missing.pml")))));
    EXPECT_FALSE(zul::pml::ntvFromPml(u, File()));

    File f;
    f = zul::istr(
        dir.write("cfg.pml", "(* settings *)\ncfg(\n    level:int(3)\n    dir(\"C:/tmp\")\n)\n"));
    EXPECT_TRUE(zul::pml::ntvFromPml(u, f));
    EXPECT_EQ(describe(u), "cfg{level:int=[3],dir=[C:/tmp]}");

    std::ifstream is;
    EXPECT_TRUE(f.open(is));
    std::ofstream os;
    EXPECT_FALSE(File(zul::istr(dir.path("no/such/dir.pml"))).open(os));

    // A decode error in a file leaves what was read before it.
    const File bad(zul::istr(dir.write("bad.pml", "cfg(a(1)b:t)c(2))")));
    EXPECT_THROW(zul::pml::ntvFromPml(u, bad), zul::pml::DecodeException);
    EXPECT_EQ(describe(u), "cfg{a=[1]}");
}

}  // namespace
