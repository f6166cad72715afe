// The console: queued output written by flush() or by the "screen" thread, prompts, and
// lines read from a real pseudo terminal.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>
#include <zul/base/mlcheck.h>
#include <zul/log/console.h>

#include <chrono>
#include <string>
#include <thread>

#include "support/fresh_process.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

TEST(Console, OutputWaitsForAFlushUntilOpened) {
    zul::console::close();
    CaptureStdout();
    zul::console::print(zul::String("queued "));
    zul::console::println(std::wstring(L"\u00e9"));
    zul::console::println(zul::String());
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    zul::ConsoleImpl::instance()->prompt();  // no prompt stored yet: nothing
    std::string const before = GetCapturedStdout();
    CaptureStdout();
    zul::console::flush();
    EXPECT_EQ(before + "|" + GetCapturedStdout(), "|queued \xc3\xa9\n\n");

    CaptureStdout();
    zul::console::open();
    zul::console::print("by the screen thread\n", 21);
    std::this_thread::sleep_for(std::chrono::milliseconds(600));  // written within ~100 ms
    zul::console::close();
    EXPECT_EQ(GetCapturedStdout(), "by the screen thread\n");
}

TEST(Console, ReadlineFromAPseudoTerminal) {
    zul_test::inFreshProcess([] {
        int master = posix_openpt(O_RDWR | O_NOCTTY);
        ASSERT_GE(master, 0);
        ASSERT_EQ(grantpt(master) | unlockpt(master), 0);
        int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
        ASSERT_GE(slave, 0);
        ASSERT_EQ(dup2(slave, 0), 0);
        CaptureStdout();
        std::string const typed = "first\nsecond \xc3\xa9\n";  // two lines in one go
        ASSERT_EQ(::write(master, typed.data(), typed.size()), ssize_t(typed.size()));

        zul::String line;
        EXPECT_TRUE(zul::console::readline(line, "> "));
        EXPECT_EQ(line, "first");
        std::wstring wide = L"kept";
        EXPECT_TRUE(zul::console::readline(wide, L"> "));  // already buffered: no wait
        EXPECT_EQ(wide, L"second \u00e9");

        auto const start = std::chrono::steady_clock::now();
        EXPECT_FALSE(zul::console::readline(line, "? "));  // nothing typed
        auto const ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::steady_clock::now() - start)
                            .count();
        EXPECT_TRUE(ms >= 150 && ms < 2000) << ms;
        EXPECT_EQ(line, "");
        zul::console::print(zul::String("news\n"));  // below the prompt, which comes again
        zul::console::flush();
        EXPECT_FALSE(zul::console::readline(wide, L"? "));
        EXPECT_EQ(wide, L"second \u00e9");
        EXPECT_EQ(GetCapturedStdout(), "> > ? \nnews\n? ");
        close(slave);
        close(master);
    });
}

TEST(Console, CreatedWhileTheLeakCheckerEchoes) {
    zul_test::inFreshProcess([] {
        zul::console::destroy();
        zul::MemLeakChecker* checker = zul::MemLeakChecker::instance();
        checker->start();
        checker->dumpOn();
        CaptureStdout();
        // The console's creation is echoed on the console being created: written directly.
        zul::console::create();
        zul::console::print(zul::String("hello\n"));
        zul::console::flush();
        std::string const out = GetCapturedStdout();
        EXPECT_EQ(out.find("+++ "), 0u) << out;
        EXPECT_NE(out.find(" instance(zul/log/console.cpp:"), std::string::npos) << out;
        EXPECT_NE(out.find("hello\n"), std::string::npos) << out;
        checker->dumpOff();
        zul::MemLeakChecker::destroy();
    });
}
