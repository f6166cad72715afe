// Entry point of the zul test program. Every test runs with the leak checker started and
// fails when it leaves records behind: an object made through the allocation helpers and
// never released.
#include <gtest/gtest.h>
#include <zul/base/mlcheck.h>
#include <zul/cfg/config_file.h>
#include <zul/log/console.h>
#include <zul/log/log_factory.h>
#include <zul/log/log_tracer.h>
#include <zul/mt/thread.h>
#include <zul/pml/ntv_unit.h>

#include <sstream>

namespace {

class LeakCheck : public testing::EmptyTestEventListener {
    // The process-wide objects live to the end by design: made before the first test, so
    // that the test that happens to use one first is not blamed for it.
    void OnTestProgramStart(testing::UnitTest const&) override {
        zul::ThreadFactory::instance();
        zul::SimpleThread::current();
        zul::tracer::instance();
        zul::pml::ntv::null_unit();
        zul::console::create();
        try {
            zul::ConfigFile::instance();
        } catch (...) {
        }
        zul::logger_factory::instance("ZUL");
    }
    void OnTestStart(testing::TestInfo const&) override {
        zul::MemLeakChecker::instance()->start();
    }
    void OnTestEnd(testing::TestInfo const&) override {
        zul::MemLeakChecker* checker = zul::MemLeakChecker::instance();
        if (checker->size() != 0) {
            std::ostringstream report;
            checker->dump(report);
            ADD_FAILURE() << "the test left records in the leak checker:\n" << report.str();
        }
        zul::MemLeakChecker::destroy();  // without a report
    }
};

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Appended last, so its end-of-test check runs before the result is printed.
    ::testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return RUN_ALL_TESTS();
}
