// Fuzz target of the XML parser: parse, check the links of the tree, write it with the
// escaping writer (both layouts) and with the library's text form, parse those again and
// compare. A syntax error is an expected outcome; a crash, a sanitizer report, another
// exception, a broken link or a tree that does not read back is a finding.
#include <zul/xml/XMLParser.h>
#include <zul/xml/XMLWriter.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

using zul::xml::XMLNode;
using zul::xml::XMLParser;

// Walks two trees side by side without recursion; false at the first difference. Also
// checks that every child points back to its parent.
bool sameTree(const XMLNode& a, const XMLNode& b) {
    std::vector<std::pair<const XMLNode*, const XMLNode*>> work{{&a, &b}};
    while (!work.empty()) {
        auto [x, y] = work.back();
        work.pop_back();
        if (x->name() != y->name() || x->cdata() != y->cdata()) return false;
        if (x->numofAttrs() != y->numofAttrs() || x->numofChildren() != y->numofChildren())
            return false;
        for (size_t i = 0; i < x->numofAttrs(); ++i) {
            if (x->attr(i).name() != y->attr(i).name() || x->attr(i).value() != y->attr(i).value())
                return false;
        }
        for (size_t i = 0; i < x->numofChildren(); ++i) {
            if (x->child(i).parent() != x) std::abort();
            work.emplace_back(&x->child(i), &y->child(i));
        }
    }
    return true;
}

// Parses `text` again; its tree must equal `tree`.
void readsBack(const zul::String& text, const XMLNode& tree) {
    XMLParser again{zul::istr(text)};
    if (again.rootNode() == nullptr || !sameTree(tree, *again.rootNode())) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    XMLParser p;
    try {
        p.parse(zul::istr(reinterpret_cast<const char*>(data), size));
    } catch (const zul::xml::XMLRuntimeException&) {
        // The tree built so far stays with the parser: it must still be well linked.
        if (p.rootNode() != nullptr && !sameTree(*p.rootNode(), *p.rootNode())) std::abort();
        return 0;
    }
    const XMLNode* root = p.rootNode();
    if (root == nullptr) return 0;
    const zul::String compact = zul::xml::toXml(*root, false);
    readsBack(compact, *root);
    readsBack(zul::xml::toXml(*root, true), *root);
    // The library's own text form reads back the same when nothing in it needed escaping.
    const zul::String plain = root->str(false, 0);
    if (plain == compact) readsBack(plain, *root);
    XMLNode copy(*root);
    if (!sameTree(copy, *root) || copy.str(true, 0) != root->str(true, 0)) std::abort();
    return 0;
}
