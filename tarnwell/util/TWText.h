#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell {

/// The text without the white space at both ends: blanks, tabs, line ends, form feeds. A view of
/// the same text.
[[nodiscard]] constexpr std::string_view trimmed(std::string_view text) noexcept {
  constexpr std::string_view kBlanks = " \t\r\n\f\v";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}
/// The same as a text of its own.
[[nodiscard]] std::string stringByTrimming(std::string_view text);

/// A to Z become a to z, all else stays, in every locale. For host names, names of header fields
/// and the like, where only these letters fold.
[[nodiscard]] constexpr char lowercased(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
[[nodiscard]] std::string lowercased(std::string_view text);
[[nodiscard]] constexpr bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowercased(x) == lowercased(y); });
}

/// The text in lower case, letters of every script included, by the rules of no language. For what
/// people write, such as mail addresses.
[[nodiscard]] std::string lowercasedUnicode(std::string_view text);

/// True for a text that is a valid regular expression.
[[nodiscard]] bool isRegularExpression(std::string_view text);

/// The shortest decimal text that reads back as the same number: "3", "0.1", "1000000000000000".
/// Numbers from 1e21 up and below 1e-7 have an exponent; what is no number is "NaN", "INF", "-INF".
/// The process's locale plays no part.
[[nodiscard]] std::string decimalText(double number);

/// The number that the whole text is: sign, digits, fraction, exponent. Absent for anything else,
/// blanks around it included. The process's locale plays no part.
[[nodiscard]] std::optional<double> parseDecimal(std::string_view text);

/// The whole number that the whole text is, within 64 signed bits.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text);

/// The whole number that the text begins with, after blanks: "12 KB" is 12, "x" is 0. Saturates at
/// the ends of 64 signed bits.
[[nodiscard]] std::int64_t leadingInteger(std::string_view text);

/// The length of a UTF-8 text in UTF-16 code units, which is how EWS counts: characters outside the
/// basic plane are two.
[[nodiscard]] std::size_t utf16Length(std::string_view text) noexcept;

}  // namespace tarnwell
