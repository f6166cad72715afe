// The configuration file: every first-use scenario runs in a fresh process, so that the
// singleton's creation is what is tested; files are real, in a temporary folder.
#include <unistd.h>
#include <zul/cfg/config_file.h>
#include <zul/log/log_dumper.h>

#include <cstdlib>

#include "pml/pml_test_support.h"
#include "support/fresh_process.h"

using namespace zul_test;
using zul::ConfigFile;

namespace {

struct Scenario {
    const char* what;
    const char* text;        // content of the file; null: no file at all
    bool named;              // named by ECS_CLI_CFG_FILE, else "p2p_config.pml" in the cwd
    bool enabled;            // expected switch
    unsigned long codepage;  // expected number
    const char* logFile;     // expected log/filename as mps() shows it ("" when absent)
};

const Scenario kScenarios[] = {
    {"no file", nullptr, false, true, 936, ""},
    {"named file", "cfg(codepage(65001) log(filename(client.log)))", true, true, 65001,
     "client.log"},
    {"file in cwd", "cfg(log(filename(cwd.log)))", false, true, 936, "cwd.log"},
    {"switched off", "cfg(enable(false) codepage(1252) log(filename(x.log)))", true, false, 1252,
     ""},
    {"enable 0 / 1", "cfg(enable(1) log(filename(on.log)))", true, true, 936, "on.log"},
    {"no conversion", "cfg(enable(maybe) codepage(abc))", true, true, 936, ""},
    {"empty values", "cfg(enable() codepage())", true, true, 936, ""},
};

}  // namespace

TEST(ConfigFile, FirstUseScenarios) {
    for (const Scenario& sc : kScenarios) {
        SCOPED_TRACE(sc.what);
        inFreshProcess([&] {
            TempDir dir;
            ASSERT_EQ(chdir(dir.path("").c_str()), 0);
            const std::string file = sc.named ? dir.path("named.pml") : "p2p_config.pml";
            if (sc.text != nullptr) dir.write(sc.named ? "named.pml" : "p2p_config.pml", sc.text);
            if (sc.named)
                setenv("ECS_CLI_CFG_FILE", file.c_str(), 1);
            else
                unsetenv("ECS_CLI_CFG_FILE");
            ConfigFile* cfg = ConfigFile::instance();
            EXPECT_EQ(cfg->config(), file);
            EXPECT_EQ(cfg->enabled(), sc.enabled);
            EXPECT_EQ(ConfigFile::codepage(), sc.codepage);
            EXPECT_FALSE(cfg->empty());
            const Unit& log = cfg->mps()["log"];
            EXPECT_EQ(String(log["filename"].getStringValue()), sc.logFile);
            if (sc.enabled) {  // both keys are always there once loaded
                EXPECT_NE(cfg->mps().unit().at("enable"), nullptr);
                EXPECT_NE(cfg->mps().unit().at("codepage"), nullptr);
            } else {
                EXPECT_TRUE(cfg->mps().unit().empty());
            }
            // Nothing is ever written back to the file.
            if (sc.text != nullptr) {
                EXPECT_EQ(slurp(file), sc.text);
            }
            EXPECT_EQ(ConfigFile::instance(), cfg);
            ASSERT_EQ(chdir("/"), 0);
        });
    }
}

TEST(ConfigFile, MalformedFileLeavesNoInstanceAndRetries) {
    inFreshProcess([] {
        TempDir dir;
        const std::string file = dir.write("bad.pml", "cfg(codepage:int)1))");
        setenv("ECS_CLI_CFG_FILE", file.c_str(), 1);
        EXPECT_EQ(decodeError([] { ConfigFile::instance(); }),
                  "DecodeException: not found value begin tag, token");
        dir.write("bad.pml", "cfg(codepage(1250))");
        EXPECT_EQ(ConfigFile::codepage(), 1250u);
    });
}

TEST(ConfigFile, LoadDestroyAndDump) {
    inFreshProcess([] {
        TempDir dir;
        setenv("ECS_CLI_CFG_FILE", dir.path("missing.pml").c_str(), 1);
        ConfigFile& cfg = *ConfigFile::instance();
        cfg.load(istr(dir.write("a.pml", "a(codepage(1251))")));
        EXPECT_EQ(ConfigFile::codepage(), 1251u);
        // A later load keeps the code page when the new file has none, and switches on again.
        cfg.load(istr(dir.write("b.pml", "b(enable(false))")));
        EXPECT_FALSE(cfg.enabled());
        cfg.load(istr(dir.write("c.pml", "c(x(1))")));
        EXPECT_TRUE(cfg.enabled());
        EXPECT_EQ(ConfigFile::codepage(), 1251u);
        // A directory cannot be read as a file: an empty configuration.
        cfg.load(istr(dir.path("")));
        EXPECT_EQ(cfg.mps().toPml(), "(enable()codepage())");

        zul::dumper d(true);
        cfg.dump(d);
        EXPECT_EQ(std::string(d.str()),
                  "{true, \"" + dir.path("") + "\", {\"output\", {enable(), codepage()}}, 1251}");
        ConfigFile::destroy();
        EXPECT_EQ(ConfigFile::instance()->config(), dir.path("missing.pml"));
    });
}
