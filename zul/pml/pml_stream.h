// Object binding: zul::pml::stream, a value-tree node with a direction through which a class
// saves and loads its members in one codec(stream&) member, and the member binding Field__<T>.
#pragma once

#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/log/log_dumper.h>
#include <zul/pml/ntv_detail.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_reader.h>
#include <zul/pml/pml_show.h>

#include <cstddef>
#include <iterator>
#include <map>
#include <ostream>
#include <utility>

namespace zul {

/// An output iterator over a map: assigning a (key, value) pair through it replaces any
/// entry with that key, so a later pair wins over an earlier one with the same key.
template <class Map>
class pair_update_iterator {
  public:
    ///@{

    /// The traits of an output iterator: nothing is read through it.
    using iterator_category = std::output_iterator_tag;
    using value_type = void;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = void;
    ///@}

    /// Writes into `m`, which is not owned and must outlive the iterator.
    explicit pair_update_iterator(Map& m) : map_(&m) {}

    /// Removes any entry with the key `kv.first`, then inserts `kv`; returns this iterator.
    template <class K, class V>
    pair_update_iterator& operator=(std::pair<K, V> const& kv) {
        map_->erase(kv.first);
        map_->insert(typename Map::value_type(kv.first, kv.second));
        return *this;
    }
    ///@{

    /// This iterator itself: writing through it needs no dereference or step.
    pair_update_iterator& operator*() { return *this; }
    pair_update_iterator& operator++() { return *this; }
    pair_update_iterator& operator++(int) { return *this; }
    ///@}

  private:
    Map* map_;
};

namespace pml {

/// Tag that selects the file overloads of stream's constructor and from().
struct from_file {};

/// An object that carries a name; stream::operator[] accepts it in place of the name.
class name_id {
  public:
    /// The object's name as NUL-terminated text; null counts as empty text.
    virtual const char* name() const = 0;
    /// Destroys the object through the interface.
    virtual ~name_id() = default;
};

/// A value-tree node with a direction. A class describes its persistent members once, in a
/// codec(stream&) member that visits each through a Field__: on an output stream the visit
/// writes the member as a child, on an input stream it reads the member back. Not
/// synchronised: one thread at a time.
class stream {
  public:
    /// What codec does with the members; direction() returns it.
    enum Direction : int {
        OUTPUT = 0,  ///< writes the members into the node
        INPUT = 1    ///< reads the members back from the node
    };

    /// An empty node; an output stream.
    stream() = default;
    /// A copy of `u` (name, type, deep copy of the value); an input stream.
    explicit stream(const ntv::Unit& u) : direction_(INPUT) { unit_ = u; }
    ///@{

    /// Read from PML text (a whole node, or with `valueString` only a node's content); an
    /// input stream. A syntax error raises zul::pml::DecodeException.
    explicit stream(const istr& text, bool valueString = false) : direction_(INPUT) {
        from(text, valueString);
    }
    explicit stream(const iwstr& text, bool valueString = false) : direction_(INPUT) {
        from(text, valueString);
    }
    ///@}

    /// Read from the named file (a missing file leaves the node empty); an input stream.
    stream(const istr& filename, from_file tag, bool valueString = false) : direction_(INPUT) {
        from(filename, tag, valueString);
    }

    ///@{

    /// Replaces the node by the text's node (or, with `valueString`, by a node holding the
    /// text's content); the parser's result. The direction is not changed.
    bool from(const istr& text, bool valueString = false) {
        return valueString ? ntvFromValueString(unit_, text) : ntvFromPml(unit_, text);
    }
    bool from(const iwstr& text, bool valueString = false) {
        return valueString ? ntvFromValueString(unit_, text) : ntvFromPml(unit_, text);
    }
    ///@}

    /// The same from the named file; a file that cannot be opened leaves the node empty.
    void from(const istr& filename, from_file, bool valueString = false) {
        const File file(filename);
        if (valueString)
            ntvFromValueString(unit_, file);
        else
            ntvFromPml(unit_, file);
    }

    /// Switches to reading; allowed on a constant stream.
    void setAsInputStream() const { direction_ = INPUT; }
    /// Switches to writing and stores `option`, which the library's own bindings do not
    /// consult: it is kept for bindings that want a second way of writing themselves.
    void setAsOutputStream(bool option = false) const {
        direction_ = OUTPUT;
        option_ = option;
    }
    /// Whether codec reads the members (INPUT).
    bool isInputStream() const { return direction_ == INPUT; }
    /// Whether codec writes the members (OUTPUT).
    bool isOutputStream() const { return direction_ == OUTPUT; }
    /// The direction, INPUT or OUTPUT.
    int direction() const { return direction_; }
    /// The value stored by the last setAsOutputStream (false at first).
    bool outputOption() const { return option_; }
    /// "output", "input", or "undefined" for any other direction.
    const char* directionText() const {
        return direction_ == OUTPUT ? "output" : direction_ == INPUT ? "input" : "undefined";
    }

    ///@{

    /// The stream's node (the root of its tree), owned by the stream.
    ntv::Unit& unit() { return unit_; }
    const ntv::Unit& unit() const { return unit_; }
    ///@}

    /// True when the path finds nothing, a node without value or a node with an empty text;
    /// false for a list, even an empty one.
    bool isEmptyChild(const istr& name) const {
        const ntv::Unit* child = unit_.at(name);
        return child == nullptr || child->valueEmpty();
    }

