#include "sandbox/store/Times.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace tarnwell::sandbox {
namespace {

/// Takes numbers of fixed widths off the front of a text.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  /// -1 when that many digits do not follow.
  int number(std::size_t digits) {
    if (text_.size() < digits) return -1;
    int value = 0;
    for (const char c : text_.substr(0, digits)) {
      if (c < '0' || c > '9') return -1;
      value = value * 10 + (c - '0');
    }
    text_.remove_prefix(digits);
    return value;
  }
  bool take(char c) {
    if (!text_.starts_with(c)) return false;
    text_.remove_prefix(1);
    return true;
  }
  void skipDigits() {
    while (!text_.empty() && text_.front() >= '0' && text_.front() <= '9') text_.remove_prefix(1);
  }
  [[nodiscard]] bool atEnd() const { return text_.empty(); }

 private:
  std::string_view text_;
};

/// The offset from UTC in seconds at the end of the text; absent when something else stands there.
std::optional<int> readZone(Scanner& scanner) {
  if (scanner.atEnd()) return 0;
  if (scanner.take('Z')) return scanner.atEnd() ? std::optional(0) : std::nullopt;
  const int sign = scanner.take('+') ? 1 : scanner.take('-') ? -1 : 0;
  const int hours = scanner.number(2);
  const bool colon = scanner.take(':');
  const int minutes = scanner.number(2);
  if (sign == 0 || !colon || hours < 0 || hours > 14 || minutes < 0 || minutes > 59 ||
      !scanner.atEnd()) {
    return std::nullopt;
  }
  return sign * (hours * 60 + minutes) * 60;
}

}  // namespace

std::optional<std::int64_t> readTime(std::string_view text) {
  Scanner scanner(text);
  const int year = scanner.number(4);
  const bool firstDash = scanner.take('-');
  const int month = scanner.number(2);
  const bool secondDash = scanner.take('-');
  const int day = scanner.number(2);
  if (year < 0 || !firstDash || !secondDash || month < 1 || day < 1) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return std::nullopt;
  int seconds = 0;
  if (scanner.take('T')) {
    const int hour = scanner.number(2);
    const bool firstColon = scanner.take(':');
    const int minute = scanner.number(2);
    const bool secondColon = scanner.take(':');
    const int second = scanner.number(2);
    if (!firstColon || !secondColon || hour < 0 || hour > 23 || minute < 0 || minute > 59 ||
        second < 0 || second > 59) {
      return std::nullopt;
    }
    if (scanner.take('.')) scanner.skipDigits();
    seconds = (hour * 60 + minute) * 60 + second;
  }
  const std::optional<int> zone = readZone(scanner);
  if (!zone) return std::nullopt;
  const auto days = std::chrono::sys_days(date).time_since_epoch().count();
  return std::int64_t{days} * 86400 + seconds - *zone;
}

std::string timeText(std::int64_t seconds) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text.data();
}

std::string timeNow() {
  return timeText(std::chrono::duration_cast<std::chrono::seconds>(
                      std::chrono::system_clock::now().time_since_epoch())
                      .count());
}

}  // namespace tarnwell::sandbox
