// The logger: switches and settings, the cache and its wake-ups, synchronous and background
// flushing, rotation at the size boundary, and the files it writes (real files and threads).
#include <stdlib.h>
#include <zul/log/console.h>
#include <zul/log/log_factory.h>
#include <zul/log/log_logger_impl.h>
#include <zul/pml/pml_stream.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "pml/pml_test_support.h"

using namespace zul_test;
using zul::loggerImpl;

namespace {

std::string record(int i) {
    return "record " + std::to_string(i) + "\n";
}

// Polls `f` until it holds or `seconds` pass.
template <class F>
bool eventually(F&& f, double seconds = 5) {
    auto const end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!f()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace

TEST(Logger, SwitchesNamesAndSettingsText) {
    loggerImpl lg;
    lg.filename("dir/x.log");
    EXPECT_EQ(lg.debugFilename(), "dir/x.debug.log");
    lg.filename("x.txt");
    EXPECT_EQ(lg.debugFilename(), "x.txt.debug");

    unsetenv("ZUL_TRACE_ON");
    lg.traceOn(true);
    EXPECT_FALSE(lg.traceOn());
    setenv("ZUL_TRACE_ON", "on", 1);
    lg.traceOn(true);
    EXPECT_TRUE(lg.traceOn());
    lg.debugOn(false);
    EXPECT_FALSE(lg.traceOn());
    lg.debugOn(true);
    unsetenv("ZUL_TRACE_ON");

    lg.msgLogOn(true);
    EXPECT_FALSE(lg.msgOn("a") || lg.msgOff("a"));  // neither the name nor "default"
    lg.msgOn("default", true);
    EXPECT_TRUE(lg.msgOn("a"));
    lg.msgOn("a", false);
    EXPECT_TRUE(lg.msgOff("a") && !lg.msgOn("a"));
    lg.logOn("net", true);
    EXPECT_TRUE(lg.logOn("net") && !lg.logOff("net") && !lg.logOn("ui") && !lg.logOff("ui"));
    lg.appLogOn(false);
    EXPECT_TRUE(!lg.logOn("net") && lg.logOff("ui"));

    zul::pml::stream out;
    lg.codec(out);
    EXPECT_EQ(out.toPml(false),
              "(infoOn(1)debugOn(1)traceOn(1)dataLogOn(0)debugLogOn(0)traceLogOn(0)diagLogOn(0)"
              "cmdLogOn(0)commLogOn(0)hbLogOn(0)appLogOn(0)appLogs(net(1))msgLogOn(1)"
              "msgLogs(a(0)default(1))useLogfile(1)filename(x.txt)useDebugLogfile(1)"
              "filenameDebug(x.txt.debug)maxNumofMsg(100)maxCacheSize(32768)consoleOn(0)"
              "mlcOn(0))");
    // Reading sets fields directly; absent keys stay; an empty file name is not taken.
    zul::pml::stream in(istr("log(maxNumofMsg(7)filename()appLogs(ui(1))traceOn(1))"));
    loggerImpl copy(lg);
    copy.appLogOn(true);
    copy.codec(in);
    EXPECT_TRUE(copy.logOn("ui") && !copy.logOff("net") && copy.traceOn());
    EXPECT_EQ(copy.filename(), "x.txt");
}

TEST(Logger, CacheFlushesOnlyWhenAskedWithoutAThread) {
    TempDir dir;
    loggerImpl lg;
    for (int i = 0; i < 150; ++i) lg.write(istr(record(i)));
    EXPECT_EQ(lg.cachedRecords(), 150u);  // no file name: everything stays cached
    lg.filename(istr(dir.path("a/x.log")));
    lg.flush();  // the folder is missing: the batch is lost quietly
    EXPECT_EQ(lg.cachedRecords(), 0u);
    ASSERT_EQ(system(("mkdir " + dir.path("a")).c_str()), 0);
    lg.write(istr(record(1)));
    EXPECT_EQ(slurp(dir.path("a/x.log")), "");
    lg.flush();
    EXPECT_EQ(slurp(dir.path("a/x.log")), record(1));
}

TEST(Logger, FlushThreadWakesOnCountSizeAndTick) {
    TempDir dir;
    loggerImpl lg;
    lg.filename(istr(dir.path("x.log")));
    lg.start();
    std::string want;
    for (int i = 0; i < 99; ++i) lg.write(istr(record(i))), want += record(i);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(lg.cachedRecords(), 99u);  // below both limits: waits for the tick
    lg.write(istr(record(99)));          // the 100th wakes the thread
    want += record(99);
    EXPECT_TRUE(eventually([&] { return slurp(dir.path("x.log")) == want; }, 0.5));

    lg.write(istr(std::string(32767, 'b') + "\n"));  // 32768 bytes wake it too
    EXPECT_TRUE(eventually([&] { return lg.cachedRecords() == 0; }, 0.5));
    lg.write(istr(record(0)));  // one small record goes with the one-second tick
    EXPECT_TRUE(eventually([&] { return lg.cachedRecords() == 0; }, 3));
    EXPECT_TRUE(lg.stop());
    EXPECT_FALSE(lg.flushing());
}

TEST(Logger, RotationAtTheBoundaryAndFailedRename) {
    TempDir dir;
    std::string const file = dir.path("r.log");
    std::string const hundred(99, 'r');
    struct Row {
        size_t before;
        bool rotates;
    } const rows[] = {{3145600, false}, {3145628, false}, {3145629, true}, {3145700, true}};
    for (Row const& row : rows) {
        dir.write("r.log", std::string(row.before, 'o'));
        std::remove((file + ".bak").c_str());
        std::list<String> batch{String(hundred + "\n")};
        loggerImpl::flushCache(batch, String(file));
        EXPECT_EQ(slurp(file).size(), row.rotates ? 100u : row.before + 100) << row.before;
        EXPECT_EQ(slurp(file + ".bak").size(), row.rotates ? row.before : 0u) << row.before;
    }
    // A backup name that cannot be replaced: the same file goes on growing.
    ASSERT_EQ(system(("rm -f " + file + ".bak && mkdir -p " + file + ".bak/keep").c_str()), 0);
    dir.write("r.log", std::string(3145700, 'o'));
    std::list<String> batch{String(hundred + "\n"), String(hundred + "\n")};
    testing::internal::CaptureStdout();
    loggerImpl::flushCache(batch, String(file));
    zul::console::flush();
    EXPECT_NE(testing::internal::GetCapturedStdout().find("rename log file to " + file +
                                                          ".bak failure: (21) Is a directory\n"),
              std::string::npos);
    EXPECT_EQ(slurp(file).size(), 3145900u);
}

TEST(LoggerFactory, OneLoggerPerExactIdentifier) {
    zul::logger& a = zul::logger_factory::instance("factory-test");
    EXPECT_EQ(&a, &zul::logger_factory::instance("factory-test"));
    EXPECT_NE(&a, &zul::logger_factory::instance("Factory-test"));
    EXPECT_EQ(a.id(), "factory-test");
    static_cast<loggerImpl&>(a).init("other");  // a second init changes nothing
    EXPECT_EQ(a.id(), "factory-test");
}

TEST(Logger, DumpAndTheDebugCache) {
    TempDir dir;
    loggerImpl lg;
    lg.id("X");
    lg.logOn("a", true);
    lg.write(istr("r\n"));
    lg.writeCacheDebug(istr("d\n"));
    zul::dumper d(true);
    lg.dump(d);
    EXPECT_EQ(std::string(d.str()),
              "{true, true, false, false, false, false, false, false, false, false, true, "
              "{a : true}, false, {}, true, , true, , 100, 32768, false, false, {\"r\n\"}, 2, "
              "{\"d\n\"}, 2, \"X\", false}");
    lg.filename(istr(dir.path("x.log")));
    lg.flush();  // the debug cache is dropped unwritten
    EXPECT_EQ(slurp(dir.path("x.log")) + slurp(dir.path("x.debug.log")), "r\n");
    lg.dump(d);
    EXPECT_NE(std::string(d.str()).find("{}, 0, {}, 0, \"X\""), std::string::npos);
}
