// Exceptions: reported names, messages and the raising convention.
#include <zul/base/exception.h>
#include <zul/base/raise.h>

#include <gtest/gtest.h>

#include <cstring>

TEST(Exception, NameFallsBackForNullOrEmpty) {
    zul::Exception a("f.cpp", 1, "fn", nullptr, "m");
    zul::Exception b("f.cpp", 1, "fn", "", "m");
    EXPECT_STREQ(a.name(), "zul::Exception");
    EXPECT_STREQ(b.name(), "zul::Exception");
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
        EXPECT_STREQ(e.what(), e.what());
        EXPECT_EQ(e.what(), e.what());  // cached: the same storage
    }
}
