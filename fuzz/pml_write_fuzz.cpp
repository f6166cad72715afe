// Fuzz target of the PML writers: whatever the reader accepts is written in every layout and
// read back; where names and types hold no special characters the tree must come back.
#include <zul/base/exception.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_reader.h>
#include <zul/pml/pml_writer.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

using zul::istr;
using zul::String;
using zul::pml::ntv::Unit;
namespace pml = zul::pml;

namespace {

bool hasSpecial(const String& s) {
    for (char c : s) {
        if (pml::__isSpeacialChar(c)) return true;
    }
    return false;
}

bool isBlank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool blankAtAnEnd(const String& s) {
    return !s.empty() && (isBlank(s.front()) || isBlank(s.back()));
}

// Whether the tree should read back unchanged: no special character in names and types, and
// no name, type or text with a blank at either end (names, types and unquoted texts are
// trimmed by the reader; an escaped blank can put one there).
bool expectSame(const Unit& root) {
    std::vector<const Unit*> work{&root};
    while (!work.empty()) {
        const Unit* u = work.back();
        work.pop_back();
        if (hasSpecial(u->name()) || hasSpecial(u->type())) return false;
        if (blankAtAnEnd(u->name()) || blankAtAnEnd(u->type())) return false;
        if (const auto* l = u->listValue()) {
            for (const Unit* c : *l) work.push_back(c);
        } else if (blankAtAnEnd(String(u->getStringValue()))) {
            return false;
        }
    }
    return true;
}

// A missing value and an empty list read back as an empty text: compare them as such.
bool sameTree(const Unit& a, const Unit& b) {
    std::vector<std::pair<const Unit*, const Unit*>> work{{&a, &b}};
    while (!work.empty()) {
        const Unit* x = work.back().first;
        const Unit* y = work.back().second;
        work.pop_back();
        if (x->name() != y->name() || x->type() != y->type()) return false;
        const size_t nx = x->numofChildren(), ny = y->numofChildren();
        if (nx != ny) return false;
        if (nx == 0) {
            if (String(x->getStringValue()) != String(y->getStringValue())) return false;
            continue;
        }
        for (size_t i = 0; i < nx; ++i) {
            work.emplace_back(x->listValue()->data()[i], y->listValue()->data()[i]);
        }
    }
    return true;
}

[[noreturn]] void fail(const char* what, const String& text) {
    std::fprintf(stderr, "%s\n--- written ---\n%s\n", what, text.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    Unit root;
    try {
        if (!pml::ntvFromPml(root, istr(input))) return 0;
    } catch (const pml::DecodeException&) {
        return 0;
    }
    const bool same = expectSame(root);
    const pml::ShowPattern all = pml::NAME | pml::TYPE | pml::VALUE;
    const pml::ShowMode modes[] = {pml::COMPACT, pml::SIMPLE, pml::MIXED, pml::FORMATTED};
    for (pml::ShowMode mode : modes) {
        for (pml::ShowPattern pattern : {all, all | pml::PATH}) {
            String text;
            if (!pml::ntvToPml(root, text, mode, pattern)) fail("writer returned false", text);
            Unit back;
            try {
                if (!pml::ntvFromPml(back, istr(text))) {
                    if (same) fail("written text does not read", text);
                    continue;
                }
            } catch (const pml::DecodeException&) {
                if (same) fail("written text raises a decode error", text);
                continue;
            }
            if (same && !sameTree(root, back)) fail("tree did not come back", text);
            if (same) {
                // Reading back is a fixed point: the second writing is the same text.
                String again;
                pml::ntvToPml(back, again, mode, pattern);
                if (again != text) fail("second writing differs", again);
            }
        }
    }
    return 0;
}
