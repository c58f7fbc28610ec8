#include "tarnwell/time/detail/DefaultZone.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "tarnwell/time/TWTimeZone.h"
#include "tarnwell/time/detail/WindowsZones.h"

namespace tarnwell::detail {
namespace {

namespace fs = std::filesystem;
using std::chrono::sys_seconds;
using OffsetAt = std::function<std::chrono::seconds(sys_seconds)>;

constexpr std::string_view kUTC = "Etc/UTC";

bool isKnown(std::string_view name) { return TWTimeZone::fromTimeZone(name).has_value(); }

// "Europe/Berlin" of ".../zoneinfo/Europe/Berlin". The database also keeps copies below "posix" and
// "right", and macOS calls its directory "zoneinfo.default".
std::optional<std::string> nameInDatabase(const fs::path& path) {
  const auto isDatabase = [](const fs::path& part) {
    return part.native().starts_with("zoneinfo");
  };
  auto part = std::find_if(path.begin(), path.end(), isDatabase);
  if (part == path.end()) return std::nullopt;
  ++part;
  if (part != path.end() && (*part == "posix" || *part == "right")) ++part;
  fs::path name;
  for (; part != path.end(); ++part) name /= *part;
  return isKnown(name.native()) ? std::optional(name.native()) : std::nullopt;
}

// Links are followed one by one, so that an alias in the database stays that alias.
std::optional<std::string> nameOfPath(fs::path path) {
  std::error_code error;
  for (int hop = 0; hop < 16; ++hop) {
    if (auto name = nameInDatabase(path)) return name;
    const fs::path target = fs::read_symlink(path, error);
    if (error) break;
    path = (path.parent_path() / target).lexically_normal();
  }
  const fs::path canonical = fs::canonical(path, error);  // when a directory is the link
  return error ? std::nullopt : nameInDatabase(canonical);
}

std::optional<std::string> nameInFile(const fs::path& path) {
  std::ifstream file(path);
  std::string name;
  if (!(file >> name) || !isKnown(name)) return std::nullopt;
  return name;
}

// The zone of the table that has the present offset and, hour by hour for a year, most of the
// others; of several that have equally many the first, zones of fixed offset coming first.
// Often none has all: a rule without dates ("CET-1CEST") changes the clocks of Europe, too, on the
// dates that the C library has for all such rules, which are the American ones.
std::optional<std::string> nameByOffsets(const OffsetAt& offsetAt, sys_seconds now) {
  if (!offsetAt) return std::nullopt;
  constexpr int kHours = 366 * 24;
  std::vector<std::chrono::seconds> offsets;
  offsets.reserve(kHours);
  for (int hour = 0; hour < kHours; ++hour)
    offsets.push_back(offsetAt(now + std::chrono::hours(hour)));

  std::string_view best;
  int most = 0;
  const auto consider = [&](std::string_view name) {
    const auto zone = TWTimeZone::fromTimeZone(name);
    if (most == kHours || !zone || zone->offsetAt(now) != offsets.front()) return;
    int agreeing = 0;
    for (int hour = 0; hour < kHours; ++hour)
      if (zone->offsetAt(now + std::chrono::hours(hour)) == offsets[static_cast<std::size_t>(hour)])
        ++agreeing;
    if (agreeing <= most) return;
    best = name;
    most = agreeing;
  };

  consider(kUTC);
  for (const auto& [zone, windowsName] : windowsNamesByZone())
    if (zone.starts_with("Etc/")) consider(zone);
  for (const auto& [windowsName, zone] : zonesByWindowsName()) consider(zone);
  return most > 0 ? std::optional<std::string>(best) : std::nullopt;
}

// A name that the system's files tell may be out of date: a copied zone file beside an old name, or
// another zone's file mounted where a link leads. Half a year later summer time is told apart.
// ICU's edition of the zones may be older than the system's: where rules have changed since, as a
// rule summer time was given up or brought back, the right name still has one of the two offsets.
// Zones of fixed offset never change, and are what images of containers are made with.
std::optional<std::string> checked(std::optional<std::string> name, const ZoneSources& sources) {
  if (!name || !sources.offsetAt) return name;
  const auto zone = TWTimeZone::fromTimeZone(*name);
  const auto agreesAt = [&](sys_seconds at) { return zone->offsetAt(at) == sources.offsetAt(at); };
  const bool isNow = agreesAt(sources.now);
  const bool isLater = agreesAt(sources.now + std::chrono::hours(183 * 24));
  const bool isFixed = name->starts_with("Etc/") || name->find('/') == std::string::npos;
  return (isFixed ? isNow && isLater : isNow || isLater) ? name : std::nullopt;
}

std::optional<std::string> nameOfTZ(const ZoneSources& sources) {
  std::string_view tz = *sources.tz;
  if (tz.starts_with(':')) tz.remove_prefix(1);
  if (tz.empty()) return std::string(kUTC);
  if (isKnown(tz)) return std::string(tz);
  // A relative path is one into the database.
  return checked(
      nameOfPath(tz.starts_with('/') ? fs::path(tz) : "/usr/share/zoneinfo" / fs::path(tz)),
      sources);
}

std::optional<std::string> nameOfSystem(const ZoneSources& sources) {
  if (auto name = checked(nameOfPath(sources.localtime), sources)) return name;
  return checked(nameInFile(sources.timezone), sources);
}

}  // namespace

ZoneSources deviceZoneSources() {
  ZoneSources sources;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): read once, and nothing here writes it
  if (const char* tz = std::getenv("TZ")) sources.tz = tz;
  sources.localtime = "/etc/localtime";
  sources.timezone = "/etc/timezone";
  sources.now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  sources.offsetAt = [](sys_seconds instant) {
    const auto time = static_cast<std::time_t>(instant.time_since_epoch().count());
    std::tm local{};
    return std::chrono::seconds(localtime_r(&time, &local) ? local.tm_gmtoff : 0);
  };
  return sources;
}

std::string resolveZoneName(const ZoneSources& sources) {
  std::optional<std::string> name = sources.tz ? nameOfTZ(sources) : nameOfSystem(sources);
  // TZ may hold rules or nonsense, and the system's zone file may be a copy, which has no name.
  if (!name) name = nameByOffsets(sources.offsetAt, sources.now);
  return name.value_or(std::string(kUTC));
}

}  // namespace tarnwell::detail
