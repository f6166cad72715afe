// Tests of the PML writers: the worked layouts byte for byte, escaping and names, text forms
// of ShowMode/ShowPattern, the entry points and deep trees.
#include <gtest/gtest.h>
#include <unistd.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_reader.h>
#include <zul/pml/pml_writer.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using zul::istr;
using zul::String;
using zul::pml::ShowMode;
using zul::pml::ShowPattern;
using zul::pml::ntv::Unit;
namespace pml = zul::pml;

namespace {

const ShowPattern kNTV = pml::NAME | pml::TYPE | pml::VALUE;

// cfg{ level:int(3) names{ :s(a b) :s(x) } dir(C:/tmp) }
void buildCfg(Unit& cfg) {
    cfg.name(istr("cfg"));
    cfg.addChild("level", "int", "3");
    Unit* names = cfg.at(istr("names"));
    names->addChild("", "s", "a b");
    names->addChild("", "s", "x");
    cfg.addChild("dir", "C:/tmp");
}

String toPml(const Unit& u, ShowMode mode, ShowPattern pattern) {
    String out;
    EXPECT_TRUE(pml::ntvToPml(u, out, mode, pattern));
    std::ostringstream os;
    EXPECT_TRUE(pml::ntvToPml(u, os, mode, pattern));
    EXPECT_EQ(os.str(), out) << "stream and string writers differ";
    return out;
}

// A node `name` holding one leaf and one deeper node, `depth` levels down.
void buildComb(Unit& root, size_t depth) {
    Unit* u = &root;
    u->name(istr("n"));
    for (size_t i = 0; i < depth; ++i) {
        u->addChild("v", "1");
        Unit* next = new Unit(istr("n"));
        u->addChild(next);
        u = next;
    }
    u->setValue(istr("end"));
}

}  // namespace

TEST(PmlWriter, WorkedExamples) {
    Unit cfg;
    buildCfg(cfg);
    const std::string simple =
        "cfg(\n    level:int(3)\n    names(\n        :s(a b)\n        :s(x)\n    )\n"
        "    dir(\"C:/tmp\")\n)";
    const std::string withPath =
        "(* / *) cfg(\n    (* /level *) level:int(3)\n    (* /names *) names(\n"
        "        (* /names/[0] *) :s(a b)\n        (* /names/[1] *) :s(x)\n    )\n"
        "    (* /dir *) dir(\"C:/tmp\")\n)";
    const struct {
        ShowMode mode;
        ShowPattern pattern;
        std::string text;
    } rows[] = {
        {pml::COMPACT, kNTV, "cfg(level:int(3)names(:s(a b):s(x))dir(\"C:/tmp\"))"},
        {pml::SIMPLE, kNTV, simple},
        {pml::FORMATTED, kNTV, simple},
        {pml::SIMPLE, kNTV | pml::PATH, simple},  // PATH only counts in FORMATTED
        {pml::FORMATTED, kNTV | pml::PATH, withPath},
        {pml::MIXED, kNTV,
         "cfg(level:int(3)names(\n        :s(a b)\n        :s(x)\n)dir(\"C:/tmp\"))"},
        {pml::COMPACT, pml::TYPE | pml::VALUE, "(:int(3)(:s(a b):s(x))(\"C:/tmp\"))"},
        {pml::COMPACT, pml::NAME, "cfg(level()names(()())dir())"},
        {pml::COMPACT, pml::NONE, "(()(()())())"},
        {pml::COMPACT, kNTV | pml::PATH, "cfg(level:int(3)names(:s(a b):s(x))dir(\"C:/tmp\"))"},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(toPml(cfg, r.mode, r.pattern), r.text) << r.mode << " / " << r.pattern;
    }
}

