// Tests of format (every source to every destination) and of pmlString / pmlFile.
#include <sys/stat.h>

#include <sstream>
#include <string>

#include "pml_test_support.h"

using namespace zul_test;
using zul::pml::COMPACT;
using zul::pml::File;

namespace {

bool exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

TEST(PmlFormat, EverySourceToEveryDestination) {
    TempDir dir;
    const std::string text = "cfg ( level : int (3) (* c *) dir('C:/tmp') ) tail";
    const std::wstring wide(text.begin(), text.end());
    const std::string expected = "cfg(level:int(3)dir(\"C:/tmp\"))";
    const File src(istr(dir.write("src.pml", text)));

    // Runs one source against the three destinations and checks the text each received.
    auto check = [&](const char* name, auto format) {
        std::ostringstream os;
        EXPECT_TRUE(format(os)) << name;
        EXPECT_EQ(os.str(), expected) << name;
        String s = "keep:";
        EXPECT_TRUE(format(s)) << name;
        EXPECT_EQ(s, "keep:" + expected) << name;
        const File out(istr(dir.path(std::string("out_") + name)));
        EXPECT_TRUE(format(out)) << name;
        EXPECT_EQ(slurp(out.filename()), expected) << name;
    };
    // The sources share the readers of ntvFromPml (pml_reader_test): one narrow, one wide
    // that moves a pointer on, and a file.
    check("istream", [&](auto& d) {
        std::istringstream is(text);
        return pml::format(is, d, COMPACT, kNTV);
    });
    check("wpointer", [&](auto& d) {
        const wchar_t* p = wide.c_str();
        const bool ok = pml::format(p, d, COMPACT, kNTV);
        EXPECT_STREQ(p, L" tail");
        return ok;
    });
    check("file", [&](auto& d) { return pml::format(src, d, COMPACT, kNTV); });
}

TEST(PmlFormat, FailuresWriteNothing) {
    TempDir dir;
    String s;  // unknown mode: false; a file destination is still emptied
    EXPECT_FALSE(pml::format(istr("x(1)"), s, static_cast<pml::ShowMode>(7), kNTV));
    EXPECT_EQ(s, "");
    const File out(istr(dir.write("out.pml", "old")));
    EXPECT_FALSE(pml::format(istr("x(1)"), out, static_cast<pml::ShowMode>(0), kNTV));
    EXPECT_EQ(slurp(out.filename()), "");

    // A source that cannot be read: false and nothing written.
    const File missing(istr(dir.path("missing.pml")));
    const File never(istr(dir.path("never.pml")));
    EXPECT_FALSE(pml::format(missing, s, COMPACT, kNTV));
    EXPECT_FALSE(pml::format(missing, never, COMPACT, kNTV));
    EXPECT_EQ(s, "");
    EXPECT_FALSE(exists(never.filename()));

    // A decode error passes out before the destination is touched.
    EXPECT_THROW(pml::format(istr("a:t)"), never, COMPACT, kNTV), pml::DecodeException);
    EXPECT_FALSE(exists(never.filename()));
    std::ostringstream os;
    EXPECT_THROW(pml::format(istr("a(b:"), os, COMPACT, kNTV), pml::DecodeException);
    EXPECT_EQ(os.str(), "");

    // An unwritable destination.
    EXPECT_FALSE(pml::format(istr("x(1)"), File(istr(dir.path("no/x.pml"))), COMPACT, kNTV));
}

TEST(PmlFormat, PmlStringAndPmlFile) {
    TempDir dir;
    pml::pmlString str(istr("(* head *)"));
    pml::pmlType& store = str;
    EXPECT_TRUE(store.fromNTV(Unit(istr("a"), istr(), istr("1")), COMPACT, kNTV));
    EXPECT_TRUE(store.fromNTV(Unit(istr("b"), istr("t"), istr("x y")), COMPACT, kNTV));
    EXPECT_EQ(str.data(), "(* head *)a(1)b:t(x y)");
    Unit back;
    EXPECT_TRUE(store.toNTV(back));  // only the first node
    EXPECT_EQ(describe(back), "a=[1]");
    str.data().insert(0, 1, '\0');  // the string is read up to its first NUL
    EXPECT_TRUE(store.toNTV(back));
    EXPECT_TRUE(back.empty());

    const std::string both = dir.write("both.pml", "a(1)b(2)");
    pml::pmlFile content(istr(both), true);
    EXPECT_EQ(content.file().filename(), both);
    EXPECT_TRUE(content.toNTV(back));
    EXPECT_EQ(describe(back), "{a=[1],b=[2]}");
    EXPECT_TRUE(pml::pmlFile(istr(both), false).toNTV(back));
    EXPECT_EQ(describe(back), "a=[1]");

    Unit cfg(istr("cfg"));
    cfg.addChild("level", "int", "3");
    pml::pmlFile file(istr(dir.path("cfg.pml")), false);
    EXPECT_TRUE(file.fromNTV(cfg, pml::FORMATTED, kNTV | pml::PATH));
    EXPECT_TRUE(file.toNTV(back));
    EXPECT_EQ(describe(back), "cfg{level:int=[3]}");

    pml::pmlFile nowhere(istr(dir.path("no/such/dir/x.pml")), false);
    EXPECT_FALSE(nowhere.fromNTV(cfg, COMPACT, kNTV));
    EXPECT_FALSE(nowhere.toNTV(back));
}

}  // namespace
