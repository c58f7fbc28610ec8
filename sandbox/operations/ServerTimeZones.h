#pragma once

#include <span>
#include <string_view>

namespace tarnwell::sandbox {

/// When a zone's summer begins and ends. Weeks count from 1, -1 is the month's last; the day of
/// week is always Sunday. A rule whose months are 0 has no summer.
struct SummerRule {
  int beginMonth = 0;
  int beginWeek = 0;
  int beginHour = 0;
  int endMonth = 0;
  int endWeek = 0;
  int endHour = 0;
};

/// A time zone under the name that Windows has for it.
struct ServerTimeZone {
  std::string_view id;
  std::string_view name;
  /// Of standard time, east of Greenwich positive.
  int offsetMinutes;
  SummerRule summer;
};

/// From the west to the east.
[[nodiscard]] std::span<const ServerTimeZone> serverTimeZones();

}  // namespace tarnwell::sandbox
