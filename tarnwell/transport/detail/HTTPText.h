#pragma once

#include <algorithm>
#include <string_view>

namespace tarnwell::detail {

/// True for a method or the name of a header field: one or more of the characters that HTTP allows
/// there.
[[nodiscard]] constexpr bool isToken(std::string_view text) noexcept {
  constexpr std::string_view kPunctuation = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           kPunctuation.find(c) != std::string_view::npos;
  });
}

/// False for what would end a header line and begin another one, or end a C string.
[[nodiscard]] constexpr bool staysOnItsLine(std::string_view text) noexcept {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

}  // namespace tarnwell::detail
