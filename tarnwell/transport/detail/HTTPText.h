#pragma once

#include <algorithm>
#include <string_view>

namespace tarnwell::detail {

/// The names of header fields are ASCII and compared without regard to case, in every locale.
[[nodiscard]] constexpr char asciiLower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

[[nodiscard]] constexpr bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return asciiLower(x) == asciiLower(y); });
}

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
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

/// Without blanks and tabs at both ends.
[[nodiscard]] constexpr std::string_view trimmed(std::string_view text) noexcept {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace tarnwell::detail
