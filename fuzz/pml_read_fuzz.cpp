// Fuzz target of the PML reader: ntvFromPml and ntvFromValueString over the 8-bit pointer
// source, the 8-bit stream source and the wide pointer source of the same input. A decode
// error is an expected outcome; a crash, a sanitizer report, another exception or the
// instances disagreeing on ASCII input is a finding.
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_parser.h>
#include <zul/pml/pml_reader.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

using zul::pml::ntv::ListValue;
using zul::pml::ntv::Unit;

struct Result {
    bool decodeError = false;
    bool ok = false;
    size_t consumed = 0;
};

// Walks two trees side by side without recursion; false at the first difference. Also
// checks that every child's parent, index and value owner are right.
bool sameTree(const Unit& a, const Unit& b) {
    std::vector<std::pair<const Unit*, const Unit*>> work{{&a, &b}};
    while (!work.empty()) {
        auto [x, y] = work.back();
        work.pop_back();
        if (x->name() != y->name() || x->type() != y->type()) return false;
        if ((x->value() == nullptr) != (y->value() == nullptr)) return false;
        if (x->value() != nullptr && x->value()->owner() != x) std::abort();
        const ListValue* lx = x->listValue();
        const ListValue* ly = y->listValue();
        if ((lx == nullptr) != (ly == nullptr)) return false;
        if (lx == nullptr) {
            if (x->value() != nullptr && x->stringValue()->data() != y->stringValue()->data())
                return false;
            continue;
        }
        if (lx->size() != ly->size()) return false;
        for (size_t i = 0; i < lx->size(); ++i) {
            const Unit* cx = lx->data()[i];
            if (cx->parent() != x || cx->index() != i) std::abort();
            work.emplace_back(cx, ly->data()[i]);
        }
    }
    return true;
}

template <class Fn>
Result guarded(Fn&& fn) {
    Result r;
    try {
        r.ok = fn();
    } catch (const zul::pml::DecodeException&) {
        r.decodeError = true;
    }
    return r;
}

void check(const std::string& text, bool valueString) {
    auto read = [valueString](Unit& u, auto& source) {
        return valueString ? zul::pml::ntvFromValueString(u, source)
                           : zul::pml::ntvFromPml(u, source);
    };

    Unit narrow;
    const char* p = text.c_str();
    Result rn = guarded([&] { return read(narrow, p); });
    rn.consumed = static_cast<size_t>(p - text.c_str());

    Unit streamed;
    std::istringstream is(text);
    Result rs = guarded([&] { return read(streamed, is); });

    // Byte-wise widening: the same characters for ASCII input.
    std::wstring wide;
    bool ascii = true;
    for (unsigned char c : text) {
        if (c >= 0x80) ascii = false;
        wide.push_back(static_cast<wchar_t>(c));
    }
    Unit w;
    const wchar_t* wp = wide.c_str();
    Result rw = guarded([&] { return read(w, wp); });
    rw.consumed = static_cast<size_t>(wp - wide.c_str());

    if (rn.decodeError != rs.decodeError || rn.ok != rs.ok) std::abort();
    if (!sameTree(narrow, streamed)) std::abort();
    if (!is.eof()) {
        is.clear();
        if (static_cast<size_t>(is.tellg()) != rn.consumed) std::abort();
    }
    if (ascii) {
        if (rn.decodeError != rw.decodeError || rn.ok != rw.ok) std::abort();
        if (rn.consumed != rw.consumed) std::abort();
        if (!sameTree(narrow, w)) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The pointer sources stop at a NUL; cut there so that all sources see the same text.
    std::string text(reinterpret_cast<const char*>(data), size);
    text = text.substr(0, text.find('\0'));
    check(text, false);
    check(text, true);
    return 0;
}
