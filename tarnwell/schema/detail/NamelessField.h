#pragma once

#include "tarnwell/schema/TWField.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

/// The error of a field that would have to be named in a request, and has no name there.
[[nodiscard]] TWError namelessField(const TWField& field);

}  // namespace tarnwell::detail
