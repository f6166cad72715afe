// zul::pml::ntv::ListValue: the ordered children of a value-tree node.
#pragma once

#include <zul/base/api.h>
#include <zul/pml/ntv_unit.h>

#include <cstddef>
#include <iosfwd>
#include <vector>

namespace zul {
namespace pml {
namespace ntv {

/// The list value of a node; it owns its children.
class ZUL_API ListValue : public ValueBase {
  public:
    using Units = std::vector<Unit*>;  ///< The children in list order, each owned by the list.
    ///@{

    /// Iterators over the children in list order.
    using iterator = Units::iterator;
    using const_iterator = Units::const_iterator;
    ///@}

    /// An empty list.
    explicit ListValue(Unit* owner);
    /// A list of deep copies of `units`; copied descendants get the parents and indexes
    /// addChild would give them. Throws std::invalid_argument ("duplicated unit") when a
    /// copied node holds two children of one name; nothing is left behind then.
    ListValue(const Units& units, Unit* owner);
    /// Destroys every child.
    ~ListValue() override;

    /// Appends without any checks, taking ownership; the holding node's children index and
    /// the parent and index of `u` are left as they are.
    void push_back(Unit* const& u) { units_.push_back(u); }
    /// Makes room for `n` children in all, so that appending up to that many allocates once.
    void reserve(size_t n) { units_.reserve(n); }
    /// True when the list holds no child.
    bool empty() const { return units_.empty(); }
    /// The number of children.
    size_t size() const { return units_.size(); }
    ///@{

    /// The first child, and the end of the children (the list keeps owning them).
    iterator begin() { return units_.begin(); }
    iterator end() { return units_.end(); }
    const_iterator begin() const { return units_.begin(); }
    const_iterator end() const { return units_.end(); }
    ///@}

    /// The children in list order (the list keeps owning them).
    const Units& data() const { return units_; }

    /// The i-th child, or null (with an error record) when i is not below size().
    Unit* at(size_t i) const;
    /// Destroys every child, however deep the tree, and empties the list.
    void clear();

    bool single() const override { return false; }
    /// A deep copy with a null owner.
    ValueBase* clone() const override;
    /// Writes every child as FORMATTED PML (NAME|TYPE|VALUE), each followed by a newline and
    /// a flush.
    void dump(std::ostream& os) const override;
    /// An unnamed object holding one unnamed field per child.
    void dump(zul::dumper& d) const override;

  private:
    friend class Unit;

    /// Appends deep copies of `src`, whose parent will be `owner` (possibly null for now).
    void copyFrom(const Units& src, Unit* owner);

    Units units_;
};

}  // namespace ntv
}  // namespace pml
}  // namespace zul
