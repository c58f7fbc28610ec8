#include "tarnwell/time/detail/DateTimeText.h"

#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdlib>

namespace tarnwell::detail {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kDaysPerEra = 146097;  // 400 years, after which the calendar repeats

constexpr std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) noexcept {
  return value / divisor - (value % divisor < 0 ? 1 : 0);
}

constexpr bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// True when the text has a digit wherever the shape has a "0" and is equal to the shape elsewhere.
bool hasShape(std::string_view text, std::string_view shape) noexcept {
  if (text.size() != shape.size()) return false;
  for (std::size_t i = 0; i < shape.size(); ++i)
    if (shape[i] == '0' ? !isDigit(text[i]) : text[i] != shape[i]) return false;
  return true;
}

// The number at that place of a text whose digits hasShape() has seen.
int number(std::string_view text, std::size_t position, std::size_t width) noexcept {
  int value = 0;
  for (std::size_t i = position; i < position + width; ++i) value = value * 10 + (text[i] - '0');
  return value;
}

bool isRealTime(const CivilTime& time) noexcept {
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(time.year)),
                                         std::chrono::month(static_cast<unsigned>(time.month)),
                                         std::chrono::day(static_cast<unsigned>(time.day))};
  return time.year >= 1 && date.ok() && time.hour <= 23 && time.minute <= 59 && time.second <= 59;
}

// The offset that a date-time text ends with, in seconds; no text is offset zero.
std::optional<int> parseOffset(std::string_view text) noexcept {
  if (text.empty() || text == "Z") return 0;
  if (text[0] != '+' && text[0] != '-') return std::nullopt;
  const std::string_view digits = text.substr(1);
  const bool colons = hasShape(digits, "00:00") || hasShape(digits, "00:00:00");
  if (!colons && !hasShape(digits, "0000")) return std::nullopt;

  const int hours = number(digits, 0, 2);
  const int minutes = number(digits, colons ? 3 : 2, 2);
  // Zones had seconds before clocks were set by treaty. We print them, so we read them.
  const int seconds = digits.size() > 5 ? number(digits, 6, 2) : 0;
  if (hours > 23 || minutes > 59 || seconds > 59) return std::nullopt;
  const int offset = hours * 3600 + minutes * 60 + seconds;
  return text[0] == '-' ? -offset : offset;
}

// At least `width` digits. Years outside 0 to 9999 are the only numbers that need a sign or more.
void appendNumber(std::string& out, std::int64_t value, std::size_t width) {
  char buffer[24];
  if (value < 0) out += '-';
  const auto magnitude = static_cast<std::uint64_t>(value < 0 ? -value : value);
  const char* end = std::to_chars(std::begin(buffer), std::end(buffer), magnitude).ptr;
  const auto length = static_cast<std::size_t>(end - buffer);
  if (length < width) out.append(width - length, '0');
  out.append(buffer, length);
}

void appendClock(std::string& out, int hour, int minute, int second) {
  appendNumber(out, hour, 2);
  out += ':';
  appendNumber(out, minute, 2);
  out += ':';
  appendNumber(out, second, 2);
}

void appendOffset(std::string& out, int offsetSeconds) {
  const int magnitude = std::abs(offsetSeconds);
  out += offsetSeconds < 0 ? '-' : '+';
  appendNumber(out, magnitude / 3600, 2);
  out += ':';
  appendNumber(out, magnitude / 60 % 60, 2);
  if (magnitude % 60 == 0) return;
  out += ':';
  appendNumber(out, magnitude % 60, 2);
}

// "yyyy-nn-dd", a separator, "HH:mm:ss".
std::string datedClock(const CivilTime& time, int inTheMonthsPlace, char separator) {
  std::string out;
  out.reserve(32);
  appendNumber(out, time.year, 4);
  out += '-';
  appendNumber(out, inTheMonthsPlace, 2);
  out += '-';
  appendNumber(out, time.day, 2);
  out += separator;
  appendClock(out, time.hour, time.minute, time.second);
  return out;
}

}  // namespace

