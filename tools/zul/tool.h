// Shared pieces of the zul command-line tool: exit codes, error output, whole-file input,
// checked output, atomic file replacement, and the subcommand entry points.
#pragma once

#include <string>
#include <vector>

namespace zul {
namespace tool {

/// Conventional exit codes of every subcommand.
enum Exit : int {
    EXIT_OK = 0,
    EXIT_BAD_INPUT = 1,  ///< malformed or unreadable input, failed output
    EXIT_USAGE = 2,      ///< bad command line (also: `pml get` found no such node)
};

/// The name used for standard input in messages and on the command line.
extern const char* const STDIN_NAME;
extern const char* const STDIN_ARG;

/// Writes "zul: " + text + "\n" to standard error.
void error(const std::string& text);
/// Reports a usage error with a hint to the help of `command`; returns EXIT_USAGE.
int usage(const std::string& text, const std::string& command);

/// Reads the whole file (or standard input for "-") into `out`. On failure `err` holds the
/// reason (the system's message) and the result is false.
bool readAll(const std::string& name, std::string& out, std::string& err);

/// The name of `arg` in messages: STDIN_NAME for STDIN_ARG, else `arg` itself.
std::string displayName(const std::string& arg);

/// Writes bytes to standard output; false (with `err`) on a write error.
bool writeOut(const char* data, size_t size, std::string& err);
inline bool writeOut(const std::string& s, std::string& err) {
    return writeOut(s.data(), s.size(), err);
}

/// Replaces the file `path` with `content` all at once: the text goes to a new file in the
/// same folder, which takes the old file's permissions and is then renamed over it. A
/// symbolic link is followed, so the link stays and its target is replaced. On failure the
/// old file is untouched, the new one removed, and `err` holds the reason.
bool replaceFile(const std::string& path, const std::string& content, std::string& err);

// Subcommand entry points; `args` holds what follows the subcommand name. Each returns an
// exit code.
int pmlCommand(const std::vector<std::string>& args);
int xmlCommand(const std::vector<std::string>& args);
int base64Command(const std::vector<std::string>& args);
int desCommand(const std::vector<std::string>& args);
int configCommand(const std::vector<std::string>& args);

/// Result of operandsOnly when the command goes on.
constexpr int GO_ON = -1;
/// Reads the arguments of a command that takes no options: "--" ends the options, "-h" or
/// "--help" prints `help`, any other option is a usage error of `command`. Returns GO_ON with
/// the operands in `operands`, or the exit code to end with.
int operandsOnly(const std::vector<std::string>& args, const char* help, const std::string& command,
                 std::vector<std::string>& operands);

/// Writes `out` to standard output: EXIT_OK, or EXIT_BAD_INPUT with one error line.
int emit(const std::string& out);

/// One command of a group ("format" of "zul pml") and its entry point.
struct Subcommand {
    const char* name;
    int (*run)(const std::vector<std::string>& args);
};
/// Runs the command of `group` (e.g. "zul pml") named by args[0] with the arguments after
/// it; "-h" or "--help" prints `help`; a missing or unknown name is a usage error that lists
/// the names.
int dispatch(const std::vector<std::string>& args, const std::string& group, const char* help,
             std::vector<Subcommand> const& commands);

/// True for "-h" and "--help".
bool isHelp(const std::string& arg);
/// Writes a help text to standard output; EXIT_OK, or EXIT_BAD_INPUT when it cannot.
int printHelp(const char* text);

}  // namespace tool
}  // namespace zul
