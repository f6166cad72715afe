// The element behind an XML object stream: ownership transfer, mode and node access.
#include <zul/log/log_dumper.h>
#include <zul/xml/XMLStreamBase.h>

#include <ostream>
#include <utility>

namespace zul {
namespace xml {

XMLStreamBase::XMLStreamBase() : inputting_(false), owns_(false), node_(nullptr) {}

XMLStreamBase::XMLStreamBase(XMLNode* n, out_t) : inputting_(false), owns_(false), node_(n) {}

XMLStreamBase::XMLStreamBase(const XMLNode* n, in_t)
    : inputting_(true), owns_(false), node_(const_cast<XMLNode*>(n)) {}

XMLStreamBase::XMLStreamBase(bool inputting, bool owns, XMLNode* n)
    : inputting_(inputting), owns_(owns), node_(n) {}

XMLStreamBase::XMLStreamBase(const XMLStreamBase& o)
    : inputting_(o.inputting_), owns_(o.owns_), node_(o.node_) {
    o.node_ = nullptr;
}

XMLStreamBase& XMLStreamBase::operator=(const XMLStreamBase& o) {
    if (this != &o) assign(o.inputting_, o.owns_, std::exchange(o.node_, nullptr));
    return *this;
}

XMLStreamBase::~XMLStreamBase() {
    clear();
    delete scratch_;
}

XMLNode& XMLStreamBase::scratch() {
    if (scratch_ == nullptr) scratch_ = new XMLNode;
    return *scratch_;
}

XMLStreamBase XMLStreamBase::childOf(XMLStreamBase& parent, const istr& name) {
    if (parent.inputting_) return XMLStreamBase(false, true, new XMLNode(name));
    return XMLStreamBase(&parent.node()->child(name), out_t());
}

void XMLStreamBase::clear() {
    if (owns_) delete node_;
    node_ = nullptr;
    owns_ = false;
}

XMLNode* XMLStreamBase::release() {
    return std::exchange(node_, nullptr);
}

void XMLStreamBase::swap(XMLStreamBase& o) {
    std::swap(inputting_, o.inputting_);
    std::swap(owns_, o.owns_);
    std::swap(node_, o.node_);
}

void XMLStreamBase::setOutputNode(XMLNode* n, bool owns) {
    assign(false, owns, n);
}

void XMLStreamBase::setInputNode(const XMLNode* n, bool owns) {
    assign(true, owns, const_cast<XMLNode*>(n));
}

void XMLStreamBase::assign(bool inputting, bool owns, XMLNode* n) {
    XMLNode* const old = node_;
    const bool ownedOld = owns_;
    inputting_ = inputting;
    owns_ = owns;
    node_ = n;
    if (ownedOld && old != n) delete old;
}

XMLNode* XMLStreamBase::node() {
    // A writing stream never writes into the shared null node a reading one may stand for.
    if (!inputting_ && (node_ == nullptr || node_->isNull())) {
        node_ = new XMLNode;
        owns_ = true;
    }
    return node_;
}

void XMLStreamBase::name(const istr& n) {
    if (inputting_) return;
    if (node_ == nullptr || node_->isNull()) {
        node_ = new XMLNode(n);
        owns_ = true;
    } else {
        node_->name(n);
    }
}

void XMLStreamBase::cdata(const istr& text) {
    if (!inputting_) node()->cdata(text, true);
}

String XMLStreamBase::str(bool formatted, unsigned depth) const {
    return node_ == nullptr ? String() : node_->str(formatted, depth);
}

void XMLStreamBase::dump(dumper& d) const {
    d.indent();
    d.raw(istr(d.indentSeparator()));
    d.raw(istr(str(true, d.level() + 1)));
}

std::ostream& operator<<(std::ostream& os, const XMLStreamBase& s) {
    return os << s.str(true, 0);
}

}  // namespace xml
}  // namespace zul