TEST(PmlWriter, SmallShapes) {
    Unit leaf(istr("a"), istr(""), istr("1"));
    Unit chain(istr("p"));  // p{ q{ r(1) } }: a chain of single children
    chain.at(istr("q"))->addChild("r", "1");
    Unit emptyList(istr("n"));
    emptyList.initValueAsList();
    Unit noValue(istr("z"));
    Unit untyped(istr("a"));  // unnamed untyped children stay on one line in MIXED
    untyped.addChild("", "1");
    untyped.addChild("", "2");
    const struct {
        const Unit* unit;
        std::string text;  // the same in every layout
    } rows[] = {
        {&leaf, "a(1)"},   {&chain, "p(q(r(1)))"},  {&emptyList, "n()"},
        {&noValue, "z()"}, {&untyped, "a((1)(2))"},
    };
    for (const auto& r : rows) {
        for (ShowMode m : {pml::COMPACT, pml::SIMPLE, pml::MIXED, pml::FORMATTED}) {
            if (r.unit == &untyped && m != pml::MIXED && m != pml::COMPACT) continue;
            EXPECT_EQ(toPml(*r.unit, m, kNTV), r.text) << m;
        }
    }
    EXPECT_EQ(toPml(untyped, pml::SIMPLE, kNTV), "a(\n    (1)\n    (2)\n)");
    // A typed but named pair is not an unnamed list: no line breaks in MIXED.
    Unit typedNamed(istr("t"));
    typedNamed.addChild("x", "i", "1");
    typedNamed.addChild("", "i", "2");
    EXPECT_EQ(toPml(typedNamed, pml::MIXED, kNTV), "t(x:i(1)\n:i(2))");
}

TEST(PmlWriter, ValueEscaping) {
    const struct {
        const char* value;
        const char* written;
    } rows[] = {
        {"abc", "a(abc)"},
        {"", "a()"},
        {"a b  c", "a(a b  c)"},
        {"a:b", "a(\"a:b\")"},
        {"say \"hi\"", "a(\"say ^\"hi^\"\")"},
        {"x^y", "a(\"x^^y\")"},
        {"^", "a(\"^^\")"},
        {"it's", "a(\"it's\")"},
        {"(*)", "a(\"(*)\")"},
        {"caf\xc3\xa9", "a(\"caf\xc3\xa9\")"},
        {"\x80", "a(\"\x80\")"},
        {"\x7f\t\n", "a(\x7f\t\n)"},
    };
    for (const auto& r : rows) {
        Unit u(istr("a"), istr(""), istr(r.value));
        EXPECT_EQ(toPml(u, pml::COMPACT, kNTV), r.written) << r.value;
    }
    // VALUE off hides the text but keeps the parentheses.
    Unit u(istr("a"), istr("t"), istr("x:y"));
    EXPECT_EQ(toPml(u, pml::COMPACT, pml::NAME | pml::TYPE), "a:t()");
}

TEST(PmlWriter, EscapeAndUnescapeStrings) {
    const struct {
        const char* in;
        const char* escaped;
    } rows[] = {
        {"", ""},
        {"abc", "abc"},
        {"a:b", "\"a:b\""},
        {"say \"hi\"", "\"say ^\"hi^\"\""},
        {"x^y", "\"x^^y\""},
        {"'q'", "\"'q'\""},
        {"\xc3\xa9", "\"\xc3\xa9\""},
        {"a*", "\"a*\""},
        {"(", "\"(\""},
    };
    for (const auto& r : rows) {
        String s(r.in);
        pml::escapeString(s);
        EXPECT_EQ(s, r.escaped) << r.in;
        // Unescaping only strips the quotes, so texts without "^" or '"' come back.
        pml::unescapeString(s);
        if (std::string(r.in).find_first_of("^\"") == std::string::npos) {
            EXPECT_EQ(s, r.in);
        }
        // The wide forms agree on ASCII text.
        std::wstring w(r.in, r.in + std::string(r.in).size());
        std::wstring we(r.escaped, r.escaped + std::string(r.escaped).size());
        if (std::string(r.in).find('\xc3') == std::string::npos) {
            pml::escapeString(w);
            EXPECT_EQ(w, we) << r.in;
        }
    }
    const struct {
        const char* in;
        const char* out;
    } unrows[] = {
        {"\"\"", ""}, {"''", ""},     {"\"", "\""},   {"'a\"", "'a\""},
        {"'a'", "a"}, {"\"a\"", "a"}, {"\"a", "\"a"}, {"\"^\"\"", "^\""},
    };
    for (const auto& r : unrows) {
        String s(r.in);
        pml::unescapeString(s);
        EXPECT_EQ(s, r.out) << r.in;
        std::wstring w(r.in, r.in + std::string(r.in).size());
        pml::unescapeString(w);
        EXPECT_EQ(w, std::wstring(r.out, r.out + std::string(r.out).size())) << r.in;
    }
    // Wide text: only bit 7 of the low byte counts besides the special characters.
    const struct {
        wchar_t c;
        bool quoted;
    } wide[] = {{L'a', false},
                {wchar_t(0x100), false},
                {wchar_t(0x7F), false},
                {wchar_t(0xE9), true},
                {wchar_t(0x1E9), true},
                {wchar_t(0x20AC), true},
                {wchar_t(0x2028), false},
                {L'^', true},
                {L'\'', true}};
    for (const auto& r : wide) {
        std::wstring w(1, r.c);
        pml::escapeString(w);
        EXPECT_EQ(w.size() != 1, r.quoted) << static_cast<unsigned>(r.c);
    }
    for (char c : std::string("():*^'\"")) {
        EXPECT_TRUE(pml::__isSpeacialChar(c)) << c;
        EXPECT_TRUE(pml::__isSpeacialChar(wchar_t(c))) << c;
    }
    for (char c : std::string("abc []/.\\\x80-")) EXPECT_FALSE(pml::__isSpeacialChar(c)) << c;
}

