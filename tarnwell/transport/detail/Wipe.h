#pragma once

#include <string>

namespace tarnwell::detail {

/// Overwrites the text before its memory goes back, in a way that no compiler leaves out.
void wipe(std::string& text) noexcept;

}  // namespace tarnwell::detail
