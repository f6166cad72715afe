// zul::xml::XMLStreamBase, the element an XML object stream stands for and whether the stream
// owns it, shared by the reading and writing streams; the tags in_t and out_t.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/xml/XMLNode.h>

#include <cstddef>
#include <iosfwd>

namespace zul {

class dumper;

namespace xml {

/// Tag argument selecting a reading constructor.
struct in_t {};
/// Tag argument selecting a writing constructor.
struct out_t {};

/// One element of an object stream: the node, whether the stream reads it, and whether the
/// stream deletes it. Copying transfers the node: the copy takes all three fields and the
/// source is left without a node (even a constant source).
class ZUL_API XMLStreamBase {
  public:
    /// Writing, no node (one is made on first use), not owning.
    XMLStreamBase();
    /// Writing `n`, not owning.
    XMLStreamBase(XMLNode* n, out_t);
    /// Reading `n`, not owning.
    XMLStreamBase(const XMLNode* n, in_t);
    /// Reading when `inputting`, else writing; deletes `n` (which may be null) when `owns`.
    XMLStreamBase(bool inputting, bool owns, XMLNode* n);
    /// Takes the node of `o`, which keeps no node.
    XMLStreamBase(const XMLStreamBase& o);
    /// Takes the node of `o` (which keeps none), then deletes the own old node if owned.
    /// Self-assignment does nothing.
    XMLStreamBase& operator=(const XMLStreamBase& o);
    /// Deletes the node when owned, and the scratch element.
    ~XMLStreamBase();

    /// Deletes the node when owned; then no node and not owning.
    void clear();
    /// Returns the node and forgets it; the owning flag stays. The caller owns the node when
    /// the stream did.
    XMLNode* release();
    /// Exchanges mode, ownership and node with `o`.
    void swap(XMLStreamBase& o);
    /// True for a reading stream.
    bool isInputting() const { return inputting_; }
    /// Changes the mode only; node and ownership stay.
    void setInputting(bool inputting) { inputting_ = inputting; }

    /// Writing `n`; the previous node is deleted when owned and not `n`.
    void setOutputNode(XMLNode* n, bool owns);
    /// Reading `n`; the previous node is deleted when owned and not `n`.
    void setInputNode(const XMLNode* n, bool owns);
    /// Mode, ownership and node at once; the previous node is deleted when owned and not `n`.
    void assign(bool inputting, bool owns, XMLNode* n);

    /// The node; a writing stream without one (or standing for XMLNode::null()) first makes
    /// an owned, unnamed node. A reading stream returns its node as it is: possibly null, and
    /// not to be changed through this pointer.
    XMLNode* node();
    /// The node, or XMLNode::null().
    const XMLNode& node() const { return node_ == nullptr ? XMLNode::null() : *node_; }

    /// The child `name` of `parent`'s element (created when missing) as a writing stream that
    /// does not own it. A reading `parent` is never changed: the stream then owns a detached
    /// element of that name, and what is written to it reaches nobody.
    static XMLStreamBase childOf(XMLStreamBase& parent, const istr& name);

    /// Writing streams: renames the node, or makes an owned node of that name when there is
    /// none (or it is XMLNode::null()). Reading streams ignore it.
    void name(const istr& n);
    /// The node's name; "" without a node.
    const String& name() const { return node().name(); }
    /// Writing streams: the node (made as by node()) gets `text`, read up to its first NUL,
    /// as character data with '<', '>' and '&' escaped. Reading streams ignore it.
    void cdata(const istr& text);
    /// The node's character data as stored (escaped text stays escaped in memory).
    const String& cdata() const { return node().cdata(); }

    /// The attribute named at position `i` of the node's name list, or XMLAttr::null().
    const XMLAttr& attrAt(size_t i) const { return node().attr(i); }
    /// The length of the node's attribute name list; 0 without a node.
    size_t numofAttrs() const { return node().numofAttrs(); }
    /// Child `i` of the node, or XMLNode::null().
    const XMLNode& childAt(size_t i) const { return node().child(i); }
    /// The node's number of children; 0 without a node.
    size_t numofChildren() const { return node().numofChildren(); }

    /// The node's str(formatted, depth), or "" without a node.
    String str(bool formatted = true, unsigned depth = 0) const;
    /// Indents, writes the dumper's indent separator, then str(true, level + 1).
    void dump(dumper& d) const;

  protected:
    /// Tag of the constructors XMLStream calls on its two halves: the shared base is set up
    /// by XMLStream alone.
    struct BaseSetUp {};

    // Mutable so that copying can take the node even from a constant stream.
    mutable bool inputting_;  ///< True for a reading stream.
    mutable bool owns_;       ///< True when the stream deletes node_.
    mutable XMLNode* node_;   ///< The element; may be null or XMLNode::null().

    /// A reading stream's private element: what the writing members hand out there (copies
    /// of attributes and children) lives in it, so that writes through them change neither
    /// the element read, nor a caller's constant node, nor the shared null objects. Made on
    /// first use; never transferred with the node.
    XMLNode& scratch();

  private:
    XMLNode* scratch_ = nullptr;
};

/// Writes `s.str(true, 0)`.
ZUL_API std::ostream& operator<<(std::ostream& os, const XMLStreamBase& s);

}  // namespace xml
}  // namespace zul
