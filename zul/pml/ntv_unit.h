// zul::pml::ntv::Unit, the node of the named typed value tree, and ValueBase, the abstract
// value it holds (one text, or an ordered list of child nodes).
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/noncopyable.h>
#include <zul/base/pool.h>
#include <zul/pml/pml_show.h>

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zul {

class dumper;
class Time;

namespace detail {

/// Orders the keys of a node's children index and lets them be found by any text view.
struct NtvKeyLess {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept {
        // Sibling names mostly differ in their first character: settle those inline.
        if (!a.empty() && !b.empty() && a[0] != b[0]) {
            return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]);
        }
        return a < b;
    }
};

}  // namespace detail

namespace pml {
namespace ntv {

class Unit;
class StringValue;
class ListValue;

/// The process-wide empty node returned by reference lookups that find nothing. It is an
/// ordinary node; callers treat it as read-only.
ZUL_API Unit& null_unit();

/// Abstract value of a node: a text (StringValue) or a list of children (ListValue).
class ZUL_API ValueBase : public zul::noncopyable {
  public:
    /// A value held by `owner` (not owned; null until a node installs it).
    explicit ValueBase(Unit* owner) : owner_(owner) {}
    /// Releases the text, or with a list every child.
    virtual ~ValueBase();

    /// True for a text value, false for a list.
    virtual bool single() const = 0;
    /// A deep copy with a null owner, allocated through the allocation helpers.
    virtual ValueBase* clone() const = 0;
    /// Writes the value to a stream.
    virtual void dump(std::ostream& os) const = 0;
    /// Writes the value through a dumper.
    virtual void dump(zul::dumper& d) const = 0;

    ///@{

    /// Values (of every kind: the virtual destructor passes the real size) live in the
    /// per-thread chunks of zul/base/pool.h; new throws std::bad_alloc when memory runs out,
    /// and the placement forms use and release nothing of their own.
    static void* operator new(std::size_t size) { return zul::detail::poolAllocate(size); }
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void* p, std::size_t size) noexcept {
        zul::detail::poolRelease(p, size);
    }
    static void operator delete(void*, void*) noexcept {}
    ///@}

    ///@{

    /// The node that holds this value (not owned).
    Unit*& owner() { return owner_; }
    Unit* const& owner() const { return owner_; }
    ///@}

  protected:
    Unit* owner_;  ///< The holding node (not owned); set by the node that installs the value.
};

/// A named, typed node holding no value, one text value or an ordered list of children.
///
/// A list owns its children; parent pointers and indexes never own. Names of the named
/// children of one node are unique (adding a duplicate raises std::invalid_argument
/// "duplicated unit" and leaves the tree as it was); an unnamed child is found under the key
/// "[" + index + "]". A tree is not synchronised: one thread at a time.
class ZUL_API Unit {
  public:
    /// The children index: a named child under its name, an unnamed one under "[index]".
    using ChildrenMap = std::map<String, Unit*, zul::detail::NtvKeyLess,
                                 zul::detail::PoolAllocator<std::pair<const String, Unit*>>>;

    ///@{

    /// Nodes live in the per-thread chunks of zul/base/pool.h; new throws std::bad_alloc when
    /// memory runs out, and the placement forms use and release nothing of their own.
    static void* operator new(std::size_t size) { return zul::detail::poolAllocate(size); }
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void* p, std::size_t size) noexcept {
        zul::detail::poolRelease(p, size);
    }
    static void operator delete(void*, void*) noexcept {}
    ///@}

    /// Empty name, type and value; a null parent makes a root.
    explicit Unit(Unit* parent = nullptr);
    /// Named, no value.
    explicit Unit(istr name, Unit* parent = nullptr);
    /// Unnamed; takes ownership of `value` (the caller keeps it if this throws).
    explicit Unit(ValueBase* value, Unit* parent = nullptr);
    /// Takes ownership of `value` (the caller keeps it if this throws).
    Unit(istr name, istr type, ValueBase* value, Unit* parent = nullptr);
    /// A text node.
    Unit(istr name, istr type, istr value, Unit* parent = nullptr);
    /// Name, type and a deep copy of the value; parent null, index 0. The copied children
    /// get the parents and indexes addChild would give them.
    Unit(const Unit& other);
    /// Destroys the value and, with a list, every descendant (without deep recursion).
    ~Unit();

