// Exceptions: reported names, the report text and its cache, the raising convention and the
// classes beside the family.
#include <gtest/gtest.h>
#include <zul/base/exception.h>
#include <zul/base/raise.h>

#include <cstring>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

constexpr char kFile[] = "zul/pml/pml_parser.h";

std::string report(zul::Exception const& e) {
    std::ostringstream os;
    e.dump(os);
    return os.str();
}

// Counts dump() calls and can fail after writing part of the report.
class Probe : public zul::Exception {
  public:
    enum Mode { Whole, FailAfterPart, FailAtOnce };
    Probe(Mode mode, int& calls)
        : zul::Exception(kFile, 1, "probe", "Probe", "m"), mode_(mode), calls_(calls) {}
    std::ostream& dump(std::ostream& os) const override {
        ++calls_;
        if (mode_ == FailAtOnce) throw std::runtime_error("dump failed");
        os << "{part";
        if (mode_ == FailAfterPart) throw 42;
        return os << "}";
    }

  private:
    Mode mode_;
    int& calls_;
};

}  // namespace

TEST(Exception, NameFallsBackForNullOrEmpty) {
    zul::Exception a("f.cpp", 1, "fn", nullptr, "m");
    zul::Exception b("f.cpp", 1, "fn", "", nullptr);
    EXPECT_STREQ(a.name(), "zul::Exception");
    EXPECT_STREQ(b.name(), "zul::Exception");
    EXPECT_STREQ(b.msg(), "");
}

TEST(Exception, ReportOfTheDecodeExample) {
    zul::pml::DecodeException e(kFile, 115, "__doParser", "DecodeException: get pml name token");
    EXPECT_STREQ(e.what(),
                 "{\n"
                 " EXCEPTION: zul::pml::DecodeException DecodeException: get pml name token\n"
                 "        AT: __doParser(zul/pml/pml_parser.h:115)\n"
                 "CALL STACK: \n"
                 "}");
    EXPECT_EQ(report(e), e.what());
    EXPECT_STREQ(e.file(), kFile);
    EXPECT_EQ(e.line(), 115u);
    EXPECT_STREQ(e.func(), "__doParser");
    EXPECT_EQ(e.info().file(), kFile);
    EXPECT_EQ(e.info().line(), 115u);
    EXPECT_TRUE(e.stack().container().empty());
}

TEST(Exception, EmptyMessageLeavesTrailingBlankAndMissingPartsPrintNothing) {
    zul::ThreadLockedException e("zul/mt/thread.cpp", 9, "lock");
    EXPECT_STREQ(e.msg(), "");
    EXPECT_NE(std::string(e.what()).find("\n EXCEPTION: zul::ThreadLockedException \n"),
              std::string::npos);

    zul::Exception bare(nullptr, 0, nullptr, nullptr, nullptr);
    EXPECT_STREQ(bare.what(), "{\n EXCEPTION: zul::Exception \n        AT: \nCALL STACK: \n}");
}

TEST(Exception, WhatIsCachedAndNeverThrows) {
    int calls = 0;
    Probe whole(Probe::Whole, calls);
    char const* first = whole.what();
    EXPECT_STREQ(first, "{part}");
    EXPECT_EQ(whole.what(), first);  // the same storage
    EXPECT_EQ(calls, 1);

    calls = 0;
    Probe part(Probe::FailAfterPart, calls);
    EXPECT_STREQ(part.what(), "{part");
    EXPECT_STREQ(part.what(), "{part");
    EXPECT_EQ(calls, 1);

    // Nothing written: the cache stays empty, so the next call tries again.
    calls = 0;
    Probe none(Probe::FailAtOnce, calls);
    EXPECT_STREQ(none.what(), "");
    EXPECT_STREQ(none.what(), "");
    EXPECT_EQ(calls, 2);
}

TEST(ThreadSyscallException, ErrorTextFollowsTheBlockOnlyWhenSet) {
    zul::ThreadSyscallException none("zul/mt/thread.cpp", 20, "join", 0);
    std::string const expected0 =
        "{\n EXCEPTION: zul::ThreadSyscallException \n        AT: join(zul/mt/thread.cpp:20)"
        "\nCALL STACK: \n}";
    EXPECT_EQ(none.error(), 0);
    EXPECT_EQ(none.what(), expected0);

    zul::ThreadSyscallException busy("zul/mt/thread.cpp", 20, "join", 16);
    EXPECT_EQ(busy.error(), 16);
    EXPECT_EQ(busy.what(), expected0 + ":\nthread syscall exception: " + std::strerror(16));
}

