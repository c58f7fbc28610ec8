#pragma once

#include <initializer_list>
#include <string_view>

#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell::detail {

/// ErrorValueOutOfRange, with a message as of `formatMessage`.
[[nodiscard]] inline TWError badValue(std::string_view format,
                                      std::initializer_list<TWValue> values = {}) {
  return {TWErrorCode::ErrorValueOutOfRange, formatMessage(format, values)};
}

}  // namespace tarnwell::detail
