// zul::pml::ntv::StringValue: the text value of a value-tree node.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/pml/ntv_unit.h>

#include <iosfwd>

namespace zul {
namespace pml {
namespace ntv {

/// A text value; every scalar of the tree is kept as text.
class ZUL_API StringValue : public ValueBase {
  public:
    /// Empty text, held by `owner` (not owned).
    explicit StringValue(Unit* owner);
    /// A copy of `text` (empty for a null view), held by `owner` (not owned).
    StringValue(istr text, Unit* owner);
    /// Releases the text.
    ~StringValue() override;

    /// A new value with a null owner, allocated through the allocation helpers; the caller
    /// owns it until a node installs it.
    static StringValue* create(istr text);

    ///@{

    /// Replaces the text with a copy of `text`; a null view empties it.
    StringValue& operator=(istr text) {
        data_ = text;
        return *this;
    }
    void assign(istr text) { data_ = text; }
    ///@}

    /// The text.
    const String& data() const { return data_; }

    bool single() const override { return true; }
    ValueBase* clone() const override;
    /// Writes the text by the PML value rule: quoted and "^"-escaped when it needs it.
    void dump(std::ostream& os) const override;
    /// Writes the text unchanged.
    void dump(zul::dumper& d) const override;

  private:
    String data_;
};

}  // namespace ntv
}  // namespace pml
}  // namespace zul
