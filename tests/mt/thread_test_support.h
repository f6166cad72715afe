// Test support for the thread classes: a SimpleThread whose hooks a test sets, an owner that
// counts exits, and the expected identity text built without the library.
#pragma once

#include <zul/mt/thread.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <string>

#include "mt/mt_test_support.h"

namespace zul_test {

/// A SimpleThread with settable hooks. Without `work` or `loop`, onWork() waits on the
/// monitor, so the thread idles until stopped; with `loop`, the default onWork() runs.
struct Probe : zul::SimpleThread {
    explicit Probe(char const* name = "probe", zul::ThreadOwner* owner = nullptr)
        : SimpleThread(owner, name) {}
    ~Probe() override {
        if (onDestroy) onDestroy();
        destroyed().add();
    }
    static Counter& destroyed() {  // destructor calls of every Probe
        static Counter c;
        return c;
    }
    bool onBirth() override { return ++births, birth ? birth() : true; }
    bool onWait() override { return wait_ ? wait_() : true; }
    void onWork() override {
        ++works;
        work ? work() : loop ? SimpleThread::onWork() : wait();
    }
    bool onLoop() override { return loop(); }
    void onDeath() override { ++deaths, death ? death() : void(); }
    void onStop() override { ++stops; }

    std::function<bool()> birth, wait_, loop;
    std::function<void()> work, death, onDestroy;
    std::atomic<int> births{0}, works{0}, deaths{0}, stops{0};
};
using ProbePtr = zul::Handle<Probe>;

struct CountingOwner : zul::ThreadOwner {
    explicit CountingOwner(char const* name = "boss") : ThreadOwner(name) {}
    void on_thread_exit(zul::SimpleThread*) override { exits.add(); }
    Counter exits;
};

/// The identity text of `tid` in this process: "pid.tid" in brackets, both numbers
/// right-aligned in four columns.
inline std::string identity(char open, zul::ThreadId tid, char close) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%c%4d.%4llu%c", open, static_cast<int>(getpid()),
                  static_cast<unsigned long long>(tid), close);
    return buf;
}

}  // namespace zul_test
