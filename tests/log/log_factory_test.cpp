// The logger factory with the configuration file, each first use in a fresh process: settings
// from the "log" section, the road of one failure into the log file, and a malformed
// configuration met during the first lookups in either order.
#include <stdlib.h>
#include <zul/cfg/config_file.h>
#include <zul/log/log_factory.h>
#include <zul/log/log_logger_impl.h>

#include <sstream>
#include <string>
#include <vector>

#include "pml/pml_test_support.h"
#include "support/fresh_process.h"

using namespace zul_test;
using zul::loggerImpl;

namespace {

std::vector<std::string> lines(std::string const& text) {
    std::vector<std::string> out;
    std::istringstream is(text);
    for (std::string l; std::getline(is, l);) out.push_back(l);
    return out;
}

loggerImpl& zulLogger() {
    return static_cast<loggerImpl&>(zul::logger_factory::instance("ZUL"));
}

}  // namespace

TEST(LoggerFactory, SettingsFromTheConfigurationAndTheRoadOfOneFailure) {
    inFreshProcess([] {
        TempDir dir;
        std::string const log = dir.path("zul.log");
        setenv("ECS_CLI_CFG_FILE",
               dir.write("c.pml", "cfg(enable(true) log(filename(" + log +
                                      ") consoleOn(false) maxNumofMsg(200) infoOn(0)"
                                      " appLogs(net(1) ui(0))))")
                   .c_str(),
               1);
        zul::logger& lg = zul::logger_factory::instance("ZUL");
        EXPECT_EQ(lg.filename(), log);
        EXPECT_TRUE(lg.debugFilename().empty());  // reading does not derive the debug name
        EXPECT_TRUE(lg.logOn("net") && lg.logOff("ui") && !lg.consoleOn() && !lg.infoOn());
        EXPECT_EQ(&zul::logger_factory::instance("APP") == &lg, false);
        EXPECT_EQ(zul::logger_factory::instance("APP").filename(), log);  // one "log" section

        Unit u;
        unsigned int line = 0;
        try {
            zul::pml::ntvFromPml(u, istr("a(b:int)1))"));
        } catch (zul::pml::DecodeException const& e) {
            line = e.line();
        }
        std::vector<std::string> const got = lines(slurp(log));  // no flush thread: written
        ASSERT_EQ(got.size(), 9u);
        std::string const head = "[ZUL][THROWING] ";
        EXPECT_EQ(got[0], "");
        EXPECT_EQ(got[1].size(), 118u);
        EXPECT_EQ(got[1].substr(got[1].find("[ZUL]"), head.size() + 1), head + "-");
        EXPECT_EQ(got[1].find_first_not_of('-', got[1].find(head) + head.size()),
                  std::string::npos);
        EXPECT_EQ(got[2], std::string(110, ' ') + "THROWING");
        EXPECT_EQ(got[3], std::string(110, ' ') + "========");
        EXPECT_EQ(got[4], "     CAUSE: DecodeException: not found value begin tag, token");
        EXPECT_EQ(got[5],
                  "        AT: __doParser(zul/pml/pml_parser.h:" + std::to_string(line) + ")");
        EXPECT_EQ(got[6], "CALL STACK: ");
        EXPECT_EQ(got[7], std::string(118, '-'));
        EXPECT_EQ(got[8], "");
    });
}

TEST(LoggerFactory, MalformedConfigurationAtTheFirstLookup) {
    for (char const* first : {"ZUL", "APP"}) {
        SCOPED_TRACE(first);
        inFreshProcess([first] {
            TempDir dir;
            setenv("ECS_CLI_CFG_FILE", dir.write("bad.pml", "cfg(log:x)1))").c_str(), 1);
            zul::logger& lg = zul::logger_factory::instance(first);  // must not deadlock
            EXPECT_EQ(lg.id(), first);
            EXPECT_TRUE(lg.filename().empty() && lg.infoOn());  // the built-in defaults
            EXPECT_THROW(zul::ConfigFile::instance(), zul::pml::DecodeException);
            // The failure's record reached the library logger once the locks were released.
            zulLogger().filename(istr(dir.path("zul.log")));
            zulLogger().flush();
            std::string const text = slurp(dir.path("zul.log"));
            EXPECT_NE(text.find("[ZUL][THROWING]"), std::string::npos);
            EXPECT_NE(text.find("CAUSE: DecodeException: not found value begin tag, token"),
                      std::string::npos);
        });
    }
}

TEST(LoggerFactory, MalformedConfigurationReadFirstByTheApplication) {
    inFreshProcess([] {
        TempDir dir;
        setenv("ECS_CLI_CFG_FILE", dir.write("bad.pml", "cfg(log:x)1))").c_str(), 1);
        // Its record creates the "ZUL" logger, which reads the configuration again.
        EXPECT_THROW(zul::ConfigFile::instance(), zul::pml::DecodeException);
        EXPECT_GE(zulLogger().cachedRecords(), 1u);
        EXPECT_EQ(zulLogger().id(), "ZUL");
    });
}
