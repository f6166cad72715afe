// The dumper forms of the value tree: a node as "name:type(text)" or "name:type{...}".
#include <zul/log/log_dumper.h>
#include <zul/pml/ntv_listvalue.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/ntv_unit.h>

namespace zul {
namespace pml {
namespace ntv {

void StringValue::dump(zul::dumper& d) const {
    d.write(data_);
}

void ListValue::dump(zul::dumper& d) const {
    zul::dumper::_Entry e(d, "");
    for (Unit const* u : units_) {
        d << zul::indent << zul::namestring("");
        if (u != nullptr) d.write(*u);
        d << zul::endline;
    }
}

void Unit::dump(zul::dumper& d) const {
    d.write(name_);
    if (!type_.empty()) d.write(":").write(type_);
    if (value_ != nullptr && !value_->single()) {
        value_->dump(d);
        return;
    }
    d.write("(");
    if (value_ != nullptr) value_->dump(d);
    d.write(")");
}

}  // namespace ntv
}  // namespace pml
}  // namespace zul
