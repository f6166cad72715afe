// Tests of format (every source to every destination) and of pmlString / pmlFile.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zul/base/exception.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_format.h>
#include <zul/pml/pml_writer.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "pml_test_support.h"

using zul::String;
using zul::pml::File;
using zul::pml::ntv::Unit;
using zul_test::slurp;
using zul_test::TempDir;

namespace {

const zul::pml::ShowPattern kAll = zul::pml::NAME | zul::pml::TYPE | zul::pml::VALUE;

bool exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

TEST(PmlFormat, EverySourceToEveryDestination) {
    TempDir dir;
    const std::string text = "cfg ( level : int (3) (* c *) dir('C:/tmp') ) tail";
    const std::wstring wide(text.begin(), text.end());
    const std::string expected = "cfg(level:int(3)dir(\"C:/tmp\"))";
    const File src(zul::istr(dir.write("src.pml", text)));

    // Runs one source against the three destinations and checks the text each received.
    auto check = [&](const char* name, auto format) {
        std::ostringstream os;
        EXPECT_TRUE(format(os)) << name;
        EXPECT_EQ(os.str(), expected) << name;
        String s = "keep:";
        EXPECT_TRUE(format(s)) << name;
        EXPECT_EQ(s, "keep:" + expected) << name;
        const File out(zul::istr(dir.path(std::string("out_") + name)));
        EXPECT_TRUE(format(out)) << name;
        EXPECT_EQ(slurp(out.filename()), expected) << name;
    };
    check("istream", [&](auto& d) {
        std::istringstream is(text);
        return zul::pml::format(is, d, zul::pml::COMPACT, kAll);
    });
    check("wistream", [&](auto& d) {
        std::wistringstream is(wide);
        return zul::pml::format(is, d, zul::pml::COMPACT, kAll);
    });
    check("pointer", [&](auto& d) {
        const char* p = text.c_str();
        bool ok = zul::pml::format(p, d, zul::pml::COMPACT, kAll);
        EXPECT_STREQ(p, " tail");
        return ok;
    });
    check("wpointer", [&](auto& d) {
        const wchar_t* p = wide.c_str();
        bool ok = zul::pml::format(p, d, zul::pml::COMPACT, kAll);
        EXPECT_STREQ(p, L" tail");
        return ok;
    });
    check("istr",
          [&](auto& d) { return zul::pml::format(zul::istr(text), d, zul::pml::COMPACT, kAll); });
    check("iwstr",
          [&](auto& d) { return zul::pml::format(zul::iwstr(wide), d, zul::pml::COMPACT, kAll); });
    check("file", [&](auto& d) { return zul::pml::format(src, d, zul::pml::COMPACT, kAll); });
}

TEST(PmlFormat, FailuresWriteNothing) {
    TempDir dir;
    String s = "x";
    EXPECT_TRUE(zul::pml::format(zul::istr("x(1)"), s, zul::pml::COMPACT, kAll));
    EXPECT_EQ(s, "xx(1)");

    // Unknown mode: false; a file destination is still emptied.
    s.clear();
    EXPECT_FALSE(zul::pml::format(zul::istr("x(1)"), s, static_cast<zul::pml::ShowMode>(7), kAll));
    EXPECT_EQ(s, "");
    const File out(zul::istr(dir.write("out.pml", "old")));
    EXPECT_FALSE(
        zul::pml::format(zul::istr("x(1)"), out, static_cast<zul::pml::ShowMode>(0), kAll));
    EXPECT_EQ(slurp(out.filename()), "");

    // A source that cannot be read: false and nothing written.
    const File missing(zul::istr(dir.path("missing.pml")));
    const File never(zul::istr(dir.path("never.pml")));
    EXPECT_FALSE(zul::pml::format(missing, s, zul::pml::COMPACT, kAll));
    EXPECT_FALSE(zul::pml::format(missing, never, zul::pml::COMPACT, kAll));
    EXPECT_EQ(s, "");
    EXPECT_FALSE(exists(never.filename()));

    // A decode error passes out before the destination is touched.
    EXPECT_THROW(zul::pml::format(zul::istr("a:t)"), never, zul::pml::COMPACT, kAll),
                 zul::pml::DecodeException);
    EXPECT_FALSE(exists(never.filename()));
    std::ostringstream os;
    EXPECT_THROW(zul::pml::format(zul::istr("a(b:"), os, zul::pml::COMPACT, kAll),
                 zul::pml::DecodeException);
    EXPECT_EQ(os.str(), "");

    // An unwritable destination.
    EXPECT_FALSE(zul::pml::format(zul::istr("x(1)"), File(zul::istr(dir.path("no/x.pml"))),
                                  zul::pml::COMPACT, kAll));
}

TEST(PmlFormat, PmlStringAndPmlFile) {
    TempDir dir;
    Unit a(zul::istr("a"), zul::istr(), zul::istr("1"));
    Unit b(zul::istr("b"), zul::istr("t"), zul::istr("x y"));

    zul::pml::pmlString str(zul::istr("(* head *)"));
    zul::pml::pmlType& store = str;
    EXPECT_TRUE(store.fromNTV(a, zul::pml::COMPACT, kAll));
    EXPECT_TRUE(store.fromNTV(b, zul::pml::COMPACT, kAll));
    EXPECT_EQ(str.data(), "(* head *)a(1)b:t(x y)");
    Unit back;
    EXPECT_TRUE(store.toNTV(back));  // only the first node
    EXPECT_EQ(back.name(), "a");
    EXPECT_EQ(back.getStringValue(), zul::istr("1"));
    str.data().insert(0, 1, '\0');  // the string is read up to its first NUL
    EXPECT_TRUE(store.toNTV(back));
    EXPECT_TRUE(back.empty());

    const std::string both = dir.write("both.pml", "a(1)b(2)");
    zul::pml::pmlFile content(zul::istr(both), true);
    EXPECT_EQ(content.file().filename(), both);
    EXPECT_TRUE(content.toNTV(back));
    EXPECT_EQ(back.numofChildren(), 2u);
    zul::pml::pmlFile whole(zul::istr(both), false);
    EXPECT_TRUE(whole.toNTV(back));
    EXPECT_EQ(back.name(), "a");
    EXPECT_EQ(back.numofChildren(), 0u);

    Unit cfg(zul::istr("cfg"));
    cfg.addChild("level", "int", "3");
    zul::pml::pmlFile file(zul::istr(dir.path("cfg.pml")), false);
    EXPECT_TRUE(file.fromNTV(cfg, zul::pml::FORMATTED, kAll | zul::pml::PATH));
    EXPECT_TRUE(file.toNTV(back));
    EXPECT_EQ(zul_test::describe(back), "cfg{level:int=[3]}");

    zul::pml::pmlFile nowhere(zul::istr(dir.path("no/such/dir/x.pml")), false);
    EXPECT_FALSE(nowhere.fromNTV(cfg, zul::pml::COMPACT, kAll));
    EXPECT_FALSE(nowhere.toNTV(back));
}

}  // namespace
