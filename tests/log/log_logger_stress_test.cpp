// The logger under load: many threads writing through a rotation, with and without the flush
// thread, and a process killed with its logger started.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zul/log/log_logger_impl.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "pml/pml_test_support.h"

extern char** environ;

using namespace zul_test;

namespace {

constexpr int kThreads = 4;
constexpr int kRecords = 20000;

std::string record(int thread, int seq) {
    char buf[96];
    std::snprintf(buf, sizeof buf, "T%d %06d %s\n", thread, seq, std::string(56, 'x').c_str());
    return buf;
}

}  // namespace

TEST(LoggerStress, ThreadsWriteWholeRecordsInOrderThroughARotation) {
    for (bool withThread : {true, false}) {
        SCOPED_TRACE(withThread ? "flush thread" : "every writer flushes");
        TempDir dir;
        std::string const file = dir.path("s.log");
        {
            zul::loggerImpl lg;
            lg.filename(istr(file));
            if (withThread) lg.start();
            std::vector<std::thread> writers;
            for (int t = 0; t < kThreads; ++t) {
                writers.emplace_back([&lg, t, withThread] {
                    for (int i = 0; i < kRecords; ++i) {
                        lg.write(istr(record(t, i)));
                        if (!withThread && i % 16 == 0) lg.flush();
                    }
                });
            }
            for (auto& w : writers) w.join();
            lg.close();
        }
        // The backup holds the older records: read it first.
        std::istringstream all(slurp(file + ".bak") + slurp(file));
        std::map<int, int> next;  // thread -> next sequence number expected
        size_t count = 0;
        for (std::string line; std::getline(all, line); ++count) {
            int t = -1, seq = -1;
            ASSERT_EQ(std::sscanf(line.c_str(), "T%d %d", &t, &seq), 2) << line;
            ASSERT_EQ(line + "\n", record(t, seq));  // whole
            // Each thread's records in order and each once; older ones may be gone with
            // the generation the rotation dropped.
            if (next.count(t) != 0) {
                ASSERT_EQ(seq, next[t]) << line;
            }
            next[t] = seq + 1;
        }
        ASSERT_EQ(next.size(), size_t(kThreads));
        for (auto const& [t, n] : next) EXPECT_EQ(n, kRecords) << t;
        EXPECT_GT(count, size_t(3145728 / record(0, 0).size()));  // a rotation happened
    }
}

// The child of the next test: writes numbered records with its logger started and publishes
// how many it wrote, until it is killed.
TEST(LoggerStress, KilledChildWriter) {
    char const* dir = getenv("ZUL_TEST_KILL_DIR");
    if (dir == nullptr) GTEST_SKIP() << "runs only as the child of KillLosesAtMostTheLastPeriod";
    int fd = open((std::string(dir) + "/count").c_str(), O_RDWR);
    ASSERT_GE(fd, 0);
    auto* written = static_cast<std::atomic<int>*>(
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    zul::loggerImpl lg;
    lg.filename(istr(std::string(dir) + "/k.log"));
    lg.start();
    for (int i = 0;; ++i) {
        lg.write(istr(record(0, i)));
        written->store(i + 1);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

TEST(LoggerStress, KillLosesAtMostTheLastPeriod) {
    TempDir dir;
    dir.write("count", std::string(sizeof(std::atomic<int>), '\0'));
    int fd = open(dir.path("count").c_str(), O_RDWR);
    auto* written = static_cast<std::atomic<int>*>(
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    std::string const env = "ZUL_TEST_KILL_DIR=" + dir.path("");
    std::vector<char*> envp{const_cast<char*>(env.c_str())};
    for (char** e = environ; *e != nullptr; ++e) envp.push_back(*e);
    envp.push_back(nullptr);
    char arg0[] = "/proc/self/exe";
    char filter[] = "--gtest_filter=LoggerStress.KilledChildWriter";
    char* argv[] = {arg0, filter, nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    ASSERT_EQ(posix_spawn(&child, arg0, &quiet, nullptr, argv, envp.data()), 0);
    posix_spawn_file_actions_destroy(&quiet);
    while (written->load() < 500) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    int const before = written->load();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));  // one flush period and slack
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    std::string const text = slurp(dir.path("k.log"));
    std::string want;
    for (int i = 0; i < before; ++i) want += record(0, i);
    EXPECT_EQ(text.compare(0, want.size(), want), 0) << before;
    munmap(written, sizeof(std::atomic<int>));
    close(fd);
}
