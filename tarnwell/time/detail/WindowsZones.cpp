#include "tarnwell/time/detail/WindowsZones.h"

namespace tarnwell::detail {
namespace {

struct Row {
  const char* zone;
  const char* windowsName;
  bool principal;  // the one zone of several that speaks for the Windows name
};

constexpr Row kRows[] = {
#include "WindowsZones.inc"
};

}  // namespace

const ZoneMap& windowsNamesByZone() {
  static const ZoneMap& map = *[] {
    auto* built = new ZoneMap;
    for (const Row& row : kRows) built->emplace_hint(built->end(), row.zone, row.windowsName);
    return built;
  }();
  return map;
}

const ZoneMap& zonesByWindowsName() {
  static const ZoneMap& map = *[] {
    auto* built = new ZoneMap;
    // The last one stored stays: the zones in alphabetical order, then the principal ones.
    for (const auto& [zone, windowsName] : windowsNamesByZone())
      built->insert_or_assign(windowsName, zone);
    for (const Row& row : kRows)
      if (row.principal) built->insert_or_assign(row.windowsName, row.zone);
    return built;
  }();
  return map;
}

}  // namespace tarnwell::detail
