// StringValue: the text value of a value-tree node.
#include <zul/pml/ntv_detail.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/pml_writer.h>

#include <ostream>

namespace zul {
namespace pml {
namespace ntv {

StringValue::StringValue(Unit* owner) : ValueBase(owner) {}

StringValue::StringValue(istr text, Unit* owner) : ValueBase(owner), data_(text) {}

StringValue::~StringValue() = default;

StringValue* StringValue::create(istr text) {
    return zul::detail::ntvNew<StringValue>(__FILE__, __LINE__, "create", text,
                                            static_cast<Unit*>(nullptr));
}

ValueBase* StringValue::clone() const {
    return create(istr(data_));
}

void StringValue::dump(std::ostream& os) const {
    zul::pml::detail::pmlWriteValue(os, istr(data_));
}

}  // namespace ntv
}  // namespace pml
}  // namespace zul
