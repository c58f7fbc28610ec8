#pragma once

#include "tarnwell/schema/TWFieldOptions.h"

namespace tarnwell::detail {

/// The options with the value class that a kind of field always has, over the one given.
[[nodiscard]] inline TWFieldOptions withValueClass(TWFieldOptions options,
                                                   const TWElementClass& valueCls) {
  options.valueCls = &valueCls;
  return options;
}

}  // namespace tarnwell::detail
