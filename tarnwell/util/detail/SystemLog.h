#pragma once

#include <string_view>

namespace tarnwell::detail {

/// Writes one line to the platform's log, which is the standard error stream. The text is never
/// used as a format. Lines of several threads do not mix.
void systemLog(std::string_view line) noexcept;

}  // namespace tarnwell::detail
