// `zul config show`: the configuration as the library sees it, with every logger setting
// after the "log" section is bound, defaults included.
#include <stdlib.h>
#include <zul/base/exception.h>
#include <zul/cfg/config_file.h>
#include <zul/log/log_logger_impl.h>
#include <zul/pml/pml_stream.h>

#include <string>
#include <vector>

#include "tool.h"

namespace zul {
namespace tool {
namespace {

const char* const CONFIG_HELP =
    "Usage: zul config show [FILE]\n"
    "\n"
    "Shows the configuration file as the library reads it: FILE, or the file named by\n"
    "ECS_CLI_CFG_FILE, or p2p_config.pml in the current folder; its \"enable\" and\n"
    "\"codepage\", and every logger setting once its \"log\" section is read (the built-in\n"
    "defaults where the file says nothing), in the logger's own order. A missing file is an\n"
    "empty configuration.\n"
    "\n"
    "Options:\n"
    "  -h, --help   show this help\n"
    "\n"
    "Exit status: 0 ok, 1 malformed file or failed output, 2 usage error.\n";

}  // namespace

int configCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul config";
    std::vector<std::string> operands;
    if (int done = operandsOnly(args, CONFIG_HELP, cmd, operands); done != GO_ON) return done;
    if (operands.empty() || operands[0] != "show") return usage("expected 'show'", cmd);
    if (operands.size() > 2) return usage("at most one FILE", cmd);

    std::string how = "named by ECS_CLI_CFG_FILE";
    if (operands.size() == 2) {
        setenv("ECS_CLI_CFG_FILE", operands[1].c_str(), 1);
        how = "given";
    } else if (const char* named = getenv("ECS_CLI_CFG_FILE"); named == nullptr || !*named) {
        how = "looked for in the current folder";
    }
    ConfigFile* cfg = nullptr;
    try {
        cfg = ConfigFile::instance();
    } catch (const Exception& e) {
        const char* name = getenv("ECS_CLI_CFG_FILE");
        error(std::string(name && *name ? name : "p2p_config.pml") + ": " + e.msg());
        return EXIT_BAD_INPUT;
    }
    // The logger's own reading of the section, on a logger that writes nowhere.
    loggerImpl settings;
    settings.reload();
    pml::stream out;
    out.unit().name("log");
    settings.codec(out);

    std::string text = "file      " + cfg->config() + " (" + how + ")\n";
    text += "enable    " + std::string(cfg->enabled() ? "1" : "0") + "\n";
    text += "codepage  " + std::to_string(ConfigFile::codepage()) + "\n";
    text += out.toPml(true);
    if (text.back() != '\n') text += '\n';
    std::string err;
    if (!writeOut(text, err)) {
        error(err);
        return EXIT_BAD_INPUT;
    }
    return EXIT_OK;
}

}  // namespace tool
}  // namespace zul
