#include "tarnwell/schema/TWValueClass.h"

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

bool TWValueClass::hasInstance(const TWValue& value) const {
  switch (kind_) {
    case Kind::none:
      return false;
    case Kind::number:
      return value.isNumber();
    case Kind::text:
      return value.isText();
    case Kind::data:
      return value.kind() == TWValue::Kind::data;
    case Kind::date:
      return value.kind() == TWValue::Kind::date;
    case Kind::timeZone:
      return value.kind() == TWValue::Kind::timeZone;
    case Kind::element: {
      const auto element = value.asObject<TWEWSElement>();
      return element && element->cls().isKindOf(*elements_);
    }
  }
  return false;
}

}  // namespace tarnwell
