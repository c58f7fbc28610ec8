#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tarnwell::detail {

/// Where a device says which zone it is in.
struct ZoneSources {
  /// The environment variable TZ; absent when it is not set.
  std::optional<std::string> tz;
  /// The system's zone file, a symbolic link to one of the zone database ("/etc/localtime").
  std::filesystem::path localtime;
  /// A file whose first line names the system's zone ("/etc/timezone"); some systems have it.
  std::filesystem::path timezone;
  /// The offset from UTC that the C library uses at an instant, for settings that have no name, and
  /// the instant from which it counts. Not asked when empty.
  std::function<std::chrono::seconds(std::chrono::sys_seconds)> offsetAt;
  std::chrono::sys_seconds now{};
};

/// The sources of this process.
[[nodiscard]] ZoneSources deviceZoneSources();

/// The name of the zone that the sources tell; always the name of a known zone.
///
/// TZ comes first, with its leading ":" stripped: a name, a path into the zone database, or a rule
/// ("CET-1CEST"), for which a zone is taken that has the same offsets for a year from `now`. An
/// empty TZ is UTC. A value that says nothing falls to the system's setting, and that to "Etc/UTC".
[[nodiscard]] std::string resolveZoneName(const ZoneSources& sources);

}  // namespace tarnwell::detail