TEST(PmlWriter, NamesWithSpecialCharacters) {
    const char* names[] = {"plain", "a b", "a:b", "x(y)", "q\"t",
                           "c^d",   "'s'", "\"",  "*",    "\xc3\xa9"};
    for (const char* n : names) {
        // The rule: escape a copy, unescape it, write the result.
        String expected(n);
        pml::escapeString(expected);
        pml::unescapeString(expected);
        Unit u(istr(n), istr(""), istr("1"));
        EXPECT_EQ(toPml(u, pml::COMPACT, kNTV), expected + "(1)") << n;
    }
    Unit u(istr("a\"b^c(d)"), istr("t:y"), istr("1"));  // types are never escaped
    EXPECT_EQ(toPml(u, pml::COMPACT, kNTV), "a^\"b^^c(d):t:y(1)");
}

TEST(PmlWriter, TextForms) {
    const struct {
        int value;
        const char* mode;
        const char* pattern;
    } rows[] = {
        {0, "<UnknownShowMode>", "NONE"},
        {1, "COMPACT", "VALUE"},
        {2, "SIMPLE", "TYPE"},
        {3, "MIXED", "TYPE VALUE"},
        {4, "FORMATTED", "NAME"},
        {5, "<UnknownShowMode>", "NAME VALUE"},
        {7, "<UnknownShowMode>", "NAME TYPE VALUE"},
        {8, "<UnknownShowMode>", "PATH"},
        {15, "<UnknownShowMode>", "PATH NAME TYPE VALUE"},
        {16, "<UnknownShowMode>", ""},
        {16 | 4, "<UnknownShowMode>", "NAME"},
        {-1, "<UnknownShowMode>", "PATH NAME TYPE VALUE"},
    };
    for (const auto& r : rows) {
        std::ostringstream os;
        os << static_cast<ShowMode>(r.value) << '|' << static_cast<ShowPattern>(r.value);
        EXPECT_EQ(os.str(), std::string(r.mode) + "|" + r.pattern) << r.value;
        String s("=");
        s += static_cast<ShowMode>(r.value);
        s += static_cast<ShowPattern>(r.value);
        EXPECT_EQ(s, std::string("=") + r.mode + r.pattern) << r.value;
    }
}

