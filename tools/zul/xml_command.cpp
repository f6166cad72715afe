// `zul xml`: reformat, check and query XML files with the library's parser and its escaping
// writer, so that what the tool writes reads back to the same tree.
#include <zul/xml/XMLParser.h>
#include <zul/xml/XMLWriter.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tool.h"

namespace zul {
namespace tool {
namespace {

using xml::XMLNode;

const char* const XML_HELP =
    "Usage: zul xml COMMAND [ARG...]\n"
    "\n"
    "Work with XML files.\n"
    "\n"
    "Commands:\n"
    "  format   rewrite XML indented, or compact\n"
    "  check    tell whether files can be read\n"
    "  get      print the text or subtree of an element\n"
    "\n"
    "Run 'zul xml COMMAND --help' for the options of a command.\n";

const char* const FORMAT_HELP =
    "Usage: zul xml format [--compact] [--in-place] [FILE...]\n"
    "\n"
    "Reads the XML of each FILE (standard input when there is none, or for '-') and writes\n"
    "its root element again, one element a line and indented by four blanks, to standard\n"
    "output or back into the file. Text is escaped so that the output reads back the same.\n"
    "\n"
    "Options:\n"
    "  -c, --compact     no line breaks or indentation\n"
    "  -i, --in-place    replace each FILE with its reformatted text; a file is replaced\n"
    "                    all at once, and left alone when it cannot be read or when the\n"
    "                    new text would not read back as the same tree\n"
    "  -h, --help        show this help\n"
    "\n"
    "Declarations, comments and anything after the root element are not kept.\n"
    "Exit status: 0 ok, 1 bad input, 2 usage error.\n";

const char* const CHECK_HELP =
    "Usage: zul xml check [FILE...]\n"
    "\n"
    "Reads each FILE (standard input for '-' or when there is none) as XML. Prints nothing\n"
    "for a good file and 'zul: FILE:LINE: reason' on standard error for a bad one: syntax the\n"
    "reader cannot read, a file without any element, or one that ends while elements are\n"
    "still open. The reader is forgiving: end tags are not matched by name.\n"
    "\n"
    "Exit status: 0 when every file can be read, 1 otherwise, 2 usage error.\n";

const char* const GET_HELP =
    "Usage: zul xml get FILE PATH\n"
    "\n"
    "Prints the element of FILE ('-' for standard input) found at PATH: its text when it has\n"
    "neither children nor attributes, otherwise the subtree as indented XML. A last step\n"
    "'@NAME' prints the value of an attribute instead.\n"
    "\n"
    "PATH is a list of steps separated by '/', starting below the root element: a child's\n"
    "name (the last child of that name) or [N] for child N counting from 0. '/' alone is the\n"
    "root. Example: zul xml get config.xml server/listen/[1]\n"
    "\n"
    "Exit status: 0 found, 1 bad input, 2 no element at PATH or usage error.\n";

// Keeps the start offsets of the elements open while a parser reads: the parser closes
// whatever element is current at an end tag, so only the count of ends matters.
class OpenElements : public xml::XMLParserCallback {
  public:
    void onNodeStart(xml::XMLParser& parser, XMLNode*) override {
        open_.push_back(parser.offset());
    }
    void onNodeEnd(xml::XMLParser&, XMLNode* node) override {
        if (node != nullptr && !open_.empty()) open_.pop_back();
    }
    void onText(xml::XMLParser&, XMLNode*) override {}
    void onAttribute(xml::XMLParser&, const xml::XMLAttr&) override {}
    /// Where the first element still open began, or npos when every one is closed.
    size_t firstOpen() const { return open_.empty() ? std::string::npos : open_.front(); }

