#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell {

/// A copy without the white space at both ends: blanks, tabs, line ends, form feeds.
[[nodiscard]] std::string stringByTrimming(std::string_view text);

/// A copy with A to Z as a to z; other characters stay. For host names and header names, where only
/// these letters fold.
[[nodiscard]] std::string lowercased(std::string_view text);

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

}  // namespace tarnwell
