// `zul des`: single-DES ECB encryption and decryption of a file or standard input, with the
// key given in hex.
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>
#include <zul/base/des.h>
#include <zul/util/util_func.h>

#include <string>
#include <vector>

#include "tool.h"

namespace zul {
namespace tool {
namespace {

const char* const DES_HELP =
    "Usage: zul des encrypt|decrypt --key-hex HEX [FILE]\n"
    "\n"
    "  encrypt   writes FILE (standard input when there is none, or for '-') encrypted with\n"
    "            single DES in ECB mode, zero-padded to a multiple of 8 bytes\n"
    "  decrypt   writes the decrypted bytes; the padding zeros stay\n"
    "\n"
    "Options:\n"
    "  -k, --key-hex HEX   the key as 2 to 16 hex digits (1 to 8 bytes, zero-padded to 8)\n"
    "  -h, --help          show this help\n"
    "\n"
    "Single DES is kept for existing data only; it does not protect new data.\n"
    "Exit status: 0 ok, 1 unreadable input or failed output, 2 usage error.\n";

constexpr size_t kMaxKeyBytes = 8;

// The bytes of an even number of hex digits; false for anything else.
bool parseHex(const std::string& hex, std::string& out) {
    if (hex.size() % 2 != 0) return false;
    out.clear();
    for (size_t i = 0; i < hex.size(); i += 2) {
        unsigned char hi = HexFromChar(hex[i]), lo = HexFromChar(hex[i + 1]);
        if (hi > 15 || lo > 15) return false;
        out += static_cast<char>(hi << 4 | lo);
    }
    return true;
}

}  // namespace

int desCommand(const std::vector<std::string>& args) {
    const std::string cmd = "zul des";
    std::vector<std::string> operands;
    std::string keyHex;
    bool haveKey = false, options = true;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (options && a == "--") {
            options = false;
        } else if (options && isHelp(a)) {
            return printHelp(DES_HELP);
        } else if (options && (a == "-k" || a == "--key-hex")) {
            if (i + 1 == args.size()) return usage("option '" + a + "' needs a value", cmd);
            keyHex = args[++i];
            haveKey = true;
        } else if (options && a.compare(0, 10, "--key-hex=") == 0) {
            keyHex = a.substr(10);
            haveKey = true;
        } else if (options && a.size() > 1 && a[0] == '-') {
            return usage("unknown option '" + a + "'", cmd);
        } else {
            operands.push_back(a);
        }
    }
    if (operands.empty()) return usage("missing direction (encrypt or decrypt)", cmd);
    const std::string& direction = operands[0];
    if (direction != "encrypt" && direction != "decrypt") {
        return usage("unknown direction '" + direction + "' (encrypt or decrypt)", cmd);
    }
    if (operands.size() > 2) return usage("at most one FILE", cmd);
    if (!haveKey) return usage("missing --key-hex", cmd);
    std::string key;
    if (keyHex.empty() || !parseHex(keyHex, key) || key.size() > kMaxKeyBytes) {
        return usage("the key must be 2 to 16 hex digits, an even number", cmd);
    }
    std::string file = operands.size() == 2 ? operands[1] : std::string(STDIN_ARG);

    std::string input, err;
    if (!readAll(file, input, err)) {
        error((file == STDIN_ARG ? std::string(STDIN_NAME) : file) + ": " + err);
        return EXIT_BAD_INPUT;
    }
    Bytes out;
    if (direction == "encrypt") {
        des3::encode(istr(input), out, istr(key));
    } else {
        des3::decode(istr(input), out, istr(key));
    }
    if (!writeOut(out.c_str(), out.size(), err)) {
        error(err);
        return EXIT_BAD_INPUT;
    }
    return EXIT_OK;
}

}  // namespace tool
}  // namespace zul