    /// The child found by the path, or the shared empty node (treat it as read-only).
    ntv::Unit& operator[](const istr& name) const { return unit_[name]; }
    /// The child of that name, created and appended when missing.
    ntv::Unit& operator[](const istr& name) { return unit_[name]; }
    /// As operator[](const istr&) const, with the name of `id`.
    ntv::Unit& operator[](const name_id& id) const { return unit_[istr(id.name())]; }
    /// As operator[](const istr&), with the name of `id`.
    ntv::Unit& operator[](const name_id& id) { return unit_[istr(id.name())]; }

    /// The node as PML, FORMATTED or COMPACT, pattern NAME|TYPE|VALUE.
    String toPml(bool formatted = false) const {
        return unit_.str(formatted ? FORMATTED : COMPACT, NAME | TYPE | VALUE);
    }
    /// The node as PML in the given layout and pattern.
    String str(ShowMode mode, ShowPattern pattern) const { return unit_.str(mode, pattern); }
    /// Appends the same text as str() to `out`.
    void toString(String& out, ShowMode mode, ShowPattern pattern) const {
        unit_.toString(out, mode, pattern);
    }

    /// The object "zul::pml::stream" with "direction_" (its text form) and "unit_".
    void dump(dumper& d) const {
        dumper::_Entry entry(d, "zul::pml::stream");
        d << indent << namestring("direction_") << directionText() << endline;
        d << indent << namestring("unit_");
        unit_.dump(d);
        d << endline;
    }

  private:
    ntv::Unit unit_;
    mutable int direction_ = OUTPUT;
    mutable bool option_ = false;
};

/// Appends the node as FORMATTED PML, pattern NAME|TYPE|VALUE.
inline String& operator<<(String& out, const stream& s) {
    s.toString(out, FORMATTED, NAME | TYPE | VALUE);
    return out;
}
/// Writes the node as COMPACT PML, pattern NAME|TYPE|VALUE.
inline std::ostream& operator<<(std::ostream& os, const stream& s) {
    return os << s.str(COMPACT, NAME | TYPE | VALUE);
}
/// `target` takes the stream node's type and a copy of its value; its name stays.
inline void operator<<(ntv::Unit& target, const stream& s) {
    target << s.unit();
}
/// The stream's node takes the source's type and a copy of its value; its name stays.
inline void operator>>(const ntv::Unit& source, stream& s) {
    source >> s.unit();
}

namespace ntv {

/// Appends one child per map entry, in key order: named by the key, holding "1" or "0".
inline void output_(Unit& target, const std::map<String, Bit>& m) {
    for (const auto& kv : m) {
        Unit entry{istr(kv.first)};
        entry << kv.second;
        target.addChild(entry);
    }
}

/// Empties the map, then reads every child of `source` in order as an entry named by the
/// child (a text that does not convert gives false; a later duplicate name wins).
inline void input_(const Unit& source, std::map<String, Bit>& m) {
    m.clear();
    pair_update_iterator<std::map<String, Bit>> out(m);
    const size_t n = source.numofChildren();
    for (size_t i = 0; i < n; ++i) {
        const Unit& child = source(i);
        Bit b(false);
        child >> b;
        *out++ = std::make_pair(child.name(), b);
    }
}

}  // namespace ntv

/// One member binding, built on the spot inside a codec: the child's name, an optional type
/// label to write, and the member. The names are borrowed and must outlive the binding.
template <class T>
class Field__ {
  public:
    /// Binds `target` (not owned) under the child name `name`, writing the type label `type`
    /// unless it is empty.
    Field__(istr name, istr type, T* target)
        : fieldName_(name), fieldType_(type), target_(target) {}

    /// Reads the member from the child of that name: false, member untouched, when there is
    /// none; otherwise true, also when the text does not convert (the member then stays).
    bool get(const stream& s) const {
        const ntv::Unit* child = s.unit().at(fieldName_);
        if (child == nullptr) return false;
        readValue(*child, *target_);
        return true;
    }

    /// Appends a new child holding the member to the stream's node. A name bound twice
    /// raises std::invalid_argument ("duplicated unit"); the new node is released first.
    stream& set(stream& s) const {
        ntv::Unit* child = zul::detail::ntvNew<ntv::Unit>(__FILE__, __LINE__, "set");
        try {
            writeValue(*child, *target_);
            if (fieldType_.size != 0) child->type(fieldType_);
            child->name(fieldName_);
            s.unit().addChild(child);
        } catch (...) {
            zul::detail::ntvDelete(child, __FILE__, __LINE__, "set");
            throw;
        }
        return s;
    }

    /// set() on an output stream, get() on an input stream; true unless get() found nothing.
    bool codec(stream& s) const {
        if (s.isInputStream()) return get(s);
        set(s);
        return true;
    }

    /// The child's name.
    istr fieldName() const { return fieldName_; }
    /// The type label written, empty for none.
    istr fieldType() const { return fieldType_; }
    /// The bound member (not owned).
    T* target() const { return target_; }

  private:
    template <class U>
    static void readValue(const ntv::Unit& from, U& v) {
        from >> v;
    }
    static void readValue(const ntv::Unit& from, std::map<String, Bit>& v) { ntv::input_(from, v); }
    template <class U>
    static void writeValue(ntv::Unit& to, const U& v) {
        to << v;
    }
    static void writeValue(ntv::Unit& to, const std::map<String, Bit>& v) { ntv::output_(to, v); }

    istr fieldName_;
    istr fieldType_;
    T* target_;
};

/// Binds `member` under `name` on `s` by its direction: Field__(name, "", &member).codec(s).
template <class T>
bool bind(stream& s, istr name, T& member) {
    return Field__<T>(name, istr(), &member).codec(s);
}

}  // namespace pml
}  // namespace zul