    // ---- names, types and values ----
    ///@{

    /// The name, empty for an unnamed node; a change through the reference does not re-key
    /// the node in its parent's index.
    String& name() { return name_; }
    const String& name() const { return name_; }
    ///@}

    /// Sets the name; the parent's index keeps the old key.
    Unit& name(istr n);
    /// The type label, empty when untyped.
    const String& type() const { return type_; }
    /// Sets the type label (a null view empties it); returns this node.
    Unit& type(istr t);

    /// The value, or null when there is none.
    ValueBase* value() const { return value_; }
    /// Installs `v` (taking ownership) and rebuilds the children index. A different value
    /// still installed is released first. If `v` is a list with duplicate names this throws
    /// and the node is unchanged (the caller keeps `v`).
    void value(ValueBase* v);
    /// Same as setValue.
    void value(istr text) { setValue(text); }
    /// Makes this a text node holding `text`; a list and all its children are destroyed.
    void setValue(istr text);
    /// Detaches the value and returns it (the caller owns it); the index is emptied.
    ValueBase* popValue();
    /// Destroys the value (with a list, every child) and empties the index.
    void clearValue();
    /// Empties name and type, destroys the value, makes this a root at index 0.
    void clear();
    /// Destroys the value and installs a new empty list.
    void initValueAsList();

    ///@{

    /// Stores the value as that kind, or null when it is of the other kind or missing;
    /// returns whether it was stored.
    bool getValue(ListValue*& out) const;
    bool getValue(StringValue*& out) const;
    ///@}

    /// The text value (still owned by the node), or null for no value or a list.
    StringValue* stringValue() const;
    /// The list value (still owned by the node), or null for no value or a text.
    ListValue* listValue() const;
    /// A view of the text, or an empty view when this is not a text node.
    istr getStringValue() const;

    /// Name, type and value all empty.
    bool empty() const { return name_.empty() && type_.empty() && value_ == nullptr; }
    /// No value, or a text value.
    bool simple() const;
    /// No value: true; a list: false; a text: whether it is empty.
    bool valueEmpty() const;
    /// No value, a text, an empty list, or exactly one child that is itself childWasSingle.
    bool childWasSingle() const;
    /// A list of at least two children, all unnamed and all typed.
    bool childrenWereUnnamedList() const;

    // ---- children ----
    /// Appends a free node (taking ownership on success). False for null. A text value
    /// becomes the unnamed first child. A duplicate name throws std::invalid_argument and
    /// leaves the tree unchanged; the caller keeps `child`.
    bool addChild(Unit* child);
    ///@{

    /// Appends a new child named `name` (unnamed when empty), holding the text `value` with
    /// the type `type` where given; true. A duplicate name throws std::invalid_argument
    /// "duplicated unit": the new child is destroyed and the tree is unchanged.
    bool addChild(istr name);
    bool addChild(istr name, istr value);
    bool addChild(istr name, istr type, istr value);
    ///@}

    /// Appends a deep copy of `u`.
    bool addChild(const Unit& u);
    /// Unnamed child: appended (addChild's result). Named: the child of that name (created
    /// if missing) takes name, type and value of `child`, which is destroyed; returns false.
    bool addOrUpdateChild(Unit* child);
    /// Appends a copy of every child of a list `other`, in order, as `addChild(const Unit&)`
    /// does; nothing for a simple `other`. On a duplicate name the children appended before it
    /// stay and `std::invalid_argument` "duplicated unit" goes out.
    Unit& operator+=(const Unit& other);

    /// The number of children, 0 for a simple node.
    size_t numofChildren() const;
    /// The i-th child, or null (with an error record) when this is not a list or i is past
    /// the end.
    Unit* childAt(size_t i) const;
    /// childAt(i), or the empty node when there is none.
    Unit& operator()(size_t i) const;
    /// "" and "." give this node, "/" the root, ".." the parent (null for a root); any other
    /// text is one key (a name or "[i]"); null when not found.
    Unit* at(istr path) const;
    ///@{

    /// at(path) const over the text from `begin` up to `end`.
    Unit* at(const char* begin, const char* end) const;
    Unit* at(const unsigned char* begin, const unsigned char* end) const;
    ///@}

