// The demo application: starts the way the application this library serves starts, runs a
// few worker threads that load and save their settings and write records (one of them meets
// malformed PML and XML), then shows the log it wrote and the leak report.
// Usage: zul_demo CONFIG_FILE WORK_FOLDER
#include <unistd.h>
#include <zul/zul.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const std::string LOGGER_ID = "ZUL";

void record(char const* func, std::string const& text) {
    zul::logger& lg = zul::logger_factory::instance(LOGGER_ID);
    if (lg.infoOn()) zul::writeInfoLog(lg, __FILE__, __LINE__, func, text.c_str(), "INFO");
}

// What a worker keeps in the configuration file, described once for loading and saving.
struct WorkerSettings {
    volatile unsigned long rounds = 1;
    volatile unsigned long step = 1;
    zul::String label;

    void codec(zul::pml::stream& s) {
        zul::pml::bind(s, "rounds", rounds);
        zul::pml::bind(s, "step", step);
        zul::pml::bind(s, "label", label);
    }
};

class Worker : public zul::SimpleThread {
  public:
    explicit Worker(char const* name) : zul::SimpleThread(nullptr, name) {}

  protected:
    bool onBirth() override {
        zul::TraceEntry frame(zul::logger_factory::instance(LOGGER_ID), __FILE__, __LINE__,
                              "onBirth", 3, name().c_str());
        zul::pml::ntv::Unit const& workers = zul::ConfigFile::instance()->mps()["workers"];
        zul::pml::stream in(workers[name()]);  // an input stream over a copy
        settings_.codec(in);
        record("onBirth", "loaded " + in.toPml(false));
        return true;
    }

    bool onLoop() override {
        if (round_ < settings_.rounds) {
            total_ += settings_.step;
            record("onLoop", settings_.label + " round " + std::to_string(++round_) + ", total " +
                                 std::to_string(total_));
            wait(zul::Time::milliSeconds(20));
            return true;
        }
        if (name() == "broken") meetBadInput();
        zul::pml::stream out;
        out.unit().name(name());
        settings_.codec(out);
        record("onLoop", "saved " + out.toPml(false));
        return false;  // the thread ends on its own
    }

  private:
    void meetBadInput() {
        zul::pml::ntv::Unit unit;
        try {
            zul::pml::ntvFromPml(unit, zul::istr("job(retries:int)3))"));
        } catch (zul::pml::DecodeException const& e) {
            record("meetBadInput", std::string("caught ") + e.msg());
        }
        zul::xml::XMLInStream bad(zul::istr("<job retries=3/>"));  // writes an error record
    }

    WorkerSettings settings_;
    unsigned long round_ = 0;
    unsigned long total_ = 0;
};

// The records of the log file, each starting at an empty line or a header.
std::string slurp(std::string const& path) {
    std::ifstream is(path);
    std::ostringstream os;
    os << is.rdbuf();
    return os.str();
}

std::string blockAfter(std::string const& text, std::string const& needle) {
    std::string::size_type at = text.find(needle);
    if (at == std::string::npos) return "(none)\n";
    at = text.rfind("\n\n", at);
    at = at == std::string::npos ? 0 : at + 1;
    std::string::size_type end = text.find("\n\n", at + 1);
    return text.substr(at, end == std::string::npos ? std::string::npos : end - at + 1);
}

std::string currentFolder() {
    char* p = getcwd(nullptr, 0);
    std::string const folder = p != nullptr ? p : ".";
    std::free(p);
    return folder;
}

// The leak report: the last information record of the checker, up to its closing brace.
std::string report(std::string const& text) {
    std::string::size_type const at = text.rfind("@zul::MemLeakChecker");
    if (at == std::string::npos) return "(none)\n";
    std::string::size_type const end = text.find("\n}\n", at);
    return text.substr(at, end == std::string::npos ? std::string::npos : end + 3 - at);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: zul_demo CONFIG_FILE WORK_FOLDER\n";
        return 2;
    }
    std::string const config = argv[1][0] == '/' ? argv[1] : currentFolder() + "/" + argv[1];
    if (chdir(argv[2]) != 0) {
        std::cerr << "zul_demo: cannot enter " << argv[2] << "\n";
        return 1;
    }
    std::remove("zul_demo.log");
    std::remove("zul_demo.log.bak");
    setenv("ECS_CLI_CFG_FILE", config.c_str(), 1);
    setenv("ZUL_TRACE_ON", "on", 1);

    // Start: the first lookup reads the "log" section of the configuration file.
    zul::logger& log = zul::logger_factory::instance(LOGGER_ID);
    log.start();
    zul::console::open();
    zul::MemLeakChecker::instance()->start();
    record("main", "demo started, code page " + std::to_string(zul::ConfigFile::codepage()));

    std::vector<zul::Handle<Worker>> workers;
    for (char const* name : {"counter", "echo", "broken"}) {
        workers.emplace_back(
            zul::allocate_push_maybe(zul::allocate_no_mlc<Worker>(__FILE__, __LINE__, "main", name),
                                     __FILE__, __LINE__, "main"));
        workers.back()->startAndWait(0);
    }
    for (auto& w : workers) w->join();
    workers.clear();

    record("main", "workers done");
    zul::MemLeakChecker::instance()->stop();  // the report is the last information record
    log.close();
    zul::console::close();

    std::string const text = slurp("zul_demo.log");
    std::cout << "The log file: " << currentFolder() << "/zul_demo.log\n\n"
              << "Its first failure record:\n"
              << blockAfter(text, "[THROWING]") << "\nIts first error record:\n"
              << blockAfter(text, "[<ERROR>]") << "\nThe leak report:\n"
              << report(text) << std::flush;
    return 0;
}
