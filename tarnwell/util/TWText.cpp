#include "tarnwell/util/TWText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <system_error>

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

namespace tarnwell {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Of a decimal number without a sign: whether its first digit that counts is behind the point,
/// once the exponent has moved it.
bool isBelowOne(std::string_view number) {
  const auto end = std::min(number.find_first_of("eE"), number.size());
  const auto mantissa = number.substr(0, end);
  const auto point = std::min(mantissa.find('.'), mantissa.size());
  const auto first = mantissa.find_first_of("123456789");
  const double place =
      first < point ? static_cast<double>(point - first - 1) : -static_cast<double>(first - point);
  const auto exponent = number.substr(std::min(end + 1, number.size()));
  return place + static_cast<double>(leadingInteger(exponent)) < 0;
}

}  // namespace

std::string stringByTrimming(std::string_view text) { return std::string(trimmed(text)); }

std::string lowercased(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = lowercased(c);
  return out;
}

std::string lowercasedUnicode(std::string_view text) {
  std::string out;
  icu::UnicodeString::fromUTF8(icu::StringPiece(text))
      .toLower(icu::Locale::getRoot())
      .toUTF8String(out);
  return out;
}

bool isRegularExpression(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::RegexPattern> pattern(
      icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(icu::StringPiece(text)), 0, status));
  return U_SUCCESS(status) != 0 && pattern != nullptr;
}

std::string decimalText(double number) {
  if (std::isnan(number)) return "NaN";
  if (std::isinf(number)) return number < 0 ? "-INF" : "INF";
  if (number == 0) return "0";
  const double size = std::abs(number);
  const auto format =
      size < 1e21 && size >= 1e-7 ? std::chars_format::fixed : std::chars_format::scientific;
  std::array<char, 64> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, format);
  return {buffer.data(), end.ptr};
}

std::optional<double> parseDecimal(std::string_view text) {
  std::string_view digits = text;
  if (digits.starts_with('+') || digits.starts_with('-')) digits.remove_prefix(1);
  // Keeps out what from_chars would take besides: "inf", "nan" and a second sign.
  if (digits.empty() || (!isDigit(digits[0]) && digits[0] != '.')) return std::nullopt;
  double number = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (read.ptr != digits.data() + digits.size()) return std::nullopt;
  if (read.ec == std::errc::result_out_of_range) {
    // from_chars does not tell too large from too small.
    number = isBelowOne(digits) ? 0 : std::numeric_limits<double>::infinity();
  } else if (read.ec != std::errc()) {
    return std::nullopt;
  }
  return text[0] == '-' ? -number : number;
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
  if (text.starts_with('+') && text.size() > 1 && isDigit(text[1])) text.remove_prefix(1);
  std::int64_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

std::int64_t leadingInteger(std::string_view text) {
  std::size_t at = text.find_first_not_of(" \t\r\n");
  if (at == std::string_view::npos) return 0;
  const bool negative = text[at] == '-';
  if (negative || text[at] == '+') ++at;
  std::int64_t number = 0;
  using Limits = std::numeric_limits<std::int64_t>;
  for (; at < text.size() && isDigit(text[at]); ++at) {
    // Counts downwards, since the negative range is the larger one.
    if (__builtin_mul_overflow(number, 10, &number) ||
        __builtin_sub_overflow(number, text[at] - '0', &number)) {
      return negative ? Limits::min() : Limits::max();
    }
  }
  if (negative) return number;
  return number == Limits::min() ? Limits::max() : -number;
}

std::size_t utf16Length(std::string_view text) noexcept {
  std::size_t length = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    // Every character has one byte that does not continue another; four bytes make two units.
    if ((byte & 0xC0U) != 0x80) ++length;
    if (byte >= 0xF0) ++length;
  }
  return length;
}

}  // namespace tarnwell
