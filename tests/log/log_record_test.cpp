// Tests of the record front end: the exact layout of framed blocks, information lines and
// trace lines, cutting of overlong texts and flush counts.
#include <gtest/gtest.h>
#include <zul/log/log_logger.h>
#include <zul/log/log_tracer.h>
#include <zul/mt/handle.h>
#include <zul/mt/thread.h>

#include <cctype>
#include <string>
#include <vector>

#include "log/recording_logger.h"

namespace {

using zul_test::RecordingLogger;

// Date-time text and thread identity: "2024-05-06 07:08:09.123" then "< 812.1234>" (braces
// for a registered thread), numbers right-aligned in four columns at least.
struct HeadShape {
    char open, close;
};
constexpr HeadShape kPlainHead{'<', '>'};
constexpr HeadShape kThreadHead{'{', '}'};

// A run of blanks followed by at least one digit.
bool paddedNumber(std::string const& s) {
    size_t i = s.find_first_not_of(' ');
    return i != std::string::npos && s.find_first_not_of("0123456789", i) == std::string::npos;
}

bool hasShape(std::string const& head, HeadShape shape) {
    static const char kDate[] = "0000-00-00 00:00:00.000";
    size_t const n = sizeof kDate - 1;
    if (head.size() < n + 5) return false;
    for (size_t i = 0; i < n; ++i) {
        bool const ok = kDate[i] == '0' ? std::isdigit(static_cast<unsigned char>(head[i])) != 0
                                        : head[i] == kDate[i];
        if (!ok) return false;
    }
    std::string const id = head.substr(n);
    size_t const dot = id.find('.');
    return id.front() == shape.open && id.back() == shape.close && dot != std::string::npos &&
           paddedNumber(id.substr(1, dot - 1)) &&
           paddedNumber(id.substr(dot + 1, id.size() - dot - 2));
}

std::string rep(char c, size_t n) {
    return std::string(n, c);
}

// The lines of a record, each ended by a newline.
std::vector<std::string> lines(std::string const& record) {
    std::vector<std::string> out;
    size_t start = 0;
    for (size_t nl; (nl = record.find('\n', start)) != std::string::npos; start = nl + 1)
        out.push_back(record.substr(start, nl - start));
    EXPECT_EQ(start, record.size()) << "record does not end with a newline";
    return out;
}

std::string only(RecordingLogger const& lg) {
    auto records = lg.records();
    EXPECT_EQ(records.size(), 1u);
    return records.empty() ? std::string() : records.front();
}

// Splits `text` after the thread head (before the first '['), checking the head's shape.
std::string afterHead(std::string const& text, HeadShape shape = kPlainHead) {
    size_t const p = text.find('[');
    EXPECT_TRUE(p != std::string::npos && hasShape(text.substr(0, p), shape)) << text;
    return p == std::string::npos ? text : text.substr(p);
}

// A header line: the thread head, `rest`, a blank, '-' up to 118 columns, " title" if any.
void expectHeaderLine(std::string const& line, std::string const& rest, std::string const& title) {
    ASSERT_EQ(line.size(), 118u) << line;
    std::string const tail = title.empty() ? "" : " " + title;
    std::string const after = afterHead(line);
    EXPECT_EQ(after, rest + " " + rep('-', after.size() - rest.size() - 1 - tail.size()) + tail);
}

// Every failure function: the whole block, with the body lines between underline and rule.
TEST(LogRecord, FailureBlocksUseTheTwelveColumnGutter) {
    struct Row {
        void (*write)(zul::logger&);
        std::string tag;
        std::vector<std::string> body;
    } const rows[] = {
        {[](zul::logger& lg) {
             zul::exceptionThrown(lg, "zul/pml/pml_parser.h", 115, "__doParser",
                                  "DecodeException: get pml name token");
         },
         "THROWING",
         {"     CAUSE: DecodeException: get pml name token",
          "        AT: __doParser(zul/pml/pml_parser.h:115)", "CALL STACK: "}},
        {[](zul::logger& lg) { zul::writeErrorLog(lg, "e.cpp", 9, "load", "bad", "<WARNING>"); },
         "<WARNING>",
         {"     CAUSE: bad", "        AT: load(e.cpp:9)", "CALL STACK: "}},
        {[](zul::logger& lg) { zul::writeExcptLog(lg, "t.cpp", 7, "run", "boom\nat two"); },
         "EXCEPTION",
         {"     CAUSE: catch a exception.", "        AT: run(t.cpp:7)", "CALL STACK: ", "boom",
          "at two"}},
        {[](zul::logger& lg) { zul::assertFailure(lg, "x > 0", "a.cpp", 3, "f", "return"); },
         "ASSERT FAILURE",
         {" CONDITION: x > 0", "        AT: f(a.cpp:3)", "CALL STACK: ", "   WILL DO: return"}},
        {[](zul::logger& lg) { zul::assertFailure(lg, "x > 0", "a.cpp", 3, "f", ""); },
         "ASSERT FAILURE",
         {" CONDITION: x > 0", "        AT: f(a.cpp:3)", "CALL STACK: "}},
        {[](zul::logger& lg) { zul::ensureFailure(lg, "ok", "a.cpp", 4, "g", nullptr); },
         "ENSURE FAILURE",
         {" CONDITION: ok", "        AT: g(a.cpp:4)", "CALL STACK: "}},
        {[](zul::logger& lg) { zul::exceptionThrown(lg, nullptr, 5, nullptr, nullptr); },
         "THROWING",
         {"     CAUSE: ", "        AT: ", "CALL STACK: "}},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.body.front());
        RecordingLogger lg;
        row.write(lg);
        auto const l = lines(only(lg));
        ASSERT_EQ(l.size(), 6 + row.body.size());
        EXPECT_EQ(l.front(), "");
        expectHeaderLine(l[1], "[ZUL][" + row.tag + "]", "");
        EXPECT_EQ(l[2], rep(' ', 118 - row.tag.size()) + row.tag);
        EXPECT_EQ(l[3], rep(' ', 118 - row.tag.size()) + rep('=', row.tag.size()));
        EXPECT_EQ(std::vector<std::string>(l.begin() + 4, l.end() - 2), row.body);
        EXPECT_EQ(l[l.size() - 2], rep('-', 118));
        EXPECT_EQ(l.back(), "");
        EXPECT_EQ(lg.flushes(), 1);
    }
}

