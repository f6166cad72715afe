// `zul base64`: Base64 encoding and decoding of a file or standard input.
#include <zul/base/base64.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tool.h"

namespace zul {
namespace tool {
namespace {

const char* const BASE64_HELP =
    "Usage: zul base64 encode [--crlf] [FILE]\n"
    "       zul base64 decode [FILE]\n"
    "\n"
    "  encode   writes FILE (standard input when there is none, or for '-') as Base64 in\n"
    "           lines of 76 characters, each ending with LF (with --crlf: CR LF, as MIME\n"
    "           text wants)\n"
    "  decode   writes the bytes of the Base64 text in FILE; characters outside the\n"
    "           alphabet (line breaks, blanks) are skipped\n"
    "\n"
    "Options:\n"
    "  -h, --help   show this help\n"
    "\n"
    "Exit status: 0 ok, 1 unreadable input or failed output, 2 usage error.\n";

// The encoder separates its lines with CR LF; the shell's convention is LF.
void toLf(String& text) {
    size_t out = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        text[out++] = text[i];
    }
    text.resize(out);
}

}  // namespace

int base64Command(const std::vector<std::string>& args) {
    const std::string cmd = "zul base64";
    // "--crlf" is the one option; the rest are read the common way.
    bool crlf = false;
    std::vector<std::string> rest;
    for (const std::string& a : args) {
        if (a == "--crlf" && rest.end() == std::find(rest.begin(), rest.end(), "--"))
            crlf = true;
        else
            rest.push_back(a);
    }
    std::vector<std::string> operands;
    if (int done = operandsOnly(rest, BASE64_HELP, cmd, operands); done != GO_ON) return done;
    if (operands.empty()) return usage("missing direction (encode or decode)", cmd);
    const std::string& direction = operands[0];
    if (direction != "encode" && direction != "decode") {
        return usage("unknown direction '" + direction + "' (encode or decode)", cmd);
    }
    if (operands.size() > 2) return usage("at most one FILE", cmd);
    if (crlf && direction != "encode") return usage("--crlf goes with encode", cmd);
    std::string file = operands.size() == 2 ? operands[1] : std::string(STDIN_ARG);

    std::string input;
    std::string err;
    if (!readAll(file, input, err)) {
        error((file == STDIN_ARG ? std::string(STDIN_NAME) : file) + ": " + err);
        return EXIT_BAD_INPUT;
    }
    bool ok;
    if (direction == "encode") {
        String text;
        Base64::encode(istr(input.data(), input.size()), text);
        if (!text.empty()) text += "\r\n";
        if (!crlf) toLf(text);
        ok = writeOut(text, err);
    } else {
        Bytes bytes;
        Base64::decode(istr(input.data(), input.size()), bytes);
        ok = writeOut(bytes.c_str(), bytes.size(), err);
    }
    if (!ok) {
        error(err);
        return EXIT_BAD_INPUT;
    }
    return EXIT_OK;
}

}  // namespace tool
}  // namespace zul