TEST(PmlWriter, EntryPoints) {
    Unit cfg;
    buildCfg(cfg);
    const std::string compact = "cfg(level:int(3)names(:s(a b):s(x))dir(\"C:/tmp\"))";

    // A String destination is appended to.
    String s("head:");
    EXPECT_TRUE(pml::ntvToCompactPml(cfg, s, kNTV));
    EXPECT_EQ(s, "head:" + compact);

    // Every named entry point equals ntvToPml with its mode, for both destinations.
    using StrFn = bool (*)(const Unit&, String&, ShowPattern);
    using OsFn = bool (*)(const Unit&, std::ostream&, ShowPattern);
    const struct {
        ShowMode mode;
        StrFn toString;
        OsFn toStream;
    } rows[] = {
        {pml::COMPACT, pml::ntvToCompactPml, pml::ntvToCompactPml},
        {pml::SIMPLE, pml::ntvToSimplePml, pml::ntvToSimplePml},
        {pml::MIXED, pml::ntvToMixedPml, pml::ntvToMixedPml},
        {pml::FORMATTED, pml::ntvToFormattedPml, pml::ntvToFormattedPml},
    };
    for (const auto& r : rows) {
        const ShowPattern p = kNTV | pml::PATH;
        String a;
        std::ostringstream b;
        EXPECT_TRUE(r.toString(cfg, a, p));
        EXPECT_TRUE(r.toStream(cfg, b, p));
        EXPECT_EQ(a, toPml(cfg, r.mode, p));
        EXPECT_EQ(b.str(), a);
    }

    // An unknown mode writes nothing and gives false.
    for (int m : {0, 5, -1}) {
        String out("x");
        std::ostringstream os;
        EXPECT_FALSE(pml::ntvToPml(cfg, out, static_cast<ShowMode>(m), kNTV));
        EXPECT_FALSE(pml::ntvToPml(cfg, os, static_cast<ShowMode>(m), kNTV));
        EXPECT_EQ(out, "x");
        EXPECT_EQ(os.str(), "");
    }
}

TEST(PmlWriter, TemplatesWithLevelAndIndent) {
    Unit cfg;
    buildCfg(cfg);
    String s;
    EXPECT_TRUE((pml::__NtvToSimplePml<char, String>(cfg, s, 1, kNTV, "\t")));
    EXPECT_EQ(s,
              "\tcfg(\n\t\tlevel:int(3)\n\t\tnames(\n\t\t\t:s(a b)\n\t\t\t:s(x)\n\t\t)\n"
              "\t\tdir(\"C:/tmp\")\n\t)");
    int level = 1;
    std::ostringstream os;
    EXPECT_TRUE((pml::__NtvToFormattedPml<char, std::ostream>(cfg, os, level, kNTV, "  ")));
    EXPECT_EQ(level, 1);
    EXPECT_EQ(os.str(),
              "  cfg(\n    level:int(3)\n    names(\n      :s(a b)\n      :s(x)\n"
              "    )\n    dir(\"C:/tmp\")\n  )");
    s.clear();
    EXPECT_TRUE((pml::__NtvToMixedPml<char, String>(cfg, s, 1, kNTV, "  ")));
    // Every child starts with its own indentation, named ones too (on the same line).
    EXPECT_EQ(
        s, "  cfg(  level:int(3)  names(\n        :s(a b)\n        :s(x)\n  )  dir(\"C:/tmp\"))");

    // The pieces.
    s.clear();
    pml::__WriteIndent<char>(s, 0, "    ");
    pml::__WriteIndent<char>(s, -2, "    ");
    EXPECT_EQ(s, "");
    pml::__WriteLineSeparator<char>(s, 2, "ab", "\n");
    pml::__WritePath<char>(s, std::string("/x"));
    pml::__WriteType<char>(s, std::string("t^"));
    EXPECT_EQ(s, "\nabab(* /x *) :t^");
}

TEST(PmlWriter, PathCommentsBelowTheRoot) {
    // The path is the node's place in the whole tree, also when a subtree is written.
    Unit cfg;
    buildCfg(cfg);
    const Unit& names = cfg[istr("names")];
    EXPECT_EQ(toPml(names, pml::FORMATTED, kNTV | pml::PATH),
              "(* /names *) names(\n    (* /names/[0] *) :s(a b)\n"
              "    (* /names/[1] *) :s(x)\n)");
    // A single node written by COMPACT inside FORMATTED still gets its comment.
    EXPECT_EQ(toPml(cfg[istr("level")], pml::FORMATTED, pml::PATH | pml::VALUE),
              "(* /level *) (3)");
}

