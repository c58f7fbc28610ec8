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
/// EWS knows zones by Windows names ("W. Europe Standard Time"); `mszone` and `fromMSTimeZone`
/// convert. A small immutable value; copying costs one reference count. Safe to use from any
/// thread.
class TWTimeZone {
 public:
  /// "Etc/UTC".
  TWTimeZone() noexcept = default;

  /// The zone with that IANA name, matched exactly; absent when the name is unknown, as are
  /// abbreviations that mean one zone here and another there ("BST", "IST"). The name is kept as
  /// given: an alias ("Asia/Calcutta") stays that alias.
  [[nodiscard]] static std::optional<TWTimeZone> fromTimeZone(std::string_view name);
  /// The zone for a Windows name, matched exactly. A text that is no Windows name is tried as an
  /// IANA name. Where several zones share a Windows name (`TWDateTime::MSToNSTimezoneMap`), the one
  /// that stands for it everywhere rather than in one country is taken.
  [[nodiscard]] static std::optional<TWTimeZone> fromMSTimeZone(std::string_view windowsName);

  /// The device's default zone, read at the first call: the environment variable TZ, or the
  /// system's setting when that is not set, else "Etc/UTC". Always a zone with an IANA name.
  ///
  /// TZ is a name, with or without a leading ":", or a path, which is resolved to the name of its
  /// zone. For anything else, such as a rule ("CET-1CEST,M3.5.0,M10.5.0/3"), a zone is taken that
  /// has the C library's offsets for the coming year; if none has all of them, one that has the
  /// present offset and as many of the others as can be had. That is "Etc/UTC" for a TZ that means
  /// nothing, and for an offset that no zone has.
  [[nodiscard]] static TWTimeZone defaultZone();
  /// Replaces the default zone of the process, for tests and for applications with a setting of
  /// their own. What other threads are printing meanwhile uses the one zone or the other.
  static void setDefaultZone(const TWTimeZone& zone);

  /// The IANA name, as given.
  [[nodiscard]] const std::string& name() const noexcept;
  /// The Windows name. A zone that the table lacks is sent under its IANA name.
  [[nodiscard]] std::string mszone() const;

  /// Offset from UTC at that instant, east of Greenwich positive, daylight saving included. Before
  /// the days of standard time it may have odd seconds (local mean time).
  [[nodiscard]] std::chrono::seconds offsetAt(TWInstant instant) const;
  /// The part of the offset that is daylight saving; zero when none is in force.
  [[nodiscard]] std::chrono::seconds daylightSavingOffsetAt(TWInstant instant) const;

  /// The instant as local text, pattern "yyyy-mm-dd HH:mm:ssZZZZ", for example
  /// "2020-30-15 10:30:05GMT+02:00": the minutes stand in the month's place, deliberately. With
  /// `isDst` and daylight saving in force, the daylight-saving offset is added to the instant
  /// first, so that the clock is that much ahead.
  [[nodiscard]] std::string localize(TWInstant instant, bool isDst = false) const;
  std::string localize(TWInstant instant, auto isDst) const = delete;

  /// Equal when the names are.
  [[nodiscard]] bool isEqual(const TWTimeZone& other) const noexcept;
  friend bool operator==(const TWTimeZone& a, const TWTimeZone& b) noexcept { return a.isEqual(b); }
  [[nodiscard]] std::size_t hash() const noexcept { return std::hash<std::string>{}(name()); }
  /// The IANA name.
  [[nodiscard]] std::string description() const { return name(); }
  friend std::ostream& operator<<(std::ostream& stream, const TWTimeZone& zone);

 private:
  struct Rep;
  explicit TWTimeZone(std::shared_ptr<const Rep> rep) noexcept;
  [[nodiscard]] const Rep& rep() const noexcept;

  std::shared_ptr<const Rep> rep_;  // null: "Etc/UTC"
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::TWTimeZone> {
  std::size_t operator()(const tarnwell::TWTimeZone& zone) const noexcept { return zone.hash(); }
};
