#pragma once

#include <functional>
#include <map>
#include <string>

namespace tarnwell::detail {

using ZoneMap = std::map<std::string, std::string, std::less<>>;

/// IANA zone name to Windows zone name. Built on first use, never destroyed; safe from any thread.
[[nodiscard]] const ZoneMap& windowsNamesByZone();

/// Windows zone name to one IANA zone name. Built on first use, never destroyed; safe from any
/// thread.
[[nodiscard]] const ZoneMap& zonesByWindowsName();

}  // namespace tarnwell::detail
