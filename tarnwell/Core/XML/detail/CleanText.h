#pragma once

#include <string>
#include <string_view>

namespace tarnwell::detail {

/// True for well-formed UTF-8 without NULs.
[[nodiscard]] bool isCleanText(std::string_view text) noexcept;
/// The text with U+FFFD for every ill-formed sequence and every NUL.
[[nodiscard]] std::string repairedText(std::string_view text);

}  // namespace tarnwell::detail
