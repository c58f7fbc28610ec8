#include "tarnwell/schema/detail/NamelessField.h"

#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell::detail {

TWError namelessField(const TWField& field) {
  return {TWErrorCode::ErrorValueOutOfRange,
          formatMessage("Field %@ has no name on the server", {field.options().name})};
}

}  // namespace tarnwell::detail