    /// at(path), or the empty node when that is null.
    Unit& operator[](istr path) const;
    ///@{

    /// The child under `key`, created (named `key`) and appended when missing. `key` is
    /// only a key here: on a non-const node "..", "." and "/" name children, not places; an
    /// empty key appends a new unnamed child at each call.
    Unit* at(istr key);
    Unit& operator[](istr key) { return *at(key); }
    ///@}

    /// False when at(path) finds nothing; otherwise `out` = its text (empty for a list).
    bool getChild(istr path, String& out) const;

    /// The node whose list holds this one (not owned), or null for a root.
    Unit* parent() const { return parent_; }
    /// The position in the parent's list, from 0; 0 for a root.
    size_t index() const { return index_; }
    /// The topmost ancestor (this node when it has no parent).
    Unit* root() const;
    ///@{

    /// Set the fields only; no other bookkeeping.
    void parent(Unit* p) { parent_ = p; }
    void index(size_t i) { index_ = i; }
    ///@}

    /// "/" for a root, otherwise "/" + name (or "[index]") for each node below the root.
    String path() const;

    /// The empty node (null_unit()).
    static Unit& null();

    // ---- PML text (written by the PML writers) ----
    /// The node's PML text in the given layout and pattern (empty for an unknown mode).
    String str(ShowMode mode, ShowPattern pattern) const;
    /// Appends the node's PML text in the given layout and pattern to `out`.
    void toString(String& out, ShowMode mode, ShowPattern pattern) const;
    /// Writes, as raw text, name, ":type" when typed, then the list as an unnamed object or
    /// "(text)".
    void dump(zul::dumper& d) const;

    // ---- copying between nodes ----
    /// Copies name, type and value (deep); parent and index stay. All or nothing.
    Unit& operator=(const Unit& other);
    /// Copies type and value (deep); the name stays. All or nothing.
    void operator<<(const Unit& other);
    /// target << *this; true.
    bool operator>>(Unit& target) const;

    // ---- typed insertion: the value becomes the text form of the argument (a list is
    // discarded, see setValue) ----
    ///@{

    /// "1" or "0".
    void operator<<(bool v);
    void operator<<(Bit v);
    ///@}

    ///@{

    /// The character itself.
    void operator<<(char v);
    void operator<<(unsigned char v);
    ///@}

    ///@{

    /// Decimal.
    void operator<<(short v);
    void operator<<(unsigned short v);
    void operator<<(int v);
    void operator<<(unsigned int v);
    void operator<<(long v);
    void operator<<(unsigned long v);
    void operator<<(long long v);
    void operator<<(unsigned long long v);
    void operator<<(Short v);
    void operator<<(Ushort v);
    void operator<<(Long v);
    void operator<<(Ulong v);
    void operator<<(Longlong v);
    ///@}

    /// Decimal, as an unsigned 16-bit number.
    void operator<<(Byte v);
    ///@{

    /// General notation, 6 significant digits.
    void operator<<(float v);
    void operator<<(double v);
    ///@}

    /// A backslash, "u" and four upper-case hex digits of the low 16 bits.
    void operator<<(Wchar v);
    ///@{

    /// The text itself; a null pointer stores an empty text.
    void operator<<(istr v);
    void operator<<(const char* v);
    void operator<<(const unsigned char* v);
    void operator<<(const std::string& v);
    void operator<<(const String& v);
    ///@}

    ///@{

    /// Base64 of the UTF-8 form; the type becomes "utf8". A null pointer stores an empty text.
    void operator<<(iwstr v);
    void operator<<(const wchar_t* v);
    void operator<<(const std::wstring& v);
    ///@}

    /// Base64 of the bytes; the type becomes "base64".
    void operator<<(const Bytes& v);
    /// The full date-time text (local time, microseconds).
    void operator<<(const Time& v);

    // ---- typed extraction: false, with the target unchanged, unless this is a text node
    // whose text converts ----
    ///@{

    /// "true", "false", or a number read as bool ("1", "0").
    bool operator>>(bool& v) const;
    bool operator>>(Bit& v) const;
    ///@}

    ///@{

    /// The first non-blank character.
    bool operator>>(char& v) const;
    bool operator>>(unsigned char& v) const;
    ///@}

    ///@{

