// The zul command-line tool: PML and XML formatting, checking and queries, Base64 and DES, all
// done by the library's own entry points. This file dispatches to the subcommands.
#include <zul/base/exception.h>
#include <zul/base/log_seam.h>
#include <zul/log/log_logger.h>

#include <exception>
#include <new>
#include <string>
#include <vector>

#include "tool.h"

#ifndef ZUL_VERSION
#error "ZUL_VERSION must be defined by the build"
#endif

namespace {

const char* const MAIN_HELP =
    "Usage: zul COMMAND [ARG...]\n"
    "       zul --help | --version\n"
    "\n"
    "Commands:\n"
    "  pml format   rewrite PML in the compact, simple, mixed or formatted layout\n"
    "  pml check    tell whether files are well-formed PML\n"
    "  pml get      print the text or subtree at a path\n"
    "  xml format   rewrite XML indented or compact\n"
    "  xml check    tell whether files can be read as XML\n"
    "  xml get      print the text or subtree of an element\n"
    "  base64       encode or decode Base64\n"
    "  des          encrypt or decrypt with single DES (existing data only)\n"
    "  config show  the configuration file as the library reads it\n"
    "\n"
    "Run 'zul COMMAND --help' for the options of a command.\n"
    "Exit status: 0 ok, 1 bad input, 2 usage error.\n";

int run(const std::vector<std::string>& args) {
    using namespace zul::tool;
    if (args.empty()) return usage("missing command", "zul");
    const std::string& first = args[0];
    std::vector<std::string> rest(args.begin() + 1, args.end());
    if (isHelp(first)) return printHelp(MAIN_HELP);
    if (first == "--version" || first == "-V") return printHelp("zul " ZUL_VERSION "\n");
    if (first == "pml") return pmlCommand(rest);
    if (first == "xml") return xmlCommand(rest);
    if (first == "base64") return base64Command(rest);
    if (first == "des") return desCommand(rest);
    if (first == "config") return configCommand(rest);
    if (!first.empty() && first[0] == '-') return usage("unknown option '" + first + "'", "zul");
    return usage("unknown command '" + first + "'", "zul");
}

}  // namespace

int main(int argc, char** argv) {
    // The tool reports each failure as one line of its own and writes no log: the library's
    // records go to a logger that drops them, whatever configuration file lies around.
    static zul::detail::SilentLogger quiet;
    zul::detail::setLibraryLogger(&quiet);
    // Failures the commands do not expect still end with one line and a clean exit code.
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const zul::Exception& e) {
        zul::tool::error(e.msg());
    } catch (const std::bad_alloc&) {
        zul::tool::error("out of memory");
    } catch (const std::exception& e) {
        zul::tool::error(e.what());
    }
    return zul::tool::EXIT_BAD_INPUT;
}
