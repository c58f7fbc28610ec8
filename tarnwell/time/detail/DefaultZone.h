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
/// A TZ that is set decides alone, with its leading ":" stripped: a name, or a path into the zone
/// database. For anything else, be it a rule ("CET-1CEST"), a file without a name or nonsense, the
/// zone is the one that comes nearest to what the C library makes of it: it has the offset of `now`
/// and, of the hours of a year from `now`, as many as can be had. When no zone has that offset, and
/// for an empty TZ, it is "Etc/UTC". Without TZ the system's setting is read in the same way. The
/// name of a file counts only while the C library's offsets are those of that zone.
[[nodiscard]] std::string resolveZoneName(const ZoneSources& sources);

}  // namespace tarnwell::detail
