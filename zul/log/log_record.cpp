// The record front end: framed failure blocks, information lines and trace lines, built in
// the caller's own buffers and handed whole to a logger.
#include <zul/log/log_logger.h>
#include <zul/log/log_tracer.h>
#include <zul/mt/thread.h>

#include <ostream>
#include <sstream>
#include <string>

namespace zul {
namespace {

// Width of every decorated line (rules, tag lines, trace lines), newline not counted.
constexpr size_t kLineWidth = 118;

// The label gutter: every label with its trailing blank is twelve columns wide, so every
// text starts in column 13, in line with the continuation lines of the call stack.
constexpr char kCauseLabel[] = "     CAUSE: ";
constexpr char kCaughtCause[] = "     CAUSE: catch a exception.";
constexpr char kConditionLabel[] = " CONDITION: ";
constexpr char kWillDoLabel[] = "\n   WILL DO: ";

constexpr char kThrowingTag[] = "THROWING";
constexpr char kExceptionTag[] = "EXCEPTION";
constexpr char kAssertTag[] = "ASSERT FAILURE";
constexpr char kEnsureTag[] = "ENSURE FAILURE";

bool present(istr s) {
    return s.size != 0;
}

// One decorated line of kLineWidth columns in a stack buffer. Texts at the left keep their
// beginning, texts at the right keep their end (117 characters at most, with one blank on
// the inner side); a right text written after a left one overwrites it where they meet.
class DecoratedLine {
  public:
    explicit DecoratedLine(char fill) : ref_(buffer_, kLineWidth) {
        ref_.fill(static_cast<unsigned char>(fill), kLineWidth);
    }
    DecoratedLine(DecoratedLine const&) = delete;
    DecoratedLine& operator=(DecoratedLine const&) = delete;

    DecoratedLine& left(istr s) {
        ref_.left(s);
        return *this;
    }
    DecoratedLine& right(istr s) {
        ref_.right(s);
        return *this;
    }
    DecoratedLine& right(char c, size_t count) {
        ref_.right(c, count);
        return *this;
    }
    /// Appends the line and its newline to `out`.
    void appendTo(std::string& out) const {
        out.append(buffer_, kLineWidth);
        out += '\n';
    }

  private:
    char buffer_[kLineWidth];
    StringRef ref_;
};

// The header text: the calling thread's date-time and identity from its registry record,
// "[id]", "[tag]" for a non-empty tag, and "{name}" for a registered SimpleThread. Appended
// to `head`.
void appendHeader(std::string& head, logger& lg, istr tag) {
    ThreadInfo& info = SimpleThread::current();
    head += info.sCurrDateTime_;
    head += info.sThreadId_;
    head += '[';
    head += lg.id();
    head += ']';
    if (present(tag)) {
        head += '[';
        head.append(tag.data, tag.size);
        head += ']';
    }
    if (info.thread_ != nullptr) {
        head += '{';
        head += info.thread_->name();
        head += '}';
    }
}

std::string headerText(logger& lg, istr tag) {
    std::string head;
    head.reserve(96);
    appendHeader(head, lg, tag);
    return head;
}

// A buffer per thread for the one-line records, which are the frequent ones: its storage is
// kept from record to record. A record written while one is being built on the same thread
// gets a buffer of its own.
class LineBuffer {
  public:
    LineBuffer() : own_(t_busy), text_(own_ ? local_ : t_text) {
        t_busy = true;
        text_.clear();
    }
    ~LineBuffer() {
        if (own_) return;
        if (text_.capacity() > kKeptBytes) std::string().swap(text_);  // an unusual record
        t_busy = false;
    }
    LineBuffer(LineBuffer const&) = delete;
    LineBuffer& operator=(LineBuffer const&) = delete;
    std::string& text() { return text_; }

