// Tests of the PML lexer and parser: tokens, comments, literals, errors, the four instances
// (char/wchar_t over stream/pointer) agreeing, and deep nesting.
#include <pthread.h>

#include <sstream>
#include <string>

#include "pml_test_support.h"

using namespace zul_test;

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

template <class CharT, class Source, class Arg>
bool runParser(pml::pmlParserBase<CharT>& parser, Arg& arg) {
    Source src(arg);
    pml::pmlLexer<Source> lexer(src);
    bool closed = false;
    return parser.__doParser(closed, lexer);
}

template <class CharT>
Outcome parseWith(bool stream, const std::basic_string<CharT>& text, pml::ParserState st) {
    Outcome out;
    Unit root;
    const CharT* p = text.c_str();
    std::basic_istringstream<CharT> is(text);
    pml::pmlParserBase<CharT> parser(&root, st);
    try {
        out.result = stream ? runParser<CharT, pml::pmlLexerIstream<CharT>>(parser, is)
                            : runParser<CharT, pml::pmlLexerLpctstr<CharT>>(parser, p);
    } catch (const pml::DecodeException& e) {
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
Outcome parseAll(const std::string& text, pml::ParserState st = pml::PasingName) {
    const Outcome o = parseWith<char>(false, text, st);
    EXPECT_EQ(parseWith<char>(true, text, st).str(), o.str()) << "char stream: " << text;
    std::wstring w;
    zul::utf8ToWstring(istr(text), w);
    for (bool stream : {false, true}) {
        Outcome wo = parseWith<wchar_t>(stream, w, st);
        // Wide positions count characters, 8-bit ones bytes: compared on ASCII text only.
        if (w.size() != text.size()) wo.consumed = o.consumed;
        EXPECT_EQ(wo.str(), o.str()) << "wide " << stream << ": " << text;
    }
    return o;
}

TEST(PmlParser, InstancesAgreeOnTable) {
    const size_t all = std::string::npos;
    const struct {
        const char* text;
        const char* tree;
        size_t consumed;  // npos: the whole input
    } rows[] = {
        // clang-format off
        // The worked example, as written, leaves "cfg" open after "names(...)": " rest" is then
        // read as the name of a next child, cut by the end of the input, and the list ends.
        {"cfg(level:int(3) (* note *) names(('a b')(x^)y)) rest",
         "cfg{level:int=[3],names{=[a b],=[x)y]}}", all},
        {"cfg(level:int(3) (* note *) names(('a b')(x^)y))) rest",  // closed: " rest" unread
         "cfg{level:int=[3],names{=[a b],=[x)y]}}", 49},
        {"", "~", 0}, {"  \t\n ", "~", all},  // empty and blank input leave the node empty
        {"abc", "~", all}, {"a(", "~", all},  // a name cut by the end of input: node unnamed
        {"a()", "a=[]", all}, {"a(b)", "a=[b]", all}, {"a(b())", "a{b=[]}", all},
        {"a(:int(5))", "a{:int=[5]}", all}, {"a((1)(2))", "a{=[1],=[2]}", all},
        {"a(x(1)x(2))", "a{x=[1]}", all}, {"a(  hello world  )", "a=[hello world]", all},
        {"a('  hi  ')", "a=[  hi  ]", all}, {"a('it''s')", "a=[its]", all},
        {"a('it^'s')", "a=[it's]", all}, {"a('ab' \"cd\")", "a=[abcd]", all},
        {"a('a'  'b' \t 'c')", "a=[abc]", all}, {"a(\"x'y\")", "a=[x'y]", all},
        {"a('x' y)", "a=['x'y]", all},  // text after a literal joins, blanks skipped
        {"a(b(* c *)d)", "a=[bd]", all}, {"a(b (* c *) d)", "a=[b d]", all},
        {"a(b(**)c)", "a=[bc]", all}, {"a(b(***)c)", "a=[bc]", all},
        {"a(b(* x (* y *) z *)c)", "a=[bc]", all}, {"(* lead *) a(1)", "a=[1]", all},
        {"a('(* no comment *)')", "a=[(* no comment *)]", all},
        {"a(^(^)^:^'^\"^^)", "a=[():'\"^]", all},
        {"a(x^ )", "a=[x]", all},  // an escaped blank at the end is trimmed like any other
        {"  name  :  type  (  v  )", "name:type=[v]", all},
        {"a(1) b(2)", "a=[1]", 4}, {"a(b(1)c(2)) tail", "a{b=[1],c=[2]}", 11},
        // a missing ")" at the end of the input is accepted
        {"a(b", "a=[b]", all}, {"a(b(1)c", "a{b=[1]}", all}, {"a(b(1", "a{b=[1]}", all},
        {"a('x y", "a=['x y]", all},  // an unclosed literal keeps its quote
        {"a(x^", "a=[x]", all}, {"a(b(* open", "a=[b]", all},
        // a name without content ends its list and the enclosing one too
        {"r(a(x(1) y) z(2))", "r{a{x=[1],y~}}", 11}, {"a(1)(2)", "a=[1]", 4},
        {"x(\xc3\xa9 \xe2\x82\xac)", "x=[\xc3\xa9 \xe2\x82\xac]", all},
        {"cfg:t((* c *):s(1))", "cfg:t{:s=[1]}", all}, {"cfg((:s(1)))", "cfg{{:s=[1]}}", all},
        // clang-format on
    };
    for (const auto& r : rows) {
        const std::string text = r.text;
        const Outcome o = parseAll(text);
        EXPECT_TRUE(o.result) << text;
        EXPECT_EQ(o.error, "") << text;
        EXPECT_EQ(o.tree, r.tree) << text;
        EXPECT_EQ(o.consumed, r.consumed == all ? text.size() : r.consumed) << text;
    }
    // The content of a node alone.
    // clang-format off
    const char* content[][2] = {{"", "=[]"}, {"hello", "=[hello]"}, {"'q'", "=[q]"},
        {"a(1)b(2)", "{a=[1],b=[2]}"}, {" a(1) ) b(2)", "{a=[1]}"}, {":t(1)(2)", "{:t=[1],=[2]}"}};
    // clang-format on
    for (const auto& r : content) {
        const Outcome o = parseAll(r[0], pml::PasingValue);
        EXPECT_TRUE(o.result) << r[0];
        EXPECT_EQ(o.tree, r[1]) << r[0];
    }
}

TEST(PmlParser, DecodeErrorsAndPartialTree) {
    const std::string tag = "DecodeException: not found value begin tag, token";
    const std::string type = "DecodeException: get type token";
    const struct {
        const char* text;
        const std::string& error;
        const char* tree;  // what stays in the tree
    } rows[] = {
        // clang-format off
        {"a:t)", tag, "a~"}, {"a:t:", tag, "a~"}, {"a:t", type, "a~"}, {"a:", type, "a~"},
        {"a(b(1)c(2)d:t)e(3))", tag, "a{b=[1],c=[2]}"}, {"a(b(c(1)d(e:", type, "a{}"},
        // clang-format on
    };
    for (const auto& r : rows) {
        const Outcome o = parseAll(r.text);
        EXPECT_EQ(o.error, r.error) << r.text;
        EXPECT_EQ(o.tree, r.tree) << r.text;
    }
    Unit root;

    // Guards: a state outside the three values, and a stream that failed before the call (an
    // error, not an end of input); one already at its end simply reads nothing.
    pml::pmlParserBase<char> parser(&root, static_cast<pml::ParserState>(7));
    EXPECT_EQ(parser.flag_, pml::kNoTokenFlag);
    const char* p = "a(1)";
    EXPECT_EQ(decodeError([&] { runParser<char, pml::pmlLexerLpctstr<char>>(parser, p); }),
              "DecodeException: passing state should be PasingValue");
    std::istringstream bad("a(1)");
    bad.setstate(std::ios::failbit);
    EXPECT_EQ(decodeError([&] { pml::ntvFromPml(root, bad); }),
              "DecodeException: get pml name token");
    std::istringstream done("");
    done.get();
    EXPECT_TRUE(pml::ntvFromPml(root, done));
    EXPECT_TRUE(root.empty());
}

std::string nested(size_t levels) {
    std::string s;
    for (size_t i = 0; i < levels; ++i) s += "a(";
    return s + "x" + std::string(levels, ')');
}

#if defined(__SANITIZE_ADDRESS__)
constexpr size_t kSmallStack = 2 * 1024 * 1024;
#else
constexpr size_t kSmallStack = 512 * 1024;
#endif

TEST(PmlParser, DeepNesting) {
    const size_t max = pml::kPmlMaxDepth;
    static_assert(pml::kPmlMaxDepth >= 1000, "documented minimum");
    Unit root;
    // nested(n) puts the text n - 1 levels below the top node.
    ASSERT_TRUE(pml::ntvFromPml(root, istr(nested(max + 1))));
    std::string levels;
    for (size_t i = 0; i < max; ++i) levels += "a{";
    EXPECT_EQ(describe(root), levels + "a=[x]" + std::string(max, '}'));
    expectConsistent(root);

    for (size_t levels : {max + 2, size_t(100000)}) {
        Unit deep;
        EXPECT_EQ(decodeError([&] { pml::ntvFromPml(deep, istr(nested(levels))); }),
                  "DecodeException: nesting too deep");
        EXPECT_EQ(describe(deep), "a{}");  // the top node keeps its name and an empty list
    }

    // Wide text and the content state count the same way.
    const std::string text = nested(max + 2);
    Unit w;
    EXPECT_THROW(pml::ntvFromPml(w, zul::iwstr(std::wstring(text.begin(), text.end()))),
                 pml::DecodeException);
    EXPECT_TRUE(pml::ntvFromValueString(w, istr(nested(max))));
    EXPECT_THROW(pml::ntvFromValueString(w, istr(nested(max + 1))), pml::DecodeException);

    // The deepest accepted text also parses on a thread with a small stack: 512 KiB, or
    // 2 MiB under AddressSanitizer, whose red zones make every frame several times larger.
    struct Job {
        std::string text;
        bool ok = false;
        static void* run(void* arg) {
            Job* j = static_cast<Job*>(arg);
            Unit root;
            j->ok = pml::ntvFromPml(root, istr(j->text));
            return nullptr;
        }
    } job{nested(max + 1)};
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, kSmallStack);
    pthread_t t;
    ASSERT_EQ(pthread_create(&t, &attr, &Job::run, &job), 0);
    pthread_join(t, nullptr);
    pthread_attr_destroy(&attr);
    EXPECT_TRUE(job.ok);
}

}  // namespace
