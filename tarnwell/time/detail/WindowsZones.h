#pragma once

#include "tarnwell/time/TWDateTime.h"

namespace tarnwell::detail {

using ZoneMap = TWDateTime::ZoneMap;

/// IANA zone name to Windows zone name. Built on first use, never destroyed; safe from any thread.
[[nodiscard]] const ZoneMap& windowsNamesByZone();

/// Windows zone name to one IANA zone name. Built on first use, never destroyed; safe from any
/// thread.
[[nodiscard]] const ZoneMap& zonesByWindowsName();

}  // namespace tarnwell::detail