  private:
    static constexpr size_t kKeptBytes = 4096;
    static thread_local std::string t_text;
    static thread_local bool t_busy;
    bool own_;
    std::string local_;
    std::string& text_;
};
thread_local std::string LineBuffer::t_text;
thread_local bool LineBuffer::t_busy = false;

// Appends the position "\n        AT: func(file:line)" and the calling thread's call stack
// after "\nCALL STACK: ", one frame per line below the first.
void appendPositionAndStack(std::ostream& os, char const* file, unsigned int line,
                            char const* func) {
    detail::writePositionAndStack(os, Current(file, line, func), detail::currentCallStack());
}

void writeText(std::ostream& os, char const* s) {
    if (s != nullptr) os << s;
}

// The framed block of a failure: header line, tag with its underline, the body and a closing
// rule. `tag` is one of the fixed tags or the caller's.
void writeFailure(logger& lg, char const* tag, std::string const& body) {
    writeLog(lg, "", tag, body.c_str(), "", "");
}

void writeConditionFailure(logger& lg, char const* tag, char const* cond, char const* file,
                           unsigned int line, char const* func, char const* willDo) {
    std::ostringstream body;
    body << kConditionLabel;
    writeText(body, cond);
    appendPositionAndStack(body, file, line, func);
    if (willDo != nullptr && *willDo != '\0') body << kWillDoLabel << willDo;
    writeFailure(lg, tag, body.str());
}

void writeCauseFailure(logger& lg, char const* tag, char const* file, unsigned int line,
                       char const* func, char const* msg) {
    std::ostringstream body;
    body << kCauseLabel;
    writeText(body, msg);
    appendPositionAndStack(body, file, line, func);
    writeFailure(lg, tag, body.str());
}

}  // namespace

void writeLog(logger& lg, char const* title, char const* tag, char const* body, char const* note,
              char const* trailer) {
    istr const tagText(tag);
    istr const noteText(note);
    std::string record;
    if (title != nullptr) {
        record += '\n';
        std::string const head = headerText(lg, tagText);
        DecoratedLine('-').left(istr(head)).right(istr(title)).appendTo(record);
    }
    if (present(tagText)) {
        DecoratedLine(' ').right(tagText).appendTo(record);
        DecoratedLine(' ').right('=', tagText.size).appendTo(record);
    }
    if (body != nullptr) record += body;
    record += '\n';
    if (present(noteText)) {
        DecoratedLine(' ').right('_', noteText.size).appendTo(record);
        DecoratedLine(' ').right(noteText).appendTo(record);
    }
    if (trailer != nullptr) DecoratedLine('-').right(istr(trailer)).appendTo(record);
    record += '\n';
    lg.writeAndPrint(istr(record));
    lg.flush();
}

void writeInfoLog(logger& lg, char const*, unsigned int, char const*, char const* msg,
                  char const* tag) {
    LineBuffer buffer;
    std::string& record = buffer.text();
    appendHeader(record, lg, istr(tag));
    record += ' ';
    if (msg != nullptr) record += msg;
    record += '\n';
    lg.writeAndPrint(istr(record));
    lg.flush();
}

void writeEntryLog(logger& lg, char const* head, char const* text, char const* right, char fill) {
    std::string s;
    if (head != nullptr) s += head;
    s += ' ';
    if (text != nullptr) s += text;
    istr const rightText(right);
    std::string record;
    if (s.size() + rightText.size < kLineWidth) {
        DecoratedLine(fill).left(istr(s)).right(rightText).appendTo(record);
    } else {
        // Too long for the line: written as it is, of any length.
        record = std::move(s);
        if (present(rightText)) {
            record += ' ';
            record.append(rightText.data, rightText.size);
        }
        record += '\n';
    }
    lg.writeAndPrint(istr(record));
}

void writeErrorLog(logger& lg, char const* file, unsigned int line, char const* func,
                   char const* msg, char const* tag) {
    writeCauseFailure(lg, tag, file, line, func, msg);
}

void writeExcptLog(logger& lg, char const* file, unsigned int line, char const* func,
                   char const* what) {
    std::ostringstream body;
    body << kCaughtCause;
    appendPositionAndStack(body, file, line, func);
    body << '\n';
    writeText(body, what);
    writeFailure(lg, kExceptionTag, body.str());
}

void assertFailure(logger& lg, char const* cond, char const* file, unsigned int line,
                   char const* func, char const* willDo) {
    writeConditionFailure(lg, kAssertTag, cond, file, line, func, willDo);
}

void ensureFailure(logger& lg, char const* cond, char const* file, unsigned int line,
                   char const* func, char const* willDo) {
    writeConditionFailure(lg, kEnsureTag, cond, file, line, func, willDo);
}

void exceptionThrown(logger& lg, char const* file, unsigned int line, char const* func,
                     char const* msg) {
    writeCauseFailure(lg, kThrowingTag, file, line, func, msg);
}

}  // namespace zul