TEST(PmlWriter, StreamOutputLargerThanItsBuffer) {
    Unit root(istr("r"));
    for (int i = 0; i < 5000; ++i) {  // large enough for the measuring walk
        root.addChild("", "t", (std::string(i % 50, 'x') + ":" + std::to_string(i)).c_str());
    }
    for (ShowMode m : {pml::COMPACT, pml::SIMPLE, pml::MIXED, pml::FORMATTED}) {
        const String s = toPml(root, m, kNTV | pml::PATH);  // compares the stream form too
        EXPECT_GT(s.size(), 100000u);
    }
}

TEST(PmlWriter, DeepTrees) {
    // A chain of only children is single at every level: one COMPACT line in every layout.
    const size_t kDeep = 100000;
    Unit chain(istr("c"));
    Unit* u = &chain;
    for (size_t i = 0; i < kDeep; ++i) u = u->at(istr("c"));
    u->setValue(istr("v"));
    std::string compact;
    for (size_t i = 0; i <= kDeep; ++i) compact += "c(";
    compact += "v";
    compact.append(kDeep + 1, ')');
    for (ShowMode m : {pml::COMPACT, pml::SIMPLE, pml::MIXED, pml::FORMATTED}) {
        String s;
        EXPECT_TRUE(pml::ntvToPml(chain, s, m, kNTV));
        EXPECT_TRUE(s == compact) << m;
    }

    // Two children at every level: SIMPLE/FORMATTED indent each level (quadratic output, so
    // a smaller depth there); COMPACT and MIXED stay linear at full depth.
    Unit comb;
    buildComb(comb, kDeep);
    String s;
    EXPECT_TRUE(pml::ntvToCompactPml(comb, s, kNTV));
    EXPECT_EQ(s.size(), kDeep * 7 + 6);  // "n(v(1)" and ")" per level, "n(end)" at the bottom
    EXPECT_EQ(s.substr(0, 14), "n(v(1)n(v(1)n(");
    s.clear();
    EXPECT_TRUE(pml::ntvToMixedPml(comb, s, kNTV));
    EXPECT_EQ(s.size(), kDeep * 7 + 6);

    Unit small;
    buildComb(small, 2000);
    s.clear();
    EXPECT_TRUE(pml::ntvToSimplePml(small, s, kNTV));
    EXPECT_EQ(s.substr(0, 24), "n(\n    v(1)\n    n(\n     ");
    EXPECT_EQ(s.substr(s.size() - 8), "\n    )\n)");
}

// ---- round trips through the reader ----

