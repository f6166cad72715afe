// The XML document model: attributes, nodes, their look-ups and the text form of a subtree.
#include <zul/base/pool.h>
#include <zul/xml/XMLNode.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <ostream>
#include <string_view>
#include <utility>

namespace zul {
namespace xml {

namespace {

// Below these counts a look-up by name scans; from them on it builds an index once.
constexpr size_t kAttrIndexFrom = 16;
constexpr size_t kChildIndexFrom = 9;

constexpr size_t kNone = static_cast<size_t>(-1);

std::string_view view(const istr& s) {
    return std::string_view(s.data == nullptr ? "" : s.data, s.size);
}

}  // namespace

// ---------------------------------------------------------------------------------------
// XMLAttr

XMLAttr::XMLAttr(const istr& name, const istr& value, XMLNode* node)
    : name_(name), value_(value), node_(node) {}

XMLAttr::~XMLAttr() = default;

String XMLAttr::str() const {
    String out;
    str(out);
    return out;
}

void XMLAttr::str(String& out) const {
    if (isEmpty()) return;
    out += ' ';
    out += name_;
    out += "=\"";
    out += value_;
    out += '"';
}

const XMLAttr& XMLAttr::null() {
    static const XMLAttr instance(istr(), istr(), nullptr);
    return instance;
}

void* XMLAttr::operator new(std::size_t size) {
    return zul::detail::poolAllocate(size);
}

void XMLAttr::operator delete(void* p, std::size_t size) noexcept {
    zul::detail::poolRelease(p, size);
}

std::ostream& operator<<(std::ostream& os, const XMLAttr& a) {
    return os << a.str();
}

// ---------------------------------------------------------------------------------------
// XMLNode

struct XMLNode::Extra {
    // The name list as positions in attrs_, kept only once a name was added twice.
    std::vector<uint32_t> order;
    // Attribute positions by name, for nodes with many attributes.
    std::map<std::string, size_t, std::less<>> attrIndex;
    // The children index; once built it is kept up to date and is the authority.
    std::unique_ptr<ChildNodeMap> childMap;
    // The views handed out by getAttrNames and getAttrMap.
    AttrNames names;
    AttrMap map;
};

XMLNode::XMLNode(const istr& name, XMLNode* parent)
    : name_(name), parent_(nullptr), unnamedEntry_(nullptr), extra_(nullptr) {
    if (parent != nullptr) parent->addChildNode(this);
}

XMLNode::XMLNode(const istr& text, cdata_t)
    : cdata_(text), parent_(nullptr), unnamedEntry_(nullptr), extra_(nullptr) {}

XMLNode::XMLNode(const XMLNode& o) : parent_(nullptr), unnamedEntry_(nullptr), extra_(nullptr) {
    assign(o);
}

XMLNode::~XMLNode() {
    clearNodes();
    clearAttrs();
    delete extra_;
}

void* XMLNode::operator new(std::size_t size) {
    return zul::detail::poolAllocate(size);
}

void XMLNode::operator delete(void* p, std::size_t size) noexcept {
    zul::detail::poolRelease(p, size);
}

const XMLNode& XMLNode::null() {
    static const XMLNode instance;
    return instance;
}

XMLNode::Extra& XMLNode::extra() const {
    if (extra_ == nullptr) extra_ = new Extra;
    return *extra_;
}

void XMLNode::copyContent(const XMLNode& o) {
    name_ = o.name_;
    cdata_ = o.cdata_;
    clearAttrs();
    attrs_.reserve(o.attrs_.size());
    for (const XMLAttr* a : o.attrs_) attrs_.push_back(new XMLAttr(*a));
    if (o.extra_ != nullptr && !o.extra_->order.empty()) extra().order = o.extra_->order;
}

XMLNode& XMLNode::assign(const XMLNode& o) {
    if (&o == this) return *this;
    // `o` inside this subtree would go with the children below: copy it out first.
    for (const XMLNode* p = o.parent_; p != nullptr; p = p->parent_) {
        if (p == this) {
            const XMLNode copy(o);
            return assign(copy);
        }
    }
    copyContent(o);
    clearNodes();
    // Breadth of one node at a time, depth through a work list: no recursion.
    std::vector<std::pair<const XMLNode*, XMLNode*>> work{{&o, this}};
    while (!work.empty()) {
        auto [src, dst] = work.back();
        work.pop_back();
        dst->children_.reserve(src->children_.size());
        for (const XMLNode* c : src->children_) {
            std::unique_ptr<XMLNode> d(new XMLNode);
            d->copyContent(*c);
            XMLNode* added = dst->addChildNode(d.get());
            d.release();
            if (!c->children_.empty()) work.emplace_back(c, added);
        }
    }
    return *this;
}

XMLNode* XMLNode::addChildNode(XMLNode* child) {
    child->parent_ = this;
    children_.push_back(child);
    if (extra_ != nullptr && extra_->childMap) {
        try {
            (*extra_->childMap)[child->name_] = child;
        } catch (...) {
            children_.pop_back();
            throw;
        }
    }
    return child;
}

XMLNode* XMLNode::addChildNode(const istr& name) {
    return new XMLNode(name, this);
}

XMLNode& XMLNode::append(const XMLNode& n) {
    std::unique_ptr<XMLNode> copy(new XMLNode(n));
    addChildNode(copy.get());
    copy.release();
    return *this;
}

void XMLNode::clearNodes() {
    // Each node's children move to the work list before it is deleted, so no destructor
    // ever has children left to recurse into.
    std::vector<XMLNode*> work;
    work.swap(children_);
    while (!work.empty()) {
        XMLNode* n = work.back();
        work.pop_back();
        if (!n->children_.empty()) {
            work.insert(work.end(), n->children_.begin(), n->children_.end());
            n->children_.clear();
        }
        delete n;
    }
    if (extra_ != nullptr) extra_->childMap.reset();
    unnamedEntry_ = nullptr;
}

void XMLNode::name(const istr& n) {
    if (parent_ != nullptr) parent_->childRenamed(this, n);
    name_ = n;
}

void XMLNode::cdata(const istr& text, bool escape) {
    if (!escape) {
        cdata_ = text;
        return;
    }
    String out;
    const char* p = text.data;
    const char* const end = p == nullptr ? p : p + text.size;
    for (; p != end && *p != '\0'; ++p) {
        switch (*p) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            default:
                out += *p;
        }
    }
    cdata_ = std::move(out);
}

unsigned XMLNode::getDepth() const {
    unsigned depth = 0;
    for (const XMLNode* p = parent_; p != nullptr; p = p->parent_) ++depth;
    return depth;
}

// ---- attributes ----

size_t XMLNode::findAttr(const istr& name) const {
    const std::string_view key = view(name);
    if (attrs_.size() < kAttrIndexFrom) {
        for (size_t i = 0; i < attrs_.size(); ++i)
            if (std::string_view(attrs_[i]->name()) == key) return i;
        return kNone;
    }
    Extra& x = extra();
    if (x.attrIndex.size() != attrs_.size()) {
        x.attrIndex.clear();
        for (size_t i = 0; i < attrs_.size(); ++i) x.attrIndex.emplace(attrs_[i]->name(), i);
    }
    auto it = x.attrIndex.find(key);
    return it == x.attrIndex.end() ? kNone : it->second;
}

XMLAttr* XMLNode::insertAttr(XMLAttr&& a) {
    size_t at = findAttr(a.name());
    const bool repeated = at != kNone;
    if (repeated) {
        *attrs_[at] = std::move(a);
        if (extra_ == nullptr || extra_->order.empty()) {
            // The first repeated name: the name list now differs from the distinct attributes.
            Extra& x = extra();
            x.order.resize(attrs_.size());
            for (size_t i = 0; i < attrs_.size(); ++i) x.order[i] = static_cast<uint32_t>(i);
        }
    } else {
        std::unique_ptr<XMLAttr> copy(new XMLAttr(std::move(a)));
        attrs_.push_back(copy.get());
        copy.release();
        at = attrs_.size() - 1;
        if (extra_ != nullptr && extra_->attrIndex.size() == at)
            extra_->attrIndex.emplace(attrs_[at]->name(), at);
    }
    if (extra_ != nullptr && !extra_->order.empty())
        extra_->order.push_back(static_cast<uint32_t>(at));
    return attrs_[at];
}

void XMLNode::addAttr(const XMLAttr& a) {
    insertAttr(XMLAttr(a));
}

void XMLNode::addAttr(const istr& name, const istr& value) {
    insertAttr(XMLAttr(name, value, this));
}

XMLAttr& XMLNode::attr(const istr& name) {
    const size_t at = findAttr(name);
    return at != kNone ? *attrs_[at] : *insertAttr(XMLAttr(name, istr(), this));
}

const XMLAttr& XMLNode::attr(const istr& name) const {
    const size_t at = findAttr(name);
    return at == kNone ? XMLAttr::null() : *attrs_[at];
}

const XMLAttr& XMLNode::attr(size_t i) const {
    if (extra_ != nullptr && !extra_->order.empty()) {
        return i < extra_->order.size() ? *attrs_[extra_->order[i]] : XMLAttr::null();
    }
    return i < attrs_.size() ? *attrs_[i] : XMLAttr::null();
}

size_t XMLNode::numofAttrs() const {
    if (extra_ != nullptr && !extra_->order.empty()) return extra_->order.size();
    return attrs_.size();
}

const XMLNode::AttrNames& XMLNode::getAttrNames() const {
    Extra& x = extra();
    x.names.clear();
    const size_t n = numofAttrs();
    x.names.reserve(n);
    for (size_t i = 0; i < n; ++i) x.names.push_back(attr(i).name());
    return x.names;
}

const XMLNode::AttrMap& XMLNode::getAttrMap() const {
    Extra& x = extra();
    x.map.clear();
    for (const XMLAttr* a : attrs_) x.map.insert_or_assign(a->name(), *a);
    return x.map;
}

void XMLNode::clearAttrs() {
    for (XMLAttr* a : attrs_) delete a;
    attrs_.clear();
    if (extra_ != nullptr) {
        extra_->order.clear();
        extra_->attrIndex.clear();
    }
}

// ---- children ----

XMLNode* XMLNode::lastNamed(const istr& name) const {
    const std::string_view key = view(name);
    for (auto it = children_.rbegin(); it != children_.rend(); ++it) {
        if (std::string_view((*it)->name_) == key) return *it;
        if (key.empty() && *it == unnamedEntry_) return *it;
    }
    return nullptr;
}

XMLNode::ChildNodeMap& XMLNode::childMap() const {
    Extra& x = extra();
    if (!x.childMap) {
        auto map = std::make_unique<ChildNodeMap>();
        for (XMLNode* c : children_) (*map)[c->name_] = c;
        if (unnamedEntry_ != nullptr) (*map)[String()] = lastNamed(istr());
        x.childMap = std::move(map);
    }
    return *x.childMap;
}

XMLNode* XMLNode::findChild(const istr& name) const {
    if ((extra_ == nullptr || !extra_->childMap) && children_.size() < kChildIndexFrom) {
        return lastNamed(name);
    }
    const ChildNodeMap& map = childMap();
    auto it = map.find(String(name));
    return it == map.end() ? nullptr : it->second;
}

void XMLNode::childRenamed(XMLNode* c, const istr& newName) {
    if (extra_ == nullptr || !extra_->childMap) {
        // Renaming the newest child keeps the scanning rules true, provided the entry it
        // leaves under the empty name is remembered; anything else needs the index.
        const bool newest = !children_.empty() && children_.back() == c;
        if (newest && c->name_.empty()) {
            unnamedEntry_ = lastNamed(istr());
            return;
        }
        if (newest && istr(c->name_) == newName) return;
        childMap();
    }
    (*extra_->childMap)[String(newName)] = c;
}

XMLNode& XMLNode::child(const istr& name) {
    if (XMLNode* c = findChild(name)) return *c;
    return *addChildNode(name);
}

const XMLNode& XMLNode::child(const istr& name) const {
    const XMLNode* c = findChild(name);
    return c == nullptr ? null() : *c;
}

const XMLNode& XMLNode::child(size_t i) const {
    return i < children_.size() ? *children_[i] : null();
}

const XMLNode::ChildNodeMap& XMLNode::getChildNodeMap() const {
    return childMap();
}

// ---- text form ----

String XMLNode::str(bool formatted, unsigned depth) const {
    String out;
    str(out, formatted, depth);
    return out;
}

void XMLNode::str(String& out, bool formatted, unsigned depth) const {
    if (isNull()) return;
    // Writes a start tag, or a whole childless element; true when children follow.
    auto open = [&out, formatted](const XMLNode& n) {
        out += '<';
        out += n.name_;
        const size_t count = n.numofAttrs();
        for (size_t i = 0; i < count; ++i) n.attr(i).str(out);
        if (n.children_.empty()) {
            if (n.cdata_.empty()) {
                out += "/>";
            } else {
                out += '>';
                out += n.cdata_;
                out += "</";
                out += n.name_;
                out += '>';
            }
            return false;
        }
        out += '>';
        if (formatted) out += '\n';
        return true;
    };
    auto indent = [&out, formatted](unsigned level) {
        if (formatted) out.append(size_t(4) * level, ' ');
    };

    if (!open(*this)) return;
    struct Frame {
        const XMLNode* node;
        unsigned depth;
        size_t next;
    };
    std::vector<Frame> stack{{this, depth, 0}};
    while (!stack.empty()) {
        Frame& f = stack.back();
        if (f.next < f.node->children_.size()) {
            const XMLNode* c = f.node->children_[f.next++];
            const unsigned level = f.depth + 1;
            indent(level);
            if (open(*c)) {
                stack.push_back({c, level, 0});
            } else if (formatted) {
                out += '\n';
            }
            continue;
        }
        const XMLNode& n = *f.node;
        const unsigned level = f.depth;
        stack.pop_back();
        if (!n.cdata_.empty()) {
            indent(level + 1);
            out += n.cdata_;
            if (formatted) out += '\n';
        }
        indent(level);
        out += "</";
        out += n.name_;
        out += '>';
        if (formatted && !stack.empty()) out += '\n';
    }
}

std::ostream& operator<<(std::ostream& os, const XMLNode& n) {
    return os << n.str(true, 0);
}

}  // namespace xml
}  // namespace zul
