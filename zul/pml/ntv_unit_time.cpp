// Typed access to a value-tree node for zul::Time: the full date-time text in local time.
#include <zul/base/base_type_time.h>
#include <zul/base/exception.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/ntv_unit.h>

namespace zul {
namespace pml {
namespace ntv {

void Unit::operator<<(const Time& v) {
    charray<63> text;
    v.toFullDateTime(text.out());
    setValue(istr(text));
}

bool Unit::operator>>(Time& v) const {
    const StringValue* sv = stringValue();
    if (sv == nullptr) return false;
    try {
        v = Time::fromString(istr(sv->data()), nullptr);
    } catch (const InvalidDataException&) {
        return false;
    }
    return true;
}

}  // namespace ntv
}  // namespace pml
}  // namespace zul
