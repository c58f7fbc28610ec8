#pragma once

#include <string_view>

#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

/// Why no server could read that document: ErrorValueOutOfRange (384) with the element that holds a
/// character which XML forbids. "No error" for one that can be sent.
[[nodiscard]] TWError errorOfRequest(std::string_view document);

}  // namespace tarnwell::detail
