#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// A message with values filled in, so that every text of the library stands in the code exactly as
/// it is printed.
///
/// "%@" takes the next value's description ("(null)" when it is absent), "%lu", "%ld", "%u", "%d"
/// and "%i" an integer, "%.Nf" a number with N decimals, "%%" a percent sign. Anything else, and a
/// place for which no value is left, stays as it is. The values are never read as formats.
///
///     formatMessage("[%@] Using auth type: %lu", {user, 2})   // "[ann] Using auth type: 2"
[[nodiscard]] std::string formatMessage(std::string_view format,
                                        std::initializer_list<TWValue> values);

}  // namespace tarnwell
