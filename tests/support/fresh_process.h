// inFreshProcess: runs a piece of a test in a child process (a re-run of the test binary), so
// that the first use of a process-wide object is what the piece tests.
#pragma once

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace zul_test {

/// Runs `body` in a child and expects it to pass; the child's failures are shown by the parent.
template <class F>
void inFreshProcess(F&& body) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ::testing::TestPartResultArray failures;
            {
                ::testing::ScopedFakeTestPartResultReporter reporter(
                    ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD,
                    &failures);
                body();
            }
            for (int i = 0; i < failures.size(); ++i) {
                const ::testing::TestPartResult& r = failures.GetTestPartResult(i);
                std::fprintf(stderr, "%s:%d: %s\n", r.file_name(), r.line_number(), r.message());
            }
            std::exit(failures.size() == 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace zul_test
