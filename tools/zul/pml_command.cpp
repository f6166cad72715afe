// `zul pml`: reformat, check and query PML files with the library's reader and writers.
#include <zul/base/exception.h>
#include <zul/pml/pml.h>
#include <zul/pml/pml_parser.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <utility>
#include <vector>

#include "tool.h"

namespace zul {
namespace tool {
namespace {

using pml::ntv::Unit;

const char* const PML_HELP =
    "Usage: zul pml COMMAND [ARG...]\n"
    "\n"
    "Work with PML files.\n"
    "\n"
    "Commands:\n"
    "  format   rewrite PML in one of the four layouts\n"
    "  check    tell whether files are well-formed PML\n"
    "  get      print the node at a path\n"
    "\n"
    "Run 'zul pml COMMAND --help' for the options of a command.\n";

const char* const FORMAT_HELP =
    "Usage: zul pml format [--mode MODE] [--pattern PARTS] [--in-place] [FILE...]\n"
    "\n"
    "Reads the PML of each FILE (standard input when there is none, or for '-') and writes\n"
    "it again in the chosen layout to standard output, or back into the file.\n"
    "\n"
    "Options:\n"
    "  -m, --mode MODE       compact, simple, mixed or formatted (default: formatted)\n"
    "  -p, --pattern PARTS   comma-separated parts of each node to write: name, type,\n"
    "                        value, path (a comment with the node's path; formatted only),\n"
    "                        or none (default: name,type,value)\n"
    "  -i, --in-place        replace each FILE with its reformatted text; a file is\n"
    "                        replaced all at once, and left alone when it does not parse\n"
    "                        or when the new text would not read back as the same tree\n"
    "  -h, --help            show this help\n"
    "\n"
    "Comments are not kept. Exit status: 0 ok, 1 bad input, 2 usage error.\n";

const char* const CHECK_HELP =
    "Usage: zul pml check [FILE...]\n"
    "\n"
    "Reads each FILE (standard input for '-' or when there is none) as PML. Prints nothing\n"
    "for a good file and 'zul: FILE:LINE: reason' on standard error for a bad one. A text\n"
    "that ends while lists are still open (a file cut short) is bad: LINE is where the\n"
    "first of them was opened.\n"
    "\n"
    "Exit status: 0 when every file is well-formed, 1 otherwise, 2 usage error.\n";

const char* const GET_HELP =
    "Usage: zul pml get FILE PATH\n"
    "\n"
    "Prints the node of FILE ('-' for standard input) found at PATH: its text when it\n"
    "holds one, otherwise the subtree as formatted PML.\n"
    "\n"
    "PATH is a list of steps separated by '/', starting below the top node: a child's name,\n"
    "[N] for the unnamed child at index N, '..' for the parent. '/' alone is the top node.\n"
    "The paths written by 'zul pml format --pattern name,type,value,path' can be used as\n"
    "they are. Example: zul pml get config.pml server/listen/[0]\n"
    "\n"
    "Exit status: 0 found, 1 bad input, 2 no node at PATH or usage error.\n";

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

bool parseMode(const std::string& text, pml::ShowMode& mode) {
    static const struct {
        const char* name;
        pml::ShowMode mode;
    } MODES[] = {{"compact", pml::COMPACT},
                 {"simple", pml::SIMPLE},
                 {"mixed", pml::MIXED},
                 {"formatted", pml::FORMATTED}};
    for (const auto& m : MODES) {
        if (lower(text) == m.name) {
            mode = m.mode;
            return true;
        }
    }
    return false;
}

bool parsePattern(const std::string& text, pml::ShowPattern& pattern) {
    static const struct {
        const char* name;
        pml::ShowPattern bit;
    } PARTS[] = {{"name", pml::NAME},
                 {"type", pml::TYPE},
                 {"value", pml::VALUE},
                 {"path", pml::PATH},
                 {"none", pml::NONE}};
    pattern = pml::NONE;
    std::string::size_type start = 0;
    for (;;) {
        std::string::size_type comma = text.find(',', start);
        std::string part = lower(text.substr(start, comma - start));
        auto it = std::find_if(std::begin(PARTS), std::end(PARTS),
                               [&](const auto& p) { return part == p.name; });
        if (it == std::end(PARTS)) return false;
        pattern |= it->bit;
        if (comma == std::string::npos) return true;
        start = comma + 1;
    }
}

// The 1-based line of the character before `at` (the last one the reader consumed).
size_t lineAt(const char* begin, const char* at) {
    if (at > begin) --at;
    return 1 + static_cast<size_t>(std::count(begin, at, '\n'));
}

// Reads `text` (of the file shown as `name`) into `root`. The whole text must be one node:
// anything but blanks and comments after it would be lost by a rewrite, so it is an error here.
bool readText(const std::string& name, const std::string& text, Unit& root, std::string& err) {
    const char* const begin = text.c_str();
    const char* const end = begin + text.size();
    const char* p = begin;
    try {
        if (!pml::ntvFromPml(root, p)) {
            err = name + ": cannot read the PML text";
            return false;
        }
        // What follows is read as the content of a node: blanks and comments give an empty
        // text; any other text or node makes it non-empty.
        while (*p != '\0') {
            const char* before = p;
            Unit rest;
            pml::ntvFromValueString(rest, p);
            if (!rest.valueEmpty()) {
                // Point at the last text read, not at the blanks the reader went past.
                const char* last = p;
                while (last > before && std::isspace(static_cast<unsigned char>(last[-1]))) {
                    --last;
                }
                err = name + ":" + std::to_string(lineAt(begin, last)) +
                      ": text after the first node (a PML file holds one top node)";
                return false;
            }
            if (p == before) break;
        }
    } catch (const pml::DecodeException& e) {
        err = name + ":" + std::to_string(lineAt(begin, p)) + ": " + e.msg();
        return false;
    }
    if (p != end) {
        err = name + ":" + std::to_string(lineAt(begin, p + 1)) + ": NUL byte in the text";
        return false;
    }
    return true;
}

// Reads the file named `arg` into `text` and `root`.
bool readDocument(const std::string& arg, Unit& root, std::string& text, std::string& err) {
    std::string reason;
    if (!readAll(arg, text, reason)) {
        err = displayName(arg) + ": " + reason;
        return false;
    }
    return readText(displayName(arg), text, root, err);
}

// The line of the first "(" still open where `text` ends, or 0 when every one is closed.
// The reader takes a text cut short as if its lists were closed there; a check calls it
// truncated. Tokens come from the reader's own lexer, so quotes, escapes and comments count
// as they do when reading.
size_t firstUnclosedLine(const std::string& text) {
    const char* const begin = text.c_str();
    const char* p = begin;
    pml::pmlLexerLpctstr<char> source(p);
    pml::pmlLexer<pml::pmlLexerLpctstr<char>> lexer(source);
    std::vector<const char*> open;
    std::string token;
    pml::TokenFlag flag = pml::kNoTokenFlag;
    while (lexer.getToken(token, flag)) {
        if (flag == pml::TOKEN_LEFT_TAG) {
            open.push_back(p - 1);
        } else if (flag == pml::TOKEN_RIGHT_TAG && !open.empty()) {
            open.pop_back();
        }
    }
    // A "(" that is the very last character ends the input before it makes a token.
    if (open.empty() && p > begin && p[-1] == '(' && (p - 1 == begin || p[-2] != '^')) {
        open.push_back(p - 1);
    }
    return open.empty() ? 0 : lineAt(begin, open.front() + 1);
}

// The first node of `a`, in document order, that `b` does not match in name, type, text or
// children; null when the two trees are the same. Iterative: a tree may be as deep as the
// reader allows.
const Unit* firstDifference(const Unit& a, const Unit& b) {
    std::vector<std::pair<const Unit*, const Unit*>> todo{{&a, &b}};
    while (!todo.empty()) {
        const auto [x, y] = todo.back();
        todo.pop_back();
        const bool list = x->listValue() != nullptr;
        if (x->name() != y->name() || x->type() != y->type() ||
            list != (y->listValue() != nullptr) ||
            (!list && x->getStringValue() != y->getStringValue()) ||
            x->numofChildren() != y->numofChildren()) {
            return x;
        }
        for (size_t i = list ? x->numofChildren() : 0; i-- > 0;) {
            todo.emplace_back(x->childAt(i), y->childAt(i));
        }
    }
    return nullptr;
}

// The PML text of `root` in the given layout, with a final line break; empty for a file
// that holds no node at all.
String render(const Unit& root, pml::ShowMode mode, pml::ShowPattern pattern) {
    String out;
    if (root.empty()) return out;
    pml::ntvToPml(root, out, mode, pattern);
    out += "\n";
    return out;
}

int formatCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul pml format";
    pml::ShowMode mode = pml::FORMATTED;
    pml::ShowPattern pattern = pml::NAME | pml::TYPE | pml::VALUE;
    bool inPlace = false;
    std::vector<std::string> files;
    bool options = true;
    for (size_t i = 0; i < args.size(); ++i) {
        std::string a = args[i];
        if (!options || a == STDIN_ARG || a.empty() || a[0] != '-') {
            files.push_back(a);
            continue;
        }
        if (a == "--") {
            options = false;
            continue;
        }
        if (isHelp(a)) {
            return printHelp(FORMAT_HELP);
        }
        if (a == "-i" || a == "--in-place") {
            inPlace = true;
            continue;
        }
        // Options with a value: "--mode X", "--mode=X", "-m X".
        std::string value;
        std::string::size_type eq = a.find('=');
        std::string opt = a.substr(0, eq);
        bool isMode = opt == "--mode" || opt == "-m";
        bool isPattern = opt == "--pattern" || opt == "-p";
        if (!isMode && !isPattern) return usage("unknown option '" + a + "'", cmd);
        if (eq != std::string::npos) {
            value = a.substr(eq + 1);
        } else if (i + 1 < args.size()) {
            value = args[++i];
        } else {
            return usage("option '" + a + "' needs a value", cmd);
        }
        if (isMode && !parseMode(value, mode)) {
            return usage("unknown mode '" + value + "' (compact, simple, mixed, formatted)", cmd);
        }
        if (isPattern && !parsePattern(value, pattern)) {
            return usage("bad pattern '" + value + "' (name, type, value, path or none)", cmd);
        }
    }
    if (files.empty()) {
        if (inPlace) return usage("--in-place needs at least one FILE", cmd);
        files.push_back(STDIN_ARG);
    }
    if (inPlace && std::count(files.begin(), files.end(), STDIN_ARG) != 0) {
        return usage("--in-place cannot rewrite standard input", cmd);
    }

