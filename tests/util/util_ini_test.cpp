// The INI writer on real files, byte for byte: the documented examples, code page 1250, long
// lines, and every failure leaving the file as it was.
#include <gtest/gtest.h>
#include <zul/util/util_func.h>

#include "util/file_test_support.h"

namespace {

using namespace zul_test;

TEST(UtilIni, LineClassifiers) {
    EXPECT_TRUE(zul::isSectionString(" \t[a]\r\n"));
    EXPECT_FALSE(zul::isSectionString("[a] ;x"));
    EXPECT_TRUE(zul::isCommentString("  ;x") && zul::isCommentString("x #"));
    EXPECT_FALSE(zul::isCommentString("#x"));
    EXPECT_TRUE(zul::isKeyValueString(" a= ") && !zul::isKeyValueString("[a]"));
    EXPECT_TRUE(zul::isSection("[alpha]", "ph") && !zul::isSection("alpha", "ph"));
    EXPECT_EQ(zul::modifyKeyValueStringWithName("port", "2", " port=1=x \n"), "port=2");
    EXPECT_EQ(zul::modifyKeyValueStringWithName("port", "2", "port =1"), "port =1");
    EXPECT_EQ(zul::modifyKeyValueStringWithName("port", "", "\xC2\xA0 xport=1\xE3\x80\x80"),
              "xport=1");
}

TEST(UtilIni, RewritesByTheRules) {
    const std::string file = "[net]\nport=1\n[log]\nlevel=3\n";
    const std::string longLine(600, 'p');
    struct Row {
        std::string before, section, key, value, after;
    } rows[] = {
        {file, "net", "port", "2", "[net]\nport=2\n[log]\nlevel=3\n"},
        {file, "net", "host", "h", "[net]\nport=1\nhost=h\n[log]\nlevel=3\n"},
        {file, "log", "file", "a b", file + "file=a b\n"},
        {"[net]\n  port = 1 \n[log]\n", "net", "port", "2", "[net]\nport = 1\n[log]\n"},
        {"[a]\r\n  k=v \r\n", "net", "port", "2", "[a]\r\n  k=v \r\n"},
        {"", "net", "port", "2", ""},
        {"[net]\nport=1", "net", "port", "2", "[net]\nport=2"},
        {"[net]\nport=1", "net", "host", "h", "[net]\nport=1\nhost=h\n"},
        {"[net]\nport=1\n", "net", "port", "", "[net]\nport=\n"},
        {"[network]\nport=1\n", "net", "port", "2", "[network]\nport=2\n"},
        {"[net]\n;port=1\n", "net", "port", "2", "[net]\n;port=1\n"},
        {"[net]\na=b=1\n", "net", "a=b", "2", "[net]\na=b=1\n"},
        {"[n]\nk=1\n", "n]", "k", "2", "[n]\nk=2\n"},
        // A line over 511 bytes is copied through and does not count as holding the key.
        {"[net]\n " + longLine + "=1\n", "net", "p", "2", "[net]\n " + longLine + "=1\np=2\n"},
        // Code page 1250: Łódź becomes Żółw, the line outside the section stays byte for byte.
        {"[pl]\nname=\xA3\xF3"
         "d\x9F\n[x]\n\x8A\x9A \n",
         "pl", "name", "\xC5\xBB\xC3\xB3\xC5\x82w", "[pl]\nname=\xAF\xF3\xB3w\n[x]\n\x8A\x9A \n"},
    };
    TempFolder t;
    for (const Row& r : rows) {
        const std::string path = put(t / "a.ini", r.before, 0640);
        EXPECT_TRUE(zul::writeStringToIniFileWithSection(r.section, r.key, r.value, path))
            << r.before;
        EXPECT_EQ(slurp(path), r.after) << r.before;
        EXPECT_EQ(modeOf(path), 0640u);
    }
    // Through a link the target is rewritten and the link stays.
    std::filesystem::create_symlink("a.ini", t / "link.ini");
    put(t / "a.ini", file);
    EXPECT_TRUE(zul::writeStringToIniFileWithSection("net", "port", "9", t / "link.ini"));
    EXPECT_TRUE(std::filesystem::is_symlink(t / "link.ini"));
    EXPECT_EQ(slurp(t / "a.ini"), "[net]\nport=9\n[log]\nlevel=3\n");
}

TEST(UtilIni, FailuresLeaveTheFileAlone) {
    TempFolder t;
    const std::string file = "[net]\nport=1\n";
    const std::string ini = t / "a.ini";
    struct Row {
        std::string before, section, key, value;
        unsigned mode;
    } rows[] = {
        {file, "", "port", "2", 0644},
        {file, "net", "", "2", 0644},
        {file, "net", "port\xff", "2", 0644},
        {file, "net", "port", "\xc3", 0644},
        {file, "net", "port", "2", 0444},                    // read-only
        {"[net]\nport=\x81\n", "net", "port", "2", 0644},    // not CP1250
        {file, "net", "port", "\xE6\x97\xA5", 0644},         // no CP1250 form
        {file, "net", "port", std::string(507, 'v'), 0644},  // 512-byte line
        {"[net]\nport=1\n[log]\n", "net", "host", std::string(510, 'v'), 0644},
    };
    for (const Row& r : rows) {
        put(ini, r.before, r.mode);
        EXPECT_FALSE(zul::writeStringToIniFileWithSection(r.section, r.key, r.value, ini))
            << r.key << " " << r.value.size();
        EXPECT_EQ(slurp(ini), r.before);
        chmod(ini.c_str(), 0644);
    }
    put(ini, file);
    EXPECT_TRUE(zul::writeStringToIniFileWithSection("net", "port", std::string(506, 'v'), ini));
    std::filesystem::create_directory(t / "dir.ini");
    for (const std::string& p : {std::string(), t / "missing.ini", t / "dir.ini"})
        EXPECT_FALSE(zul::writeStringToIniFileWithSection("net", "port", "2", p)) << p;
    EXPECT_FALSE(std::filesystem::exists(t / "missing.ini"));  // not created
    EXPECT_EQ(entries(t.path), 2);                             // no temporary file left
}

}  // namespace
