#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/time/TWInstant.h"

namespace tarnwell {

/// Dates and times as EWS writes them, and the table of zone names.
///
///     auto instant = TWDateTime::dateTimeFromString("2020-07-15T12:20:30+02:00");
///     if (instant) std::cout << TWDateTime::iso8601String(*instant);
///
/// Everything here is safe to call from any thread.
class TWDateTime {
 public:
  /// One kind of zone name to another. Names are looked up exactly.
  using ZoneMap = std::map<std::string, std::string, std::less<>>;

  TWDateTime() = delete;

  /// The instant of an xs:dateTime text: "yyyy-MM-ddTHH:mm:ss" followed by "Z", by nothing (also
  /// UTC), or by an offset such as "+02:00", "-0530" or "+00:53:28" (which `iso8601String` prints
  /// for days before standard time). Absent when the whole text is not exactly that, names no real
  /// date, or has fractions of a second. The calendar is the Gregorian one at all times.
  [[nodiscard]] static std::optional<TWInstant> dateTimeFromString(std::string_view text) noexcept;

  /// The instant of an xs:date text, read in the device's default zone.
  ///
  /// The patterns are "yyyy-mm-dd", "yyyy-mm-ddZ", "yyyy-mm-dd+HH:mm" and "yyyy-mm-dd-HH:mm", and
  /// "mm" are minutes, deliberately: the digits of the month are minutes past midnight, the month
  /// is always January, and what looks like an offset is the time of day (its minutes then win). So
  /// "2020-07-15" is 15 January 2020, 00:07. Absent when the text matches none of them, and when
  /// that clock time was skipped in the zone; of a time that came twice the later one is taken.
  [[nodiscard]] static std::optional<TWInstant> dateFromString(std::string_view text);

  /// The instant as xs:dateTime text with its offset, in the device's default zone: "Z" for offset
  /// zero, else "+HH:mm" ("+HH:mm:ss" before the days of standard time). Milliseconds are cut off.
  ///
  /// Years before 1 and after 9999 are printed as ISO 8601 has them ("-0043-03-15T...", year 0
  /// being 1 BC); such texts do not parse back.
  [[nodiscard]] static std::string iso8601String(TWInstant instant);

  /// IANA zone name to Windows zone name, 460 entries. The same object at each call.
  [[nodiscard]] static const ZoneMap& NSToMSTimezoneMap();
  /// Windows zone name to one IANA zone name. The zones of a Windows name are gone through in
  /// alphabetical order and its principal one ("001" in CLDR) last, and the last counts. The same
  /// object at each call.
  [[nodiscard]] static const ZoneMap& MSToNSTimezoneMap();

  /// Takes the downloaded table from IANA to Windows names: absent when the download failed, empty
  /// when what came is well-formed XML of another kind, such as a page about an error.
  using ZoneMapCallback = std::function<void(std::optional<ZoneMap>)>;

  /// Downloads the current table that `NSToMSTimezoneMap` is an edition of; the table in the
  /// library stays as it is. Nothing in the library calls this.
  ///
  /// Returns at once. The callback is called exactly once, from a thread of the library's, and must
  /// not throw or wait for ever. When there can be no such thread, because none can be started or
  /// the process has begun to end, the calling thread calls it with the absent table before this
  /// returns. Downloads run one after the other, each for five minutes at most; those that have not
  /// finished when the process ends are cancelled, and their callbacks get the absent table. A
  /// failure is told on the standard error stream.
  static void fetchTZMapWithCompletionBlock(ZoneMapCallback callback);
  /// The same from another address.
  static void fetchTZMapWithCompletionBlock(std::string url, ZoneMapCallback callback);
};

}  // namespace tarnwell
