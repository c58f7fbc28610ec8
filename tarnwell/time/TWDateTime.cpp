#include "tarnwell/time/TWDateTime.h"

#include <chrono>
#include <cstdint>
#include <utility>

#include "tarnwell/time/TWTimeZone.h"
#include "tarnwell/time/detail/DateTimeText.h"
#include "tarnwell/time/detail/WindowsZones.h"
#include "tarnwell/time/detail/ZoneMapDownload.h"

namespace tarnwell {
namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;

// The instant at which the zone's clocks show that many seconds since 1970: the later of two,
// absent when the clocks skip that time.
std::optional<TWInstant> instantOfLocalTime(seconds local, const TWTimeZone& zone) {
  // Offsets lie within a day, so a day on either side is before and after any change at that time.
  for (const int day : {1, -1}) {
    const seconds offset = zone.offsetAt(sys_seconds(local + std::chrono::days(day)));
    const sys_seconds instant(local - offset);
    if (zone.offsetAt(instant) == offset) return instant;
  }
  return std::nullopt;
}

}  // namespace

std::optional<TWInstant> TWDateTime::dateTimeFromString(std::string_view text) noexcept {
  const std::optional<std::int64_t> count = detail::parseDateTime(text);
  if (!count) return std::nullopt;
  return sys_seconds(seconds(*count));
}

std::optional<TWInstant> TWDateTime::dateFromString(std::string_view text) {
  const std::optional<detail::CivilTime> local = detail::parseDate(text);
  if (!local) return std::nullopt;
  return instantOfLocalTime(seconds(detail::secondsSinceEpoch(*local)), TWTimeZone::defaultZone());
}

std::string TWDateTime::iso8601String(TWInstant instant) {
  const seconds offset = TWTimeZone::defaultZone().offsetAt(instant);
  const seconds local = std::chrono::floor<seconds>(instant).time_since_epoch() + offset;
  return detail::printDateTime(detail::civilTime(local.count()), static_cast<int>(offset.count()));
}

const TWDateTime::ZoneMap& TWDateTime::NSToMSTimezoneMap() { return detail::windowsNamesByZone(); }

const TWDateTime::ZoneMap& TWDateTime::MSToNSTimezoneMap() { return detail::zonesByWindowsName(); }

void TWDateTime::fetchTZMapWithCompletionBlock(ZoneMapCallback callback) {
  detail::ZoneMapDownload::shared().fetchCurrent(std::move(callback));
}

void TWDateTime::fetchTZMapWithCompletionBlock(std::string url, ZoneMapCallback callback) {
  detail::ZoneMapDownload::shared().fetch(std::move(url), std::move(callback));
}

}  // namespace tarnwell
