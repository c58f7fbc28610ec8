#pragma once

#include <chrono>

namespace tarnwell {

/// A point in time, in milliseconds of UTC. EWS texts carry whole seconds.
using TWInstant = std::chrono::sys_time<std::chrono::milliseconds>;

}  // namespace tarnwell