namespace {

// Compares two trees node by node without recursion; returns "" or the first difference.
std::string diffTrees(const Unit& a, const Unit& b) {
    std::vector<std::pair<const Unit*, const Unit*>> work{{&a, &b}};
    while (!work.empty()) {
        const Unit* x = work.back().first;
        const Unit* y = work.back().second;
        work.pop_back();
        const std::string at = x->path();
        if (x->name() != y->name()) return at + ": name " + x->name() + " vs " + y->name();
        if (x->type() != y->type()) return at + ": type " + x->type() + " vs " + y->type();
        if (x->simple() != y->simple()) return at + ": kind";
        if (x->simple()) {
            if (String(x->getStringValue()) != String(y->getStringValue())) {
                return at + ": text [" + String(x->getStringValue()) + "] vs [" +
                       String(y->getStringValue()) + "]";
            }
            continue;
        }
        if (x->numofChildren() != y->numofChildren()) return at + ": child count";
        for (size_t i = 0; i < x->numofChildren(); ++i) {
            work.emplace_back(x->listValue()->data()[i], y->listValue()->data()[i]);
        }
    }
    return "";
}

// A pseudo-random tree whose names and types hold no special characters, where every node
// has a value and every list a child: such a tree reads back unchanged from every layout.
void buildRandom(Unit& root, unsigned seed, int maxDepth) {
    unsigned state = seed * 2654435761u + 1;
    auto next = [&state](unsigned n) {
        state = state * 1103515245u + 12345u;
        return (state >> 16) % n;
    };
    const char* texts[] = {"1",           "a b",    "x:y",  "say \"hi\"", "^",    "'q'", "(*)",
                           "caf\xc3\xa9", "C:/tmp", "))((", "a^^\"b",     "-3.5", "",    "tab\tin"};
    const char* types[] = {"", "", "int", "s", "utf8", "x.y"};
    std::vector<std::pair<Unit*, int>> work{{&root, 0}};
    root.name(istr("root"));
    while (!work.empty()) {
        Unit* u = work.back().first;
        const int depth = work.back().second;
        work.pop_back();
        const unsigned kids = depth >= maxDepth ? 0 : next(5);
        if (kids == 0) {
            u->setValue(istr(texts[next(sizeof texts / sizeof *texts)]));
            continue;
        }
        for (unsigned i = 0; i < kids; ++i) {
            const bool named = next(3) != 0;
            std::string name = named ? "k" + std::to_string(i) : "";
            Unit* c = new Unit(istr(name), istr(types[next(sizeof types / sizeof *types)]),
                               static_cast<zul::pml::ntv::ValueBase*>(nullptr));
            u->addChild(c);
            work.emplace_back(c, depth + 1);
        }
    }
}

}  // namespace

TEST(PmlWriter, RoundTripsOverEveryLayout) {
    Unit cfg;
    buildCfg(cfg);
    std::vector<Unit*> trees{&cfg};
    std::vector<Unit> randoms(40);
    for (unsigned i = 0; i < randoms.size(); ++i) {
        buildRandom(randoms[i], i, 1 + static_cast<int>(i % 6));
        trees.push_back(&randoms[i]);
    }
    for (const Unit* t : trees) {
        for (ShowMode m : {pml::COMPACT, pml::SIMPLE, pml::MIXED, pml::FORMATTED}) {
            for (ShowPattern p : {kNTV, kNTV | pml::PATH}) {
                const String text = toPml(*t, m, p);
                Unit back;
                ASSERT_TRUE(pml::ntvFromPml(back, istr(text))) << text;
                EXPECT_EQ(diffTrees(*t, back), "") << m << " " << p << "\n" << text;
                // Writing what was read gives the same text again.
                EXPECT_EQ(toPml(back, m, p), text);
            }
        }
    }
}

TEST(PmlWriter, WhatDoesNotReadBack) {
    // A node without value and an empty list both read back as an empty text; names keep
    // their special characters unquoted, so they do not survive.
    const struct {
        const char* name;
        bool list;
        const char* nameBack;
    } rows[] = {{"n", false, "n"}, {"n", true, "n"}, {"a b", false, "a b"}};
    for (const auto& r : rows) {
        Unit u(istr(r.name));
        if (r.list) u.initValueAsList();
        Unit back;
        ASSERT_TRUE(pml::ntvFromPml(back, istr(toPml(u, pml::FORMATTED, kNTV))));
        EXPECT_EQ(back.name(), r.nameBack);
        EXPECT_TRUE(back.simple());
        EXPECT_EQ(String(back.getStringValue()), "");
        EXPECT_NE(back.value(), nullptr);
    }
    Unit odd(istr("a:b"), istr(""), istr("1"));
    Unit back;
    ASSERT_TRUE(pml::ntvFromPml(back, istr(toPml(odd, pml::COMPACT, kNTV))));
    EXPECT_EQ(back.name(), "a");
    EXPECT_EQ(back.type(), "b");
}