// Every class: its reported name, its message and that it is caught through both bases.
TEST(Exception, EveryClassReportsItsNameAndIsCaughtThroughTheBases) {
    using Thrower = std::function<void()>;
    struct Row {
        char const* name;
        bool hasMsg;
        Thrower raise;
    } const rows[] = {
        {"zul::OutOfRangeException", true,
         [] { throw zul::OutOfRangeException(kFile, 1, "f", "m"); }},
        {"zul::EmptyDataException", true,
         [] { throw zul::EmptyDataException(kFile, 1, "f", "m"); }},
        {"zul::InvalidDataException", true,
         [] { throw zul::InvalidDataException(kFile, 1, "f", "m"); }},
        {"zul::UnsupportedFunctionException", true,
         [] { throw zul::UnsupportedFunctionException(kFile, 1, "f", "m"); }},
        {"zul::ToBeDoneException", true, [] { throw zul::ToBeDoneException(kFile, 1, "f", "m"); }},
        {"zul::NullPointerException", true,
         [] { throw zul::NullPointerException(kFile, 1, "f", "m"); }},
        {"zul::DuplicatedUnitException", true,
         [] { throw zul::DuplicatedUnitException(kFile, 1, "f", "m"); }},
        {"zul::pml::DecodeException", true,
         [] { throw zul::pml::DecodeException(kFile, 1, "f", "m"); }},
        {"zul::NullHandleException", false, [] { throw zul::NullHandleException(kFile, 1, "f"); }},
        {"zul::ThreadSyscallException", false,
         [] { throw zul::ThreadSyscallException(kFile, 1, "f", 0); }},
        {"zul::ThreadLockedException", false,
         [] { throw zul::ThreadLockedException(kFile, 1, "f"); }},
        {"zul::ThreadStartedException", false,
         [] { throw zul::ThreadStartedException(kFile, 1, "f"); }},
        {"zul::ThreadNotStartedException", false,
         [] { throw zul::ThreadNotStartedException(kFile, 1, "f"); }},
    };
    for (auto const& r : rows) {
        std::string const head = std::string("{\n EXCEPTION: ") + r.name + (r.hasMsg ? " m" : " ");
        try {
            r.raise();
            ADD_FAILURE() << r.name << ": nothing thrown";
        } catch (const zul::Exception& e) {
            EXPECT_STREQ(e.name(), r.name);
            EXPECT_STREQ(e.msg(), r.hasMsg ? "m" : "");
            EXPECT_EQ(std::string(e.what()).rfind(head + "\n        AT: f(", 0), 0u) << r.name;
        }
        try {
            r.raise();
        } catch (const std::exception& e) {
            EXPECT_EQ(std::string(e.what()).rfind(head, 0), 0u) << r.name;
        }
    }
}

TEST(Exception, RaiseBuildsTokenColonTextAndKeepsSite) {
    try {
        ZUL_RAISE_AT(zul::OutOfRangeException, 370, "zul::OutOfRangeException",
                     "zul::OutOfRangeException");
        FAIL() << "nothing thrown";
    } catch (const zul::Exception& e) {
        EXPECT_STREQ(e.name(), "zul::OutOfRangeException");
        EXPECT_STREQ(e.msg(), "zul::OutOfRangeException: zul::OutOfRangeException");
        EXPECT_EQ(e.line(), 370u);
        EXPECT_STREQ(e.file(), "tests/base/exception_test.cpp");
    }
}

TEST(NullHandleException, ThrowsUnlessTheAbortFlagIsSet) {
    ASSERT_FALSE(zul::nullHandleAbort);
    EXPECT_THROW(throw zul::NullHandleException(kFile, 1, "operator->"), zul::Exception);
    EXPECT_DEATH(
        {
            zul::nullHandleAbort = true;
            zul::NullHandleException e(kFile, 1, "operator->");
        },
        "");
    EXPECT_FALSE(zul::nullHandleAbort);
}

TEST(XMLRuntimeException, StreamsMessageFileAndLine) {
    zul::xml::XMLRuntimeException bare("m");
    zul::xml::XMLRuntimeException at("unexpected end", "zul/xml/XMLParser.cpp", 412);
    std::ostringstream a, b;
    a << bare;
    b << at;
    EXPECT_EQ(a.str(), "m @ :0");
    EXPECT_EQ(b.str(), "unexpected end @ zul/xml/XMLParser.cpp:412");
    try {
        throw at;
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), "XMLRuntimeException");
    }
}

TEST(SE_Exception, ReportText) {
    struct Row {
        unsigned int se;
        unsigned long ebp, eip;
        char const* expected;
    } const rows[] = {
        {5, 4096, 8192, "SE_Exception  0x00000005, ebp = 0x00001000, eip = 0x00002000"},
        {0, 4096, 8192, ""},
        {0xC0000005u, 0x123456789abUL, 0xffffffffffffffffUL,
         "SE_Exception  0xc0000005, ebp = 0x123456789ab, eip = 0xffffffffffffffff"},
        {1, 0, 0, "SE_Exception  0x00000001, ebp = 0x00000000, eip = 0x00000000"},
    };
    for (auto const& r : rows) {
        zul::SE_Exception e(r.se, r.ebp, r.eip);
        EXPECT_STREQ(e.what(), r.expected);
        EXPECT_EQ(e.getSeNumber(), r.se);
        EXPECT_EQ(e.getEbp(), r.ebp);
        EXPECT_EQ(e.getEip(), r.eip);
    }
    zul::SE_Exception::set_se_translator();  // installs nothing, must not fail
}