    int status = EXIT_OK;
    for (const std::string& f : files) {
        Unit root;
        std::string source, err;
        if (!readDocument(f, root, source, err)) {
            error(err);
            status = EXIT_BAD_INPUT;
            continue;
        }
        String text = render(root, mode, pattern);
        if (inPlace) {
            // Rewriting a file must not change what it says: names with syntax characters
            // are written as they are, and a pattern may leave parts out.
            Unit back;
            std::string ignored;
            const Unit* changed = nullptr;
            if (!readText(f, text, back, ignored) || (changed = firstDifference(root, back))) {
                error(f + ": left unchanged: the node at '" +
                      (changed ? changed->path() : String("/")) +
                      "' would not read back the same from the new text");
                status = EXIT_BAD_INPUT;
                continue;
            }
        }
        bool ok = inPlace ? replaceFile(f, text, err) : writeOut(text, err);
        if (!ok) {
            error(inPlace ? f + ": " + err : err);
            status = EXIT_BAD_INPUT;
            if (!inPlace) break;  // standard output is gone: the rest would fail too
        }
    }
    return status;
}

int checkCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul pml check";
    std::vector<std::string> files;
    if (int done = operandsOnly(args, CHECK_HELP, cmd, files); done != GO_ON) return done;
    if (files.empty()) files.push_back(STDIN_ARG);  // no FILE: standard input
    int status = EXIT_OK;
    for (const std::string& f : files) {
        Unit root;
        std::string text, err;
        if (!readDocument(f, root, text, err)) {
            error(err);
            status = EXIT_BAD_INPUT;
        } else if (size_t line = firstUnclosedLine(text); line != 0) {
            error(displayName(f) + ":" + std::to_string(line) +
                  ": the text ends inside the list opened here");
            status = EXIT_BAD_INPUT;
        }
    }
    return status;
}

int getCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul pml get";
    std::vector<std::string> operands;
    if (int done = operandsOnly(args, GET_HELP, cmd, operands); done != GO_ON) return done;
    if (operands.size() != 2) return usage("expected FILE and PATH", cmd);
    const std::string& file = operands[0];
    const std::string& path = operands[1];

    Unit root;
    std::string text, err;
    if (!readDocument(file, root, text, err)) {
        error(err);
        return EXIT_BAD_INPUT;
    }
    // Each step is one key of the tree's own lookup; const, so that nothing is created.
    const Unit* node = &root;
    std::string::size_type start = 0;
    while (start <= path.size()) {
        std::string::size_type slash = std::min(path.find('/', start), path.size());
        std::string step = path.substr(start, slash - start);
        start = slash + 1;
        if (step.empty()) continue;
        node = node->at(istr(step));
        if (node == nullptr) {
            error(displayName(file) + ": no node at '" + path + "' (step '" + step + "')");
            return EXIT_USAGE;
        }
    }
    String out;
    if (node->simple()) {
        istr text = node->getStringValue();
        out.append(text.data == nullptr ? "" : text.data, text.size);
        out += "\n";
    } else {
        out = render(*node, pml::FORMATTED, pml::NAME | pml::TYPE | pml::VALUE);
    }
    return emit(out);
}

}  // namespace

int pmlCommand(const std::vector<std::string>& args) {
    return dispatch(args, "zul pml", PML_HELP,
                    {{"format", formatCommand}, {"check", checkCommand}, {"get", getCommand}});
}

}  // namespace tool
}  // namespace zul