  private:
    std::vector<size_t> open_;
};

size_t lineAt(const std::string& text, size_t offset) {
    const size_t at = std::min(offset, text.size());
    return 1 + static_cast<size_t>(std::count(text.begin(), text.begin() + at, '\n'));
}

// Reads `text` (of the file shown as `name`) and returns its root element, or null with
// `err` set. With `unclosed`, it also tells where the first element left open began (npos
// when none is): the parser takes a text cut short as if its elements were closed there.
std::unique_ptr<XMLNode> readText(const std::string& name, const std::string& text,
                                  std::string& err, size_t* unclosed = nullptr) {
    xml::XMLParser parser;
    OpenElements open;
    if (unclosed != nullptr) parser.setCallback(&open);
    try {
        parser.parse(istr(text));
    } catch (const xml::XMLRuntimeException& e) {
        err = name + ":" + std::to_string(lineAt(text, parser.offset())) + ": " + e.msg();
        return nullptr;
    }
    std::unique_ptr<XMLNode> root(parser.release());
    if (!root) err = name + ": no element";
    if (unclosed != nullptr) *unclosed = open.firstOpen();
    return root;
}

// Reads the file named `arg` into `text` and returns its root element, or null with `err`.
std::unique_ptr<XMLNode> readDocument(const std::string& arg, std::string& text, std::string& err,
                                      size_t* unclosed = nullptr) {
    std::string reason;
    if (!readAll(arg, text, reason)) {
        err = displayName(arg) + ": " + reason;
        return nullptr;
    }
    return readText(displayName(arg), text, err, unclosed);
}

// Whether two trees hold the same names, text, attributes (in order) and children.
// Iterative: the parser limits no depth.
bool sameTree(const XMLNode& a, const XMLNode& b) {
    std::vector<std::pair<const XMLNode*, const XMLNode*>> todo{{&a, &b}};
    while (!todo.empty()) {
        const auto [x, y] = todo.back();
        todo.pop_back();
        if (x->name() != y->name() || x->cdata() != y->cdata() ||
            x->numofAttrs() != y->numofAttrs() || x->numofChildren() != y->numofChildren()) {
            return false;
        }
        for (size_t i = 0; i < x->numofAttrs(); ++i) {
            if (x->attr(i).name() != y->attr(i).name() ||
                x->attr(i).value() != y->attr(i).value()) {
                return false;
            }
        }
        for (size_t i = 0; i < x->numofChildren(); ++i)
            todo.emplace_back(&x->child(i), &y->child(i));
    }
    return true;
}

String render(const XMLNode& n, bool compact) {
    String out;
    xml::writeXml(n, out, !compact);
    out += "\n";
    return out;
}

int formatCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul xml format";
    bool compact = false, inPlace = false, options = true;
    std::vector<std::string> files;
    for (const std::string& a : args) {
        if (!options || a == STDIN_ARG || a.empty() || a[0] != '-') {
            files.push_back(a);
        } else if (a == "--") {
            options = false;
        } else if (isHelp(a)) {
            return printHelp(FORMAT_HELP);
        } else if (a == "-c" || a == "--compact") {
            compact = true;
        } else if (a == "-i" || a == "--in-place") {
            inPlace = true;
        } else {
            return usage("unknown option '" + a + "'", cmd);
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
        std::string source, err;
        std::unique_ptr<XMLNode> root = readDocument(f, source, err);
        if (!root) {
            error(err);
            status = EXIT_BAD_INPUT;
            continue;
        }
        const String text = render(*root, compact);
        if (inPlace) {
            // Rewriting a file must not change what it says.
            std::string ignored;
            std::unique_ptr<XMLNode> back = readText(f, text, ignored);
            if (!back || !sameTree(*root, *back)) {
                error(f +
                      ": left unchanged: the tree would not read back the same from the new "
                      "text");
                status = EXIT_BAD_INPUT;
                continue;
            }
        }
        if (!(inPlace ? replaceFile(f, text, err) : writeOut(text, err))) {
            error(inPlace ? f + ": " + err : err);
            status = EXIT_BAD_INPUT;
            if (!inPlace) break;  // standard output is gone: the rest would fail too
        }
    }
    return status;
}

int checkCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul xml check";
    std::vector<std::string> files;
    if (int done = operandsOnly(args, CHECK_HELP, cmd, files); done != GO_ON) return done;
    if (files.empty()) files.push_back(STDIN_ARG);  // no FILE: standard input
    int status = EXIT_OK;
    for (const std::string& f : files) {
        std::string text, err;
        size_t unclosed = std::string::npos;
        if (!readDocument(f, text, err, &unclosed)) {
            error(err);
            status = EXIT_BAD_INPUT;
        } else if (unclosed != std::string::npos) {
            error(displayName(f) + ":" + std::to_string(lineAt(text, unclosed)) +
                  ": the text ends inside the element opened here");
            status = EXIT_BAD_INPUT;
        }
    }
    return status;
}

int getCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul xml get";
    std::vector<std::string> operands;
    if (int done = operandsOnly(args, GET_HELP, cmd, operands); done != GO_ON) return done;
    if (operands.size() != 2) return usage("expected FILE and PATH", cmd);
    const std::string &file = operands[0], &path = operands[1];
    std::string text, err;
    std::unique_ptr<XMLNode> root = readDocument(file, text, err);
    if (!root) {
        error(err);
        return EXIT_BAD_INPUT;
    }
    auto notFound = [&](const std::string& step) {
        error(displayName(file) + ": no element at '" + path + "' (step '" + step + "')");
        return EXIT_USAGE;
    };
    const XMLNode* node = root.get();
    String out;
    for (size_t start = 0; start <= path.size();) {
        const size_t slash = std::min(path.find('/', start), path.size());
        const std::string step = path.substr(start, slash - start);
        start = slash + 1;
        if (step.empty()) continue;
        if (step[0] == '@') {
            const xml::XMLAttr& a = node->attr(istr(step.substr(1)));
            if (a.isNull() || start <= path.size()) return notFound(step);
            out = a.value() + "\n";
            break;
        }
        const XMLNode* next = &node->child(istr(step));
        if (next->isNull() && step.size() > 2 && step.front() == '[' && step.back() == ']' &&
            step.find_first_not_of("0123456789", 1) == step.size() - 1) {
            next = &node->child(static_cast<size_t>(std::stoull(step.substr(1))));
        }
        if (next->isNull()) return notFound(step);
        node = next;
    }
    if (out.empty()) {
        out = node->isSimple() ? node->cdata() + "\n" : render(*node, false);
    }
    return emit(out);
}

}  // namespace

int xmlCommand(const std::vector<std::string>& args) {
    return dispatch(args, "zul xml", XML_HELP,
                    {{"format", formatCommand}, {"check", checkCommand}, {"get", getCommand}});
}

}  // namespace tool
}  // namespace zul
