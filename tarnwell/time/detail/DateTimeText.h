#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell::detail {

/// A reading of the calendar and the clock: the Gregorian calendar at all times, year 0 being 1 BC.
struct CivilTime {
  std::int64_t year = 1970;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;

  friend bool operator==(const CivilTime&, const CivilTime&) = default;
};

/// Seconds since 1970-01-01T00:00:00 on the same clock, and back. Any count whose year fits is
/// read.
[[nodiscard]] CivilTime civilTime(std::int64_t seconds) noexcept;
[[nodiscard]] std::int64_t secondsSinceEpoch(const CivilTime& time) noexcept;

/// The seconds of UTC since 1970 that an xs:dateTime text names. Absent unless the whole text is
/// one of "yyyy-MM-ddTHH:mm:ss" (UTC), the same with "Z", or with an offset "+HH:mm", "+HHmm" or
/// "+HH:mm:ss".
[[nodiscard]] std::optional<std::int64_t> parseDateTime(std::string_view text) noexcept;

/// What a date text says, on a clock whose zone the text does not tell. Absent unless the whole
/// text has one of the patterns "yyyy-mm-dd", "yyyy-mm-ddZ", "yyyy-mm-dd+HH:mm" and
/// "yyyy-mm-dd-HH:mm", in which "mm" are minutes and the month is always January.
[[nodiscard]] std::optional<CivilTime> parseDate(std::string_view text) noexcept;

/// "yyyy-MM-ddTHH:mm:ss" and the offset: "Z", "+HH:mm", or "+HH:mm:ss" when it has seconds.
[[nodiscard]] std::string printDateTime(const CivilTime& local, int offsetSeconds);

/// "yyyy-mm-dd HH:mm:ss", minutes in the month's place, and the offset: "GMT", "GMT+HH:mm", or
/// "GMT+HH:mm:ss" when it has seconds.
[[nodiscard]] std::string printLocalized(const CivilTime& local, int offsetSeconds);

}  // namespace tarnwell::detail