// std::chrono's calendar ends at the year 32767; an instant does not. The count of days is taken
// from 1 March of year 0, so that the leap day is the last of its year.
CivilTime civilTime(std::int64_t seconds) noexcept {
  const std::int64_t days = floorDivide(seconds, kSecondsPerDay);
  const auto clock = static_cast<int>(seconds - days * kSecondsPerDay);
  const std::int64_t shifted = days + 719468;
  const std::int64_t era = floorDivide(shifted, kDaysPerEra);
  const auto dayOfEra = static_cast<int>(shifted - era * kDaysPerEra);
  const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const int monthFromMarch = (5 * dayOfYear + 2) / 153;
  const int month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
  return {.year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0),
          .month = month,
          .day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1,
          .hour = clock / 3600,
          .minute = clock / 60 % 60,
          .second = clock % 60};
}

std::int64_t secondsSinceEpoch(const CivilTime& time) noexcept {
  const std::int64_t year = time.year - (time.month <= 2 ? 1 : 0);
  const std::int64_t era = floorDivide(year, 400);
  const std::int64_t yearOfEra = year - era * 400;
  const int monthFromMarch = time.month > 2 ? time.month - 3 : time.month + 9;
  const std::int64_t dayOfYear = (153 * monthFromMarch + 2) / 5 + time.day - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  const std::int64_t days = era * kDaysPerEra + dayOfEra - 719468;
  return days * kSecondsPerDay + std::int64_t{time.hour} * 3600 + std::int64_t{time.minute} * 60 +
         time.second;
}

std::optional<std::int64_t> parseDateTime(std::string_view text) noexcept {
  constexpr std::string_view kShape = "0000-00-00T00:00:00";
  if (!hasShape(text.substr(0, kShape.size()), kShape)) return std::nullopt;
  const CivilTime time{.year = number(text, 0, 4),
                       .month = number(text, 5, 2),
                       .day = number(text, 8, 2),
                       .hour = number(text, 11, 2),
                       .minute = number(text, 14, 2),
                       .second = number(text, 17, 2)};
  if (!isRealTime(time)) return std::nullopt;
  const std::optional<int> offset = parseOffset(text.substr(kShape.size()));
  if (!offset) return std::nullopt;
  return secondsSinceEpoch(time) - *offset;
}

std::optional<CivilTime> parseDate(std::string_view text) noexcept {
  // The month's digits are minutes and a zone's offset is a time of day. This is deliberate: dates
  // that were stored or compared by this reading must keep it.
  constexpr std::string_view kDate = "0000-00-00";
  const bool clock = hasShape(text, "0000-00-00+00:00") || hasShape(text, "0000-00-00-00:00");
  if (!clock && !hasShape(text, kDate) && !hasShape(text, "0000-00-00Z")) return std::nullopt;

  const int monthDigits = number(text, 5, 2);
  if (monthDigits > 59) return std::nullopt;
  const CivilTime time{.year = number(text, 0, 4),
                       .month = 1,
                       .day = number(text, 8, 2),
                       .hour = clock ? number(text, 11, 2) : 0,
                       .minute = clock ? number(text, 14, 2) : monthDigits,
                       .second = 0};
  return isRealTime(time) ? std::optional(time) : std::nullopt;
}

std::string printDateTime(const CivilTime& local, int offsetSeconds) {
  std::string out = datedClock(local, local.month, 'T');
  if (offsetSeconds == 0)
    out += 'Z';
  else
    appendOffset(out, offsetSeconds);
  return out;
}

std::string printLocalized(const CivilTime& local, int offsetSeconds) {
  std::string out = datedClock(local, local.minute, ' ');  // minutes for the month, deliberately
  out += "GMT";
  if (offsetSeconds != 0) appendOffset(out, offsetSeconds);
  return out;
}

}  // namespace tarnwell::detail
