// The XML document model: zul::xml::XMLAttr (one attribute) and zul::xml::XMLNode (an element
// with its text, attributes and owned children), and the text form of a subtree.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>

#include <cstddef>
#include <iosfwd>
#include <map>
#include <vector>

namespace zul {
namespace xml {

class XMLNode;
class XMLParser;

/// Tag argument selecting the character-data constructor of XMLNode.
struct cdata_t {};

/// One attribute: a name, a decoded value and the node it belongs to (not owned, may be null).
class ZUL_API XMLAttr {
  public:
    /// An attribute named `name` with the value `value`, made for `node` (not owned, may be
    /// null); null views give empty texts.
    XMLAttr(const istr& name, const istr& value, XMLNode* node);

    ///@{

    /// Copies (or moves) name, value and node pointer; the node is never owned.
    XMLAttr(const XMLAttr& o) = default;
    XMLAttr(XMLAttr&& o) = default;
    XMLAttr& operator=(const XMLAttr& o) = default;
    XMLAttr& operator=(XMLAttr&& o) = default;
    ///@}

    /// Frees name and value; the node is not touched.
    virtual ~XMLAttr();

    /// The name.
    const String& name() const { return name_; }
    /// The value, decoded (no entity references).
    const String& value() const { return value_; }
    /// The node this attribute was made for; not owned, may be null.
    XMLNode* node() const { return node_; }
    /// Replaces the name (a null view gives "").
    void name(const istr& n) { name_ = n; }
    /// Replaces the value, stored as given (a null view gives "").
    void value(const istr& v) { value_ = v; }
    /// Changes the pointer only: no node is told.
    void node(XMLNode* n) { node_ = n; }

    /// True when the name or the value is empty.
    bool isEmpty() const { return name_.empty() || value_.empty(); }
    /// "" for an empty attribute, else ` name="value"` (the value unescaped).
    String str() const;
    /// Appends str() to `out`.
    void str(String& out) const;

    /// The shared empty attribute that constant look-ups return when nothing is found.
    static const XMLAttr& null();
    /// True only for XMLAttr::null().
    bool isNull() const { return this == &null(); }

    ///@{

    /// Attributes come from the small-block pool (zul/base/pool.h); new throws std::bad_alloc.
    static void* operator new(std::size_t size);
    static void operator delete(void* p, std::size_t size) noexcept;
    ///@}

  private:
    friend class XMLParser;

    String name_;
    String value_;
    XMLNode* node_;
};

/// Writes `a.str()`.
ZUL_API std::ostream& operator<<(std::ostream& os, const XMLAttr& a);

/// An element: name, character data, attributes (a name list in insertion order, duplicates
/// included, each name showing the last attribute added under it) and owned children (in
/// order, also found by name: a repeated name finds the child added last).
///
/// A node owns its children and its attributes; parent pointers never own. Deleting a root
/// frees the tree without recursion, so trees of any depth are safe. A tree is used by one
/// thread at a time (constant look-ups may build an index on first use).
class ZUL_API XMLNode {
  public:
    /// Attribute names in insertion order, duplicates included.
    using AttrNames = std::vector<String>;
    /// Copies of the attributes by name.
    using AttrMap = std::map<String, XMLAttr>;
    /// The children in order; the node owns each of them.
    using ChildNodes = std::vector<XMLNode*>;
    /// Children by name, not owning; a repeated name holds the child entered last.
    using ChildNodeMap = std::map<String, XMLNode*>;

    /// A node named `name`; a non-null `parent` adopts it (addChildNode) and owns it from then on.
    explicit XMLNode(const istr& name = istr(), XMLNode* parent = nullptr);
    /// A parentless node with an empty name and `text` as its character data.
    XMLNode(const istr& text, cdata_t);
    /// A deep copy of `o` without a parent.
    XMLNode(const XMLNode& o);
    /// assign(o): a deep copy of `o`'s content; the own parent stays.
    XMLNode& operator=(const XMLNode& o) { return assign(o); }
    /// Deletes the whole subtree (clearNodes); the parent, if any, is not told.
    virtual ~XMLNode();

    /// Copies name, character data and attributes of `o`, deletes the own children and adds a
    /// deep copy of each child of `o`; the parent stays. `o` may lie inside this subtree.
    /// Self-assignment leaves the node unchanged.
    XMLNode& assign(const XMLNode& o);

    /// Makes this node the parent of `child`, appends it and enters it under its name;
    /// the node owns `child` from then on, so `child` must belong to no other node. Returns
    /// `child`.
    XMLNode* addChildNode(XMLNode* child);
    /// Creates, adds and returns a new child named `name`.
    XMLNode* addChildNode(const istr& name);

    ///@{

    /// Adds a deep copy of `n` as the last child; returns this node.
    XMLNode& append(const XMLNode& n);
    XMLNode& operator+=(const XMLNode& n) { return append(n); }
    ///@}

    /// Deletes every child and empties the children and their index.
    void clearNodes();

