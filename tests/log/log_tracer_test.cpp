// Source locations and call stacks: printed forms, folding, order and the stack adaptor.
#include <gtest/gtest.h>
#include <zul/log/log_tracer.h>

#include <sstream>
#include <string>
#include <utility>

namespace {

template <class T>
std::string printed(T const& v) {
    std::ostringstream os;
    os << v;
    return os.str();
}

constexpr char kAt[] = "\n        AT: ";

}  // namespace

TEST(Current, PrintedFormParts) {
    struct Row {
        char const* file;
        unsigned int line;
        char const* func;
        char const* prefix;
        char const* expected;
    } const rows[] = {
        {"zul/a.cpp", 7, "f", nullptr, "f(zul/a.cpp:7)"},
        {"zul/a.cpp", 0, nullptr, nullptr, "(zul/a.cpp:0)"},
        {nullptr, 7, "f", nullptr, "f"},
        {nullptr, 7, nullptr, nullptr, ""},
        {nullptr, 7, nullptr, "P: ", "P: "},
        {"a.cpp", 4294967295u, "g", " > ", " > g(a.cpp:4294967295)"},
        {"d\xc3\xa9j\xc3\xa0.cpp", 3, "h", nullptr, "h(d\xc3\xa9j\xc3\xa0.cpp:3)"},
    };
    for (auto const& r : rows) {
        zul::Current const c(r.file, r.line, r.func);
        c.prefix(r.prefix);
        EXPECT_EQ(printed(c), r.expected) << r.expected;
        zul::String s("x");
        s += c;
        EXPECT_EQ(s, std::string("x") + r.expected);
    }
}

TEST(Current, FoldingAt119And118) {
    const std::pair<size_t, size_t> rows[] = {
        {13, 106}, {13, 107}, {13, 106 + 117}, {13, 106 + 118}, {118, 1}, {118, 2}, {119, 5},
    };

    for (auto [prefixLen, locLen] : rows) {
        // No file, so the location's text is exactly the function name.
        std::string func(locLen, 'x');
        for (size_t i = 0; i < func.size(); ++i) func[i] = static_cast<char>('a' + i % 26);
        // The exception report's "\n        AT: " is the 13-character case.
        std::string prefix = prefixLen == 13 ? kAt : std::string(prefixLen, '-');
        prefix[0] = '\n';
        zul::Current const c(nullptr, 1, func.c_str());
        c.prefix(prefix.c_str());

        size_t avail = prefixLen < 119 ? 119 - prefixLen : 0;
        std::string expected = prefix;
        if (func.size() <= avail) {
            expected += func;
        } else {
            expected += func.substr(0, avail) + "\n";
            std::string rest = func.substr(avail);
            if (rest.size() >= 118)
                expected += " " + rest.substr(rest.size() - 117);
            else
                expected += std::string(118 - rest.size(), ' ') + rest;
        }
        std::string const got = printed(c);
        EXPECT_EQ(got, expected) << prefixLen << "/" << locLen;
        if (func.size() > avail) {
            EXPECT_EQ(got.size() - got.rfind('\n') - 1, 118u) << "second line is 118 wide";
        }
    }
}

TEST(Current, OrderByFileThenLineThenFunction) {
    struct Row {
        zul::Current a, b;
        bool less;
    } const rows[] = {
        {{"a", 9, "z"}, {"b", 1, "a"}, true},
        {{"a", 1, "z"}, {"a", 2, "a"}, true},
        {{"a", 1, "f"}, {"a", 1, "g"}, true},
        {{"a", 1, "f"}, {"a", 1, "f"}, false},
    };
    for (auto const& r : rows) {  // each pair both ways
        EXPECT_EQ(r.a < r.b, r.less) << r.a.file() << r.a.line() << r.a.func();
        EXPECT_FALSE(r.b < r.a) << r.a.file() << r.a.line() << r.a.func();
    }
}

TEST(CallStack, PrintsInnermostFirstWithSeparator) {
    zul::CallStack cs;
    EXPECT_EQ(std::string(cs.separator().data, cs.separator().size), "\n");
    EXPECT_EQ(printed(cs), "");
    cs.container().push(zul::Current("o.cpp", 1, "outer"));
    cs.container().push(zul::Current("m.cpp", 2, "middle"));
    cs.container().push(zul::Current("i.cpp", 3, "inner"));
    cs.container().top().prefix("> ");

    EXPECT_EQ(printed(cs), "> inner(i.cpp:3)\nmiddle(m.cpp:2)\nouter(o.cpp:1)");
    EXPECT_EQ(&cs.separator("|"), &cs);
    EXPECT_EQ(printed(cs), "> inner(i.cpp:3)|middle(m.cpp:2)|outer(o.cpp:1)");
    // The separator stays in the outer frames; the innermost keeps its own prefix.
    EXPECT_EQ(std::string(cs.container().container().front().prefix().data), "|");
    EXPECT_EQ(std::string(cs.container().top().prefix().data), "> ");

    zul::CallStack one;
    one.container().push(zul::Current("i.cpp", 3, "inner"));
    one.separator("|");
    EXPECT_EQ(printed(one), "inner(i.cpp:3)");
}
