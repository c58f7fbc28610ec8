#pragma once

#include "tarnwell/protocol/TWBuild.h"

namespace tarnwell {

/// The first builds of the releases that something in EWS came with or went with.
inline constexpr TWBuild kExchange2007{8, 0};
inline constexpr TWBuild kExchange2007SP1{8, 1};
inline constexpr TWBuild kExchange2010{14, 0};
inline constexpr TWBuild kExchange2010SP1{14, 1};
inline constexpr TWBuild kExchange2010SP2{14, 2};
inline constexpr TWBuild kExchange2013{15, 0};
inline constexpr TWBuild kExchange2013SP1{15, 0, 847};
inline constexpr TWBuild kExchange2016{15, 1};

}  // namespace tarnwell
