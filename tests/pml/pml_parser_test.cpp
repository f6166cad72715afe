// Tests of the PML lexer and parser: tokens, comments, literals, errors, the four instances
// (char/wchar_t over stream/pointer) agreeing, and deep nesting.
#include <gtest/gtest.h>
#include <pthread.h>
#include <zul/pml/pml_parser.h>

#include <sstream>
#include <string>
#include <vector>

#include "pml_test_support.h"

using zul::String;
using zul::pml::ntv::Unit;
using zul_test::describe;
using zul_test::expectConsistent;

namespace {

// What one parser instance made of a text: result, decode error, tree, characters consumed.
struct Outcome {
    bool result = false;
    std::string error, tree;
    size_t consumed = 0;
    std::string str() const {
        return std::to_string(result) + "|" + error + "|" + tree + "|" + std::to_string(consumed);
    }
};

template <class CharT>
Outcome parseWith(bool stream, const std::basic_string<CharT>& text, zul::pml::ParserState st) {
    Outcome out;
    Unit root;
    const CharT* p = text.c_str();
    std::basic_istringstream<CharT> is(text);
    zul::pml::pmlParserBase<CharT> parser(&root, st);
    bool closed = false;
    try {
        if (stream) {
            zul::pml::pmlLexerIstream<CharT> src(is);
            zul::pml::pmlLexer<zul::pml::pmlLexerIstream<CharT>> lexer(src);
            out.result = parser.__doParser(closed, lexer);
        } else {
            zul::pml::pmlLexerLpctstr<CharT> src(p);
            zul::pml::pmlLexer<zul::pml::pmlLexerLpctstr<CharT>> lexer(src);
            out.result = parser.__doParser(closed, lexer);
        }
    } catch (const zul::pml::DecodeException& e) {
        out.error = e.msg();
        EXPECT_STREQ(e.func(), "__doParser");
        EXPECT_STREQ(e.file(), "zul/pml/pml_parser.h");
    }
    EXPECT_EQ(parser.current_, &root);
    expectConsistent(root);
    out.tree = describe(root);
    out.consumed = static_cast<size_t>(p - text.c_str());
    if (stream) {
        is.clear();
        out.consumed = is.tellg() < 0 ? text.size() : static_cast<size_t>(is.tellg());
    }
    return out;
}

// Runs the four instances and expects them to agree; returns the 8-bit pointer outcome.
Outcome parseAll(const std::string& text, zul::pml::ParserState st = zul::pml::PasingName) {
    const Outcome o = parseWith<char>(false, text, st);
    EXPECT_EQ(parseWith<char>(true, text, st).str(), o.str()) << "char stream: " << text;
    std::wstring w;
    zul::utf8ToWstring(zul::istr(text), w);
    for (bool stream : {false, true}) {
        Outcome wo = parseWith<wchar_t>(stream, w, st);
        // Wide positions count characters, 8-bit ones bytes: compared on ASCII text only.
        if (w.size() != text.size()) wo.consumed = o.consumed;
        EXPECT_EQ(wo.str(), o.str()) << "wide " << stream << ": " << text;
    }
    return o;
}

TEST(PmlParser, WorkedExample) {
    // As written, the example leaves "cfg" open after "names(...)": " rest" is then read as
    // the name of a next child, cut by the end of the input, and the list ends there.
    const std::string text = "cfg(level:int(3) (* note *) names(('a b')(x^)y)) rest";
    Outcome o = parseAll(text);
    EXPECT_TRUE(o.result);
    EXPECT_EQ(o.tree, "cfg{level:int=[3],names{=[a b],=[x)y]}}");
    EXPECT_EQ(o.consumed, text.size());

    // With cfg closed, the same tree comes out and " rest" stays unread.
    const std::string closed = "cfg(level:int(3) (* note *) names(('a b')(x^)y))) rest";
    o = parseAll(closed);
    EXPECT_EQ(o.tree, "cfg{level:int=[3],names{=[a b],=[x)y]}}");
    EXPECT_EQ(closed.substr(o.consumed), " rest");

    Unit root;
    const char* p = closed.c_str();
    ASSERT_TRUE(zul::pml::ntvFromPml(root, p));
    EXPECT_STREQ(p, " rest");
    const Unit& names = root["names"];
    EXPECT_EQ(names["[1]"].getStringValue(), zul::istr("x)y"));
    EXPECT_EQ(names["[1]"].path(), "/names/[1]");
    EXPECT_EQ(root["level"].type(), "int");
}

TEST(PmlParser, InstancesAgreeOnTable) {
    struct Row {
        const char* text;
        const char* tree;
        size_t consumed;  // npos: the whole input
    };
    const size_t all = std::string::npos;
    const Row rows[] = {
        // empty and blank input leave the node empty
        {"", "~", 0},
        {"  \t\n ", "~", all},
        // a name token cut by the end of input leaves the node unnamed
        {"abc", "~", all},
        {"a(", "~", all},
        {"a()", "a=[]", all},
        {"a(b)", "a=[b]", all},
        {"a(b())", "a{b=[]}", all},
        {"a(:int(5))", "a{:int=[5]}", all},
        {"a((1)(2))", "a{=[1],=[2]}", all},
        {"a(x(1)x(2))", "a{x=[1]}", all},
        {"a(  hello world  )", "a=[hello world]", all},
        {"a('  hi  ')", "a=[  hi  ]", all},
        {"a('it''s')", "a=[its]", all},
        {"a('it^'s')", "a=[it's]", all},
        {"a('ab' \"cd\")", "a=[abcd]", all},
        {"a('a'  'b' \t 'c')", "a=[abc]", all},
        {"a(\"x'y\")", "a=[x'y]", all},
        {"a('x' y)", "a=['x'y]", all},  // text after a literal joins, blanks skipped
        {"a(b(* c *)d)", "a=[bd]", all},
        {"a(b (* c *) d)", "a=[b d]", all},
        {"a(b(**)c)", "a=[bc]", all},
        {"a(b(***)c)", "a=[bc]", all},
        {"a(b(* x (* y *) z *)c)", "a=[bc]", all},
        {"(* lead *) a(1)", "a=[1]", all},
        {"a('(* no comment *)')", "a=[(* no comment *)]", all},
        {"a(^(^)^:^'^\"^^)", "a=[():'\"^]", all},
        {"a(x^ )", "a=[x]", all},  // an escaped blank at the end is trimmed like any other
        {"  name  :  type  (  v  )", "name:type=[v]", all},
        {"a(1) b(2)", "a=[1]", 4},
        {"a(b(1)c(2)) tail", "a{b=[1],c=[2]}", 11},
        // a missing ")" at the end of the input is accepted
        {"a(b", "a=[b]", all},
        {"a(b(1)c", "a{b=[1]}", all},
        {"a(b(1", "a{b=[1]}", all},
        {"a('x y", "a=['x y]", all},  // an unclosed literal keeps its quote
        {"a(x^", "a=[x]", all},
        {"a(b(* open", "a=[b]", all},
        // a name without content ends its list and the enclosing one too
        {"r(a(x(1) y) z(2))", "r{a{x=[1],y~}}", 11},
        {"a(1)(2)", "a=[1]", 4},
        {"x(\xc3\xa9 \xe2\x82\xac)", "x=[\xc3\xa9 \xe2\x82\xac]", all},
        {"cfg:t((* c *):s(1))", "cfg:t{:s=[1]}", all},
        {"cfg((:s(1)))", "cfg{{:s=[1]}}", all},
    };
    for (const Row& r : rows) {
        const std::string text = r.text;
        const Outcome o = parseAll(text);
        EXPECT_TRUE(o.result) << text;
        EXPECT_EQ(o.error, "") << text;
        EXPECT_EQ(o.tree, r.tree) << text;
        EXPECT_EQ(o.consumed, r.consumed == all ? text.size() : r.consumed) << text;
    }
}

TEST(PmlParser, ContentAloneTable) {
    const char* rows[][2] = {{"", "=[]"},
                             {"hello", "=[hello]"},
                             {"'q'", "=[q]"},
                             {"a(1)b(2)", "{a=[1],b=[2]}"},
                             {" a(1) ) b(2)", "{a=[1]}"},
                             {":t(1)(2)", "{:t=[1],=[2]}"}};
    for (const auto& r : rows) {
        const Outcome o = parseAll(r[0], zul::pml::PasingValue);
        EXPECT_TRUE(o.result) << r[0];
        EXPECT_EQ(o.tree, r[1]) << r[0];
    }
}

TEST(PmlParser, DecodeErrorsAndPartialTree) {
    const struct {
        const char* text;
        const char* error;
        const char* tree;  // what stays in the tree
    } rows[] = {
        {"a:t)", "DecodeException: not found value begin tag, token", "a~"},
        {"a:t:", "DecodeException: not found value begin tag, token", "a~"},
        {"a:t", "DecodeException: get type token", "a~"},
        {"a:", "DecodeException: get type token", "a~"},
        {"a(b(1)c(2)d:t)e(3))", "DecodeException: not found value begin tag, token",
         "a{b=[1],c=[2]}"},
        {"a(b(c(1)d(e:", "DecodeException: get type token", "a{}"},
    };
    for (const auto& r : rows) {
        const Outcome o = parseAll(r.text);
        EXPECT_EQ(o.error, r.error) << r.text;
        EXPECT_EQ(o.tree, r.tree) << r.text;
    }

    Unit root;
    EXPECT_THROW(zul::pml::ntvFromPml(root, zul::istr("x(a:b)")), zul::pml::DecodeException);
    try {
        zul::pml::ntvFromPml(root, zul::istr("x(a:b)"));
    } catch (const zul::Exception& e) {  // caught through the family's root as well
        EXPECT_STREQ(e.msg(), "DecodeException: not found value begin tag, token");
        EXPECT_NE(std::string(e.what()).find("not found value begin tag"), std::string::npos);
    }
}

TEST(PmlParser, GuardsForStateAndFailedStream) {
    Unit root;
    zul::pml::pmlParserBase<char> parser(&root, static_cast<zul::pml::ParserState>(7));
    EXPECT_EQ(parser.flag_, zul::pml::kNoTokenFlag);
    const char* p = "a(1)";
    zul::pml::pmlLexerLpctstr<char> src(p);
    zul::pml::pmlLexer<zul::pml::pmlLexerLpctstr<char>> lexer(src);
    bool closed = false;
    try {
        parser.__doParser(closed, lexer);
        ADD_FAILURE() << "no exception";
    } catch (const zul::pml::DecodeException& e) {
        EXPECT_STREQ(e.msg(), "DecodeException: passing state should be PasingValue");
    }

    // A stream that failed before the call is an error, not an end of input.
    std::istringstream bad("a(1)");
    bad.setstate(std::ios::failbit);
    try {
        zul::pml::ntvFromPml(root, bad);
        ADD_FAILURE() << "no exception";
    } catch (const zul::pml::DecodeException& e) {
        EXPECT_STREQ(e.msg(), "DecodeException: get pml name token");
    }
    // One that is already at its end simply reads nothing.
    std::istringstream done("");
    done.get();
    EXPECT_TRUE(zul::pml::ntvFromPml(root, done));
    EXPECT_TRUE(root.empty());
}

std::string nested(size_t levels) {
    std::string s;
    s.reserve(levels * 3 + 3);
    for (size_t i = 0; i < levels; ++i) s += "a(";
    s += "x";
    s.append(levels, ')');
    return s;
}

// The depth of the deepest node below `top`, found without recursion.
size_t depthOf(const Unit& top) {
    size_t depth = 0;
    for (const Unit* u = &top; u->listValue() != nullptr; u = u->childAt(0)) ++depth;
    return depth;
}

TEST(PmlParser, DeepNesting) {
    const size_t max = zul::pml::kPmlMaxDepth;
    static_assert(zul::pml::kPmlMaxDepth >= 1000, "documented minimum");
    Unit root;
    // nested(n) puts the text n - 1 levels below the top node.
    ASSERT_TRUE(zul::pml::ntvFromPml(root, zul::istr(nested(max + 1))));
    EXPECT_EQ(depthOf(root), max);
    expectConsistent(root);

    for (size_t levels : {max + 2, size_t(100000)}) {
        Unit deep;
        try {
            zul::pml::ntvFromPml(deep, zul::istr(nested(levels)));
            ADD_FAILURE() << levels;
        } catch (const zul::pml::DecodeException& e) {
            EXPECT_STREQ(e.msg(), "DecodeException: nesting too deep");
        }
        EXPECT_EQ(deep.name(), "a");  // the top node keeps its name, nothing else is built
        EXPECT_EQ(deep.numofChildren(), 0u);
    }

    // Wide text and the content state count the same way.
    const std::string text = nested(max + 2);
    const std::wstring wide(text.begin(), text.end());
    Unit w;
    EXPECT_THROW(zul::pml::ntvFromPml(w, zul::iwstr(wide)), zul::pml::DecodeException);
    EXPECT_TRUE(zul::pml::ntvFromValueString(w, zul::istr(nested(max))));
    EXPECT_THROW(zul::pml::ntvFromValueString(w, zul::istr(nested(max + 1))),
                 zul::pml::DecodeException);
}

// The deepest accepted text also parses on a thread with a small (512 KiB) stack.
TEST(PmlParser, MaxDepthFitsSmallStack) {
    struct Job {
        std::string text;
        bool ok = false;
        static void* run(void* arg) {
            Job* j = static_cast<Job*>(arg);
            Unit root;
            j->ok = zul::pml::ntvFromPml(root, zul::istr(j->text));
            return nullptr;
        }
    } job;
    job.text = nested(zul::pml::kPmlMaxDepth + 1);
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 512 * 1024);
    pthread_t t;
    ASSERT_EQ(pthread_create(&t, &attr, &Job::run, &job), 0);
    pthread_join(t, nullptr);
    pthread_attr_destroy(&attr);
    EXPECT_TRUE(job.ok);
}

}  // namespace
