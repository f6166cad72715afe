// Exceptions: reported names, the report text and its cache, the raising convention and the
// classes beside the family.
#include <gtest/gtest.h>
#include <zul/base/exception.h>
#include <zul/base/raise.h>

#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

constexpr char kFile[] = "zul/pml/pml_parser.h";

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

template <class E>
void withText() {
    throw E(kFile, 1, "f", "m");
}
template <class E>
void bare() {
    throw E(kFile, 1, "f");
}
void syscallZero() {
    throw zul::ThreadSyscallException(kFile, 1, "f", 0);
}

}  // namespace

TEST(Exception, ReportOfTheDecodeExample) {
    zul::pml::DecodeException e(kFile, 115, "__doParser", "DecodeException: get pml name token");
    EXPECT_STREQ(e.what(),
                 "{\n"
                 " EXCEPTION: zul::pml::DecodeException DecodeException: get pml name token\n"
                 "        AT: __doParser(zul/pml/pml_parser.h:115)\n"
                 "CALL STACK: \n"
                 "}");
    std::ostringstream os;
    e.dump(os);
    EXPECT_EQ(os.str(), e.what());
    EXPECT_EQ(e.info().line(), 115u);
    EXPECT_TRUE(e.stack().container().empty());
}

TEST(Exception, NullOrEmptyPartsFallBackOrPrintNothing) {
    zul::Exception a("f.cpp", 1, "fn", nullptr, "m");
    zul::Exception b("f.cpp", 1, "fn", "", nullptr);
    EXPECT_STREQ(a.name(), "zul::Exception");
    EXPECT_STREQ(b.name(), "zul::Exception");
    EXPECT_STREQ(b.msg(), "");

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
    zul::ThreadSyscallException busy("zul/mt/thread.cpp", 20, "join", 16);
    std::string const block =
        "{\n EXCEPTION: zul::ThreadSyscallException \n        AT: join(zul/mt/thread.cpp:20)"
        "\nCALL STACK: \n}";
    EXPECT_EQ(none.what(), block);
    EXPECT_EQ(busy.error(), 16);
    EXPECT_EQ(busy.what(), block + ":\nthread syscall exception: " + std::strerror(16));
}

// Every class: its reported name and message, caught through the family's root.

TEST(Exception, EveryClassReportsItsNameAndIsCaughtThroughTheBases) {
    struct Row {
        char const* name;
        bool hasText;
        void (*raise)();
    } const rows[] = {
        // clang-format off
        {"zul::OutOfRangeException", true, withText<zul::OutOfRangeException>},
        {"zul::EmptyDataException", true, withText<zul::EmptyDataException>},
        {"zul::InvalidDataException", true, withText<zul::InvalidDataException>},
        {"zul::UnsupportedFunctionException", true, withText<zul::UnsupportedFunctionException>},
        {"zul::ToBeDoneException", true, withText<zul::ToBeDoneException>},
        {"zul::NullPointerException", true, withText<zul::NullPointerException>},
        {"zul::DuplicatedUnitException", true, withText<zul::DuplicatedUnitException>},
        {"zul::pml::DecodeException", true, withText<zul::pml::DecodeException>},
        {"zul::NullHandleException", false, bare<zul::NullHandleException>},
        {"zul::ThreadSyscallException", false, syscallZero},
        {"zul::ThreadLockedException", false, bare<zul::ThreadLockedException>},
        {"zul::ThreadStartedException", false, bare<zul::ThreadStartedException>},
        {"zul::ThreadNotStartedException", false, bare<zul::ThreadNotStartedException>},
        // clang-format on
    };
    for (auto const& r : rows) {
        std::string const head = std::string("{\n EXCEPTION: ") + r.name + (r.hasText ? " m" : " ");
        try {
            r.raise();
            ADD_FAILURE() << r.name << ": nothing thrown";
        } catch (const zul::Exception& e) {
            EXPECT_STREQ(e.name(), r.name);
            EXPECT_STREQ(e.msg(), r.hasText ? "m" : "");
            EXPECT_EQ(std::string(e.what()).rfind(head + "\n        AT: f(", 0), 0u) << r.name;
        }
    }
}

TEST(Exception, RaiseBuildsTokenColonTextAndKeepsSite) {
    try {
        constexpr zul::detail::RecordPosition at{"zul/util/util_func.cpp", 370, "CharAt"};
        ZUL_RAISE_AT(zul::OutOfRangeException, at, "zul::OutOfRangeException",
                     "zul::OutOfRangeException");
        FAIL() << "nothing thrown";
    } catch (const zul::Exception& e) {
        EXPECT_STREQ(e.name(), "zul::OutOfRangeException");
        EXPECT_STREQ(e.msg(), "zul::OutOfRangeException: zul::OutOfRangeException");
        EXPECT_EQ(e.line(), 370u);
        EXPECT_STREQ(e.file(), "zul/util/util_func.cpp");
        EXPECT_STREQ(e.func(), "CharAt");
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
    std::ostringstream a, b;
    a << zul::xml::XMLRuntimeException("m");
    b << zul::xml::XMLRuntimeException("unexpected end", "zul/xml/XMLParser.cpp", 412);
    EXPECT_EQ(a.str(), "m @ :0");
    EXPECT_EQ(b.str(), "unexpected end @ zul/xml/XMLParser.cpp:412");
    try {
        throw zul::xml::XMLRuntimeException("m");
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

    };
    for (auto const& r : rows)
        EXPECT_STREQ(zul::SE_Exception(r.se, r.ebp, r.eip).what(), r.expected);
    zul::SE_Exception::set_se_translator();  // installs nothing, must not fail
}
