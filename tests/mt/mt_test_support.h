// Test support for the thread kit: a counter that threads can wait on, built on the standard
// library so that it does not depend on the code under test.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zul_test {

/// A count that threads raise and others wait to reach.
class Counter {
  public:
    void add(int n = 1) {
        std::lock_guard<std::mutex> lock(m_);
        value_ += n;
        cv_.notify_all();
    }
    int value() {
        std::lock_guard<std::mutex> lock(m_);
        return value_;
    }
    /// Waits until the count reaches `n`; false when `timeout` passes first.
    bool waitFor(int n, std::chrono::milliseconds timeout = std::chrono::seconds(30)) {
        std::unique_lock<std::mutex> lock(m_);
        return cv_.wait_for(lock, timeout, [&] { return value_ >= n; });
    }

  private:
    std::mutex m_;
    std::condition_variable cv_;
    int value_ = 0;
};

}  // namespace zul_test