    /// The text read as a number by the library's text-to-value rule (zul::operator>>); false
    /// on an empty text or one that does not convert.
    bool operator>>(short& v) const;
    bool operator>>(unsigned short& v) const;
    bool operator>>(int& v) const;
    bool operator>>(unsigned int& v) const;
    bool operator>>(long& v) const;
    bool operator>>(unsigned long& v) const;
    bool operator>>(long long& v) const;
    bool operator>>(unsigned long long& v) const;
    bool operator>>(float& v) const;
    bool operator>>(double& v) const;
    bool operator>>(Short& v) const;
    bool operator>>(Ushort& v) const;
    bool operator>>(Long& v) const;
    bool operator>>(Ulong& v) const;
    bool operator>>(Longlong& v) const;
    ///@}

    /// Read as an unsigned 16-bit number; the low 8 bits are stored.
    bool operator>>(Byte& v) const;
    ///@{

    /// Read as the plain type into a temporary, copied to `v` only on success.
    bool operator>>(volatile bool& v) const;
    bool operator>>(volatile char& v) const;
    bool operator>>(volatile unsigned char& v) const;
    bool operator>>(volatile short& v) const;
    bool operator>>(volatile unsigned short& v) const;
    bool operator>>(volatile int& v) const;
    bool operator>>(volatile unsigned int& v) const;
    bool operator>>(volatile long& v) const;
    bool operator>>(volatile unsigned long& v) const;
    bool operator>>(volatile long long& v) const;
    bool operator>>(volatile unsigned long long& v) const;
    bool operator>>(volatile float& v) const;
    bool operator>>(volatile double& v) const;
    ///@}

    /// Reset to 0 first; exactly a backslash, "u" and four hex digits.
    bool operator>>(Wchar& v) const;
    /// The whole text.
    bool operator>>(String& v) const;
    /// Cleared first; type "utf8": Base64 of UTF-8, otherwise the 8-bit text decoded.
    bool operator>>(std::wstring& v) const;
    /// The text Base64-decoded, whatever the type.
    bool operator>>(Bytes& v) const;
    /// Time::fromString of the text (full date-time format); false when that raises
    /// InvalidDataException, other exceptions pass.
    bool operator>>(Time& v) const;

  private:
    friend class ListValue;

    /// Runs after construction: owner of the value, parents, indexes and the index map.
    void init();
    /// Installs `v` as the value with a prebuilt index; parents and indexes are set.
    void commit(ValueBase* v, ChildrenMap& map) noexcept;
    /// Builds the index of the children of `v` into `map`; throws on a duplicate name.
    static void buildMap(const ValueBase* v, ChildrenMap& map);
    /// Enters `child` into `map` under its key (its name, or "[index]"); a named child whose
    /// name is present throws, an index key already present keeps the earlier entry.
    static void indexChild(ChildrenMap& map, Unit* child);
    /// Destroys the value through the helpers, tagged with `func`; empties the index.
    void destroyValue(char const* func, unsigned int line) noexcept;
    /// Makes this node a list (keeping a text as the unnamed first child); the list.
    ListValue* ensureList();
    /// Whether a child named `n` would collide with an existing key.
    bool nameTaken(std::string_view n) const;
    /// Removes and destroys the last child (undoing a creation).
    void dropLastChild(char const* func, unsigned int line) noexcept;

    String name_;
    String type_;
    ValueBase* value_;
    Unit* parent_;
    size_t index_;
    ChildrenMap childrenMap_;
};

/// Writes the node as FORMATTED PML with the pattern NAME|TYPE|VALUE.
ZUL_API std::ostream& operator<<(std::ostream& os, const Unit& unit);
/// Appends the node as FORMATTED PML with the pattern NAME|TYPE|VALUE.
ZUL_API String& operator<<(String& s, const Unit& unit);
/// Makes the node a text node holding the text form of the pattern ("NAME TYPE VALUE").
ZUL_API void operator<<(Unit& unit, const ShowPattern& pattern);
/// Makes the node a text node holding the text form of the mode ("FORMATTED").
ZUL_API void operator<<(Unit& unit, const ShowMode& mode);

}  // namespace ntv
}  // namespace pml
}  // namespace zul

#include <zul/pml/ntv_listvalue.h>
#include <zul/pml/ntv_stringvalue.h>
