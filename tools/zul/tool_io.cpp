// Input, output and error reporting of the zul tool: whole-file reads, checked writes to
// standard output and the all-or-nothing replacement of a file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zul/platform/file_io.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tool.h"

namespace zul {
namespace tool {

const char* const STDIN_NAME = "<stdin>";
const char* const STDIN_ARG = "-";

void error(const std::string& text) {
    std::string line = "zul: " + text + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

int usage(const std::string& text, const std::string& command) {
    error(text + " (try '" + command + " --help')");
    return EXIT_USAGE;
}

bool isHelp(const std::string& arg) {
    return arg == "-h" || arg == "--help";
}

int operandsOnly(const std::vector<std::string>& args, const char* help, const std::string& command,
                 std::vector<std::string>& operands) {
    bool options = true;
    for (const std::string& a : args) {
        if (options && a == "--") {
            options = false;
        } else if (options && isHelp(a)) {
            return printHelp(help);
        } else if (options && a.size() > 1 && a[0] == '-') {
            return usage("unknown option '" + a + "'", command);
        } else {
            operands.push_back(a);
        }
    }
    return GO_ON;
}

namespace {

std::string systemError() {
    return std::strerror(errno);
}

// Reads everything from `fd` into `out`; false with errno set on a read error.
bool readFd(int fd, std::string& out) {
    char buf[65536];
    for (;;) {
        ssize_t n = ::read(fd, buf, sizeof buf);
        if (n > 0) {
            out.append(buf, static_cast<size_t>(n));
        } else if (n == 0) {
            return true;
        } else if (errno != EINTR) {
            return false;
        }
    }
}

}  // namespace

bool readAll(const std::string& name, std::string& out, std::string& err) {
    out.clear();
    if (name == STDIN_ARG) {
        if (!readFd(STDIN_FILENO, out)) {
            err = systemError();
            return false;
        }
        return true;
    }
    int fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        err = systemError();
        return false;
    }
    bool ok = readFd(fd, out);
    if (!ok) err = systemError();  // a folder fails here with "Is a directory"
    ::close(fd);
    return ok;
}

int printHelp(const char* text) {
    std::string err;
    if (writeOut(text, std::strlen(text), err)) return EXIT_OK;
    error(err);
    return EXIT_BAD_INPUT;
}

std::string displayName(const std::string& arg) {
    return arg == STDIN_ARG ? std::string(STDIN_NAME) : arg;
}

int emit(const std::string& out) {
    std::string err;
    if (writeOut(out, err)) return EXIT_OK;
    error(err);
    return EXIT_BAD_INPUT;
}

int dispatch(const std::vector<std::string>& args, const std::string& group, const char* help,
             std::vector<Subcommand> const& commands) {
    std::string names;
    for (size_t i = 0; i < commands.size(); ++i) {
        names += i == 0 ? "" : i + 1 == commands.size() ? " or " : ", ";
        names += commands[i].name;
    }
    if (args.empty()) return usage("missing command (" + names + ")", group);
    const std::string& sub = args[0];
    if (isHelp(sub)) return printHelp(help);
    for (const Subcommand& c : commands) {
        if (sub == c.name) return c.run(std::vector<std::string>(args.begin() + 1, args.end()));
    }
    return usage("unknown command '" + group.substr(group.find(' ') + 1) + " " + sub + "'", group);
}

bool writeOut(const char* data, size_t size, std::string& err) {
    if (!platform::writeAll(STDOUT_FILENO, data, size)) {
        err = "cannot write to standard output: " + systemError();
        return false;
    }
    return true;
}

bool replaceFile(const std::string& path, const std::string& content, std::string& err) {
    // Work on the file a symbolic link points to, so the link itself survives.
    std::string target = path;
    if (char* real = ::realpath(path.c_str(), nullptr)) {
        target = real;
        std::free(real);
    }
    struct stat st;
    if (::stat(target.c_str(), &st) != 0) {
        err = systemError();
        return false;
    }
    if (!platform::replaceFileAtomically(target, content.data(), content.size(),
                                         static_cast<unsigned>(st.st_mode & 07777))) {
        err = "cannot replace the file: " + systemError();
        return false;
    }
    return true;
}

}  // namespace tool
}  // namespace zul
