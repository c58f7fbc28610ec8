#include "tarnwell/time/detail/WindowsZones.h"

namespace tarnwell::detail {
namespace {

struct Row {
  const char* zone;
  const char* windowsName;
  bool principal;  // the one zone that speaks for the Windows name; the generator sees to it
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
    for (const Row& row : kRows)
      if (row.principal) built->emplace(row.windowsName, row.zone);
    return built;
  }();
  return map;
}

}  // namespace tarnwell::detail