TEST(LogRecord, CallStackIsInnermostFirstInTheLabelGutter) {
    RecordingLogger lg;
    {
        zul::TraceEntry outer(lg, "a.cpp", 1, "outer", 0, nullptr);
        zul::TraceEntry inner(lg, "b.cpp", 2, "inner", 0, nullptr);
        zul::writeErrorLog(lg, "c.cpp", 3, "site", "lost", nullptr);
    }
    auto const l = lines(only(lg));
    ASSERT_EQ(l.size(), 8u);  // no tag lines
    expectHeaderLine(l[1], "[ZUL]", "");
    EXPECT_EQ(l[4], "CALL STACK: inner(b.cpp:2)");
    EXPECT_EQ(l[5], "            outer(a.cpp:1)");
    // The separator was set on a copy: the thread's own stack keeps its default.
    EXPECT_EQ(zul::tracer::instance()->separator(), zul::istr("\n"));
}

TEST(LogRecord, WriteLogPlacesEachPartAndCutsOverlongTexts) {
    {  // Null title: no empty line, no header; an 8-character tag behind 110 blanks.
        RecordingLogger lg;
        zul::writeLog(lg, nullptr, "ABCDEFGH", "body", nullptr, nullptr);
        EXPECT_EQ(only(lg), rep(' ', 110) + "ABCDEFGH\n" + rep(' ', 110) + "========\nbody\n\n");
        EXPECT_EQ(lg.flushes(), 1);
    }
    {  // Empty title: the empty line and a header line with nothing at the right.
        RecordingLogger lg;
        zul::writeLog(lg, "", nullptr, nullptr, "", "");
        auto const l = lines(only(lg));
        ASSERT_EQ(l.size(), 5u);
        expectHeaderLine(l[1], "[ZUL]", "");
        EXPECT_EQ(l, (std::vector<std::string>{"", l[1], "", rep('-', 118), ""}));
    }
    {  // Title, note with its overline and trailer, all at the right.
        RecordingLogger lg("APP");
        zul::writeLog(lg, "T", "", "b", "nb", "end");
        auto const l = lines(only(lg));
        ASSERT_EQ(l.size(), 7u);
        expectHeaderLine(l[1], "[APP]", "T");
        EXPECT_EQ(std::vector<std::string>(l.begin() + 2, l.end()),
                  (std::vector<std::string>{"b", rep(' ', 116) + "__", rep(' ', 116) + "nb",
                                            rep('-', 114) + " end", ""}));
    }
    {  // Right-hand texts keep their last 117 characters behind one blank, over the header.
        std::string const t = "<" + rep('x', 127) + "ab";
        RecordingLogger lg;
        zul::writeLog(lg, t.c_str(), t.c_str(), "b", t.c_str(), t.c_str());
        auto const l = lines(only(lg));
        ASSERT_EQ(l.size(), 9u);
        for (size_t i : {1u, 2u, 6u, 7u}) EXPECT_EQ(l[i], " " + t.substr(13)) << i;
        EXPECT_EQ(l[3], " " + rep('=', 117));
        EXPECT_EQ(l[5], " " + rep('_', 117));
    }
}

