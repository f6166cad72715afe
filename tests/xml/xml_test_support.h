// Helpers of the XML tests: a compact signature of a tree, to compare trees in tables.
#pragma once

#include <zul/xml/XMLNode.h>

#include <string>

namespace zul_test {

/// name, then " k=v" per listed attribute, "{cdata}" when there is text and "(...)" around
/// the children, comma-separated. Recursive: for the small trees of tables.
inline std::string sig(const zul::xml::XMLNode& n) {
    std::string s = n.name();
    for (size_t i = 0; i < n.numofAttrs(); ++i)
        s += " " + n.attr(i).name() + "=" + n.attr(i).value();
    if (!n.cdata().empty()) s += "{" + n.cdata() + "}";
    if (n.numofChildren() == 0) return s;
    s += "(";
    for (size_t i = 0; i < n.numofChildren(); ++i) s += (i ? "," : "") + sig(n.child(i));
    return s + ")";
}

}  // namespace zul_test