    /// The element name.
    const String& name() const { return name_; }
    /// Renames; the parent then finds this node under the new name as well as the old one.
    void name(const istr& n);
    /// The character data as stored (escaped only when it was stored escaped).
    const String& cdata() const { return cdata_; }
    /// Replaces the character data; with `escape` each '<', '>' and '&' of `text` (read up to
    /// its first NUL) is stored as "&lt;", "&gt;" and "&amp;".
    void cdata(const istr& text, bool escape = false);
    /// The parent, or null for a root.
    XMLNode* parent() const { return parent_; }
    /// Changes the pointer only: no container is told.
    void parent(XMLNode* p) { parent_ = p; }

    /// No attributes and no children.
    bool isSimple() const { return attrs_.empty() && children_.empty(); }
    /// Empty name and character data, no attributes and no children.
    bool isEmpty() const { return name_.empty() && cdata_.empty() && isSimple(); }
    /// The number of ancestors (0 for a root).
    unsigned getDepth() const;
    /// True only for XMLNode::null().
    bool isNull() const { return this == &null(); }
    /// The shared empty node that constant look-ups return when nothing is found.
    static const XMLNode& null();

    /// Appends the name of `a` to the name list (even when present) and stores a copy of `a`
    /// under it, replacing an earlier attribute of that name.
    void addAttr(const XMLAttr& a);
    /// addAttr(XMLAttr(name, value, this)).
    void addAttr(const istr& name, const istr& value);

    ///@{

    /// The attribute of that name; created with an empty value (and listed) when missing.
    XMLAttr& attr(const istr& name);
    XMLAttr& operator()(const istr& name) { return attr(name); }
    ///@}

    ///@{

    /// The attribute of that name, or XMLAttr::null().
    const XMLAttr& attr(const istr& name) const;
    const XMLAttr& operator()(const istr& name) const { return attr(name); }
    ///@}

    /// The attribute named at position `i` of the name list, or XMLAttr::null() past the end.
    const XMLAttr& attr(size_t i) const;
    /// The length of the name list (duplicates counted).
    size_t numofAttrs() const;
    /// The name list, duplicates included. Rebuilt on each call: valid until the next call
    /// or change.
    const AttrNames& getAttrNames() const;
    /// Copies of the attributes by name. Rebuilt on each call: valid until the next call or
    /// change.
    const AttrMap& getAttrMap() const;
    /// Deletes every attribute.
    void clearAttrs();

    ///@{

    /// The child of that name (the one added last); created and added when missing.
    XMLNode& child(const istr& name);
    XMLNode& operator[](const istr& name) { return child(name); }
    ///@}

    ///@{

    /// The child of that name, or XMLNode::null().
    const XMLNode& child(const istr& name) const;
    const XMLNode& operator[](const istr& name) const { return child(name); }
    ///@}

    /// Child `i`, or XMLNode::null() past the end.
    const XMLNode& child(size_t i) const;
    /// The number of children.
    size_t numofChildren() const { return children_.size(); }
    /// The children in order; they stay owned by this node.
    const ChildNodes& getChildNodes() const { return children_; }
    /// The children by name (the one entered last under each name).
    const ChildNodeMap& getChildNodeMap() const;

    /// The subtree as XML text; names, values and character data are written as stored
    /// (unescaped). `formatted` puts each child on its own line, indented by four blanks per
    /// level below `depth`. The null node gives "".
    String str(bool formatted = true, unsigned depth = 0) const;
    /// Appends str(formatted, depth) to `out`.
    void str(String& out, bool formatted, unsigned depth) const;

    ///@{

    /// Nodes come from the small-block pool (zul/base/pool.h); new throws std::bad_alloc.
    static void* operator new(std::size_t size);
    static void operator delete(void* p, std::size_t size) noexcept;
    ///@}

  private:
    friend class XMLParser;
    struct Extra;

    size_t findAttr(const istr& name) const;
    XMLAttr* insertAttr(XMLAttr&& a);
    XMLNode* findChild(const istr& name) const;
    XMLNode* lastNamed(const istr& name) const;
    void childRenamed(XMLNode* c, const istr& newName);
    ChildNodeMap& childMap() const;
    Extra& extra() const;
    void copyContent(const XMLNode& o);

    String name_;
    String cdata_;
    // Each distinct attribute once, in order of first insertion; owned.
    std::vector<XMLAttr*> attrs_;
    std::vector<XMLNode*> children_;
    XMLNode* parent_;
    // The child last entered under the empty name and since renamed (the parser names its
    // nodes after adding them), for the look-up rules while no index is built.
    XMLNode* unnamedEntry_;
    // Rarely needed state (name list with duplicates, indexes, rebuilt views), made on demand.
    mutable Extra* extra_;
};

/// Writes `n.str(true, 0)`.
ZUL_API std::ostream& operator<<(std::ostream& os, const XMLNode& n);

}  // namespace xml
}  // namespace zul
