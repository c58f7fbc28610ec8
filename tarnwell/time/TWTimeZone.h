#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/time/TWInstant.h"

namespace tarnwell {

/// A time zone, known by its IANA name ("Europe/Berlin").
///
/// EWS knows zones by Windows names ("W. Europe Standard Time"); `mszone` and `fromMSTimeZone` convert.
/// A small immutable value; copying costs one reference count. Safe to use from any thread.
class TWTimeZone {
 public:
  /// "Etc/UTC".
  TWTimeZone();

  /// The zone with that IANA name; absent when the name is unknown. The name is kept as given: an
  /// alias ("Asia/Calcutta") stays that alias.
  [[nodiscard]] static std::optional<TWTimeZone> fromTimeZone(std::string_view name);
  /// The zone for a Windows name. A text that is no Windows name is tried as an IANA name.
  [[nodiscard]] static std::optional<TWTimeZone> fromMSTimeZone(std::string_view windowsName);

  /// The device's default zone, read once: TZ (a leading ":" stripped, a path resolved to the name of
  /// its zone), else the system's setting, else "Etc/UTC".
  [[nodiscard]] static TWTimeZone defaultZone();
  /// Replaces the default zone, for tests and for applications with a setting of their own.
  static void setDefaultZone(const TWTimeZone& zone);

  /// The IANA name, as given.
  [[nodiscard]] const std::string& name() const noexcept;
  /// The Windows name. A zone that the table lacks is sent under its IANA name.
  [[nodiscard]] std::string mszone() const;

  /// Offset from UTC at that instant, daylight saving included.
  [[nodiscard]] std::chrono::seconds offsetAt(TWInstant instant) const;
  /// The part of the offset that is daylight saving; zero when none is in force.
  [[nodiscard]] std::chrono::seconds daylightSavingOffsetAt(TWInstant instant) const;

  /// The instant as local text, pattern "yyyy-mm-dd HH:mm:ssZZZZ": the minutes stand in the month's
  /// place, deliberately. With `isDst` and daylight saving in force, the daylight-saving offset is
  /// added to the instant first.
  [[nodiscard]] std::string localize(TWInstant instant, bool isDst = false) const;

  /// Equal when the names are.
  friend bool operator==(const TWTimeZone& a, const TWTimeZone& b) noexcept;
  /// The IANA name.
  friend std::ostream& operator<<(std::ostream& stream, const TWTimeZone& zone);

 private:
  struct Rep;
  explicit TWTimeZone(std::shared_ptr<const Rep> rep) noexcept;
  std::shared_ptr<const Rep> rep_;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::TWTimeZone> {
  std::size_t operator()(const tarnwell::TWTimeZone& zone) const noexcept {
    return std::hash<std::string>{}(zone.name());
  }
};