// A lifecycle thread that writes one information record at its birth and ends.
class InfoWriter : public zul::SimpleThread {
  public:
    InfoWriter(RecordingLogger& lg, char const* name) : SimpleThread(nullptr, name), lg_(lg) {}

  protected:
    bool onBirth() override {
        zul::writeInfoLog(lg_, __FILE__, __LINE__, "onBirth", "msg", "INFO");
        return false;
    }

  private:
    RecordingLogger& lg_;
};

TEST(LogRecord, InfoLineIsHeaderBlankMessage) {
    struct Row {
        char const *id, *msg, *tag, *after;
    } const rows[] = {
        {"ZUL", "msg", "INFO", "[ZUL][INFO] msg\n"},
        {"ZUL", "msg", "", "[ZUL] msg\n"},
        {"APP", nullptr, nullptr, "[APP] \n"},
    };
    for (auto const& row : rows) {
        RecordingLogger lg(row.id);
        zul::writeInfoLog(lg, "f.cpp", 1, "f", row.msg, row.tag);
        EXPECT_EQ(afterHead(only(lg)), row.after);
        EXPECT_EQ(lg.flushes(), 1);
    }
    // On a registered thread: braces around its identity and its name after the tag.
    RecordingLogger lg;
    zul::Handle<InfoWriter> worker(new InfoWriter(lg, "worker"));
    worker->startAndWait();
    worker->join();
    EXPECT_EQ(afterHead(only(lg), kThreadHead), "[ZUL][INFO]{worker} msg\n");
}

TEST(LogRecord, EntryLineIs118ColumnsUntilItDoesNotFit) {
    std::string const t115 = rep('t', 115), t98 = rep('t', 98), r17 = rep('r', 17);
    struct Row {
        char const* head;
        std::string text;
        char const* right;
        char fill;
        std::string expected;
    } const rows[] = {
        {"h", "t", "R", '.', "h t " + rep('.', 112) + " R\n"},
        {"h", "t", nullptr, '_', "h t " + rep('_', 114) + "\n"},
        {nullptr, "", nullptr, '-', "  " + rep('-', 116) + "\n"},
        // 117 characters: the blank after them takes the last column.
        {"h", t115, "", '.', "h " + t115 + " \n"},
        // 118 and more: undecorated.
        {"h", t115 + "t", "", '.', "h " + t115 + "t\n"},
        {"h", t115 + "tt", "R", '.', "h " + t115 + "tt R\n"},
        // With `right`, 117 together: they share the blank between them; 118: undecorated.
        {"h", t98, r17.c_str(), '.', "h " + t98 + " " + r17 + "\n"},
        {"h", t98 + "t", r17.c_str(), '.', "h " + t98 + "t " + r17 + "\n"},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.expected);
        RecordingLogger lg;
        zul::writeEntryLog(lg, row.head, row.text.c_str(), row.right, row.fill);
        EXPECT_EQ(only(lg), row.expected);
        EXPECT_EQ(lg.flushes(), 0);
    }
}

}  // namespace