TEST(PmlWriter, FileDestination) {
    char dirTemplate[] = "/tmp/zul_pml_writer_XXXXXX";
    ASSERT_NE(mkdtemp(dirTemplate), nullptr);
    const std::string dir = dirTemplate;
    const pml::File file(istr(dir + "/out.pml"));
    Unit cfg;
    buildCfg(cfg);
    using FileFn = bool (*)(const Unit&, const pml::File&, ShowPattern);
    const struct {
        ShowMode mode;
        FileFn fn;
    } rows[] = {{pml::COMPACT, pml::ntvToCompactPml},
                {pml::SIMPLE, pml::ntvToSimplePml},
                {pml::MIXED, pml::ntvToMixedPml},
                {pml::FORMATTED, pml::ntvToFormattedPml}};
    for (const auto& r : rows) {
        for (int viaMode = 0; viaMode < 2; ++viaMode) {
            EXPECT_TRUE(viaMode ? pml::ntvToPml(cfg, file, r.mode, kNTV | pml::PATH)
                                : r.fn(cfg, file, kNTV | pml::PATH));
            std::ifstream in(file.filename());
            std::stringstream content;
            content << in.rdbuf();
            EXPECT_EQ(content.str(),
                      toPml(cfg, r.mode, kNTV | pml::PATH));  // replaced, not appended
            Unit back;
            EXPECT_TRUE(pml::ntvFromPml(back, file));
            EXPECT_EQ(diffTrees(cfg, back), "");
        }
    }
    // An unknown mode still empties the file; a folder that does not exist gives false.
    EXPECT_FALSE(pml::ntvToPml(cfg, file, static_cast<ShowMode>(9), kNTV));
    std::ifstream in(file.filename());
    EXPECT_EQ(in.peek(), std::ifstream::traits_type::eof());
    const pml::File missing(istr(dir + "/no/such/folder/x.pml"));
    EXPECT_FALSE(pml::ntvToPml(cfg, missing, pml::COMPACT, kNTV));
    EXPECT_FALSE(pml::ntvToFormattedPml(cfg, missing, kNTV));
    std::remove(file.filename().c_str());
    rmdir(dir.c_str());
}

TEST(PmlWriter, ValueTreeTextForms) {
    Unit cfg;
    buildCfg(cfg);
    const String formatted = toPml(cfg, pml::FORMATTED, kNTV);

    std::ostringstream os;
    os << cfg;
    EXPECT_EQ(os.str(), formatted);
    String s("> ");
    s << cfg;
    EXPECT_EQ(s, "> " + formatted);
    String viaValueRule("> ");
    viaValueRule += cfg;  // the library-wide value-to-text rule goes through the stream form
    EXPECT_EQ(viaValueRule, s);

    // The values write themselves: a text escaped, a list child by child, one per line.
    std::ostringstream value, list;
    cfg[istr("dir")].value()->dump(value);
    EXPECT_EQ(value.str(), "\"C:/tmp\"");
    cfg.value()->dump(list);
    EXPECT_EQ(list.str(), "level:int(3)\nnames(\n    :s(a b)\n    :s(x)\n)\ndir(\"C:/tmp\")\n");

    // Patterns and modes stored as text values; a list is replaced.
    Unit u(istr("show"));
    u << (pml::NAME | pml::TYPE | pml::VALUE);
    EXPECT_EQ(String(u.getStringValue()), "NAME TYPE VALUE");
    u << pml::FORMATTED;
    EXPECT_EQ(String(u.getStringValue()), "FORMATTED");
    cfg << static_cast<ShowMode>(7);
    EXPECT_TRUE(cfg.simple());
    EXPECT_EQ(String(cfg.getStringValue()), "<UnknownShowMode>");
    cfg << pml::NONE;
    EXPECT_EQ(String(cfg.getStringValue()), "NONE");
}

TEST(PmlWriter, StrAndToString) {
    Unit cfg;
    buildCfg(cfg);
    for (ShowMode m : {pml::COMPACT, pml::SIMPLE, pml::MIXED, pml::FORMATTED}) {
        EXPECT_EQ(cfg.str(m, kNTV | pml::PATH), toPml(cfg, m, kNTV | pml::PATH));
        String s("keep:");
        cfg.toString(s, m, pml::TYPE | pml::VALUE);
        EXPECT_EQ(s, "keep:" + toPml(cfg, m, pml::TYPE | pml::VALUE));
    }
    EXPECT_EQ(cfg.str(static_cast<ShowMode>(0), kNTV), "");
}
