#pragma once

#include <string>
#include <string_view>

#include "sandbox/items/PropertyPath.h"

namespace tarnwell::sandbox {

/// Below, at or above 0 as `a` is smaller, equal or greater, by the type of what the path names:
/// times, numbers and choices by their meaning, anything else letter by letter. A value that its
/// type does not have is smaller than all that it has.
[[nodiscard]] int compareValues(const PropertyPath& path, const std::string& a,
                                const std::string& b);
/// Whether the type of what the path names has that value.
[[nodiscard]] bool isValueOf(const PropertyPath& path, const std::string& value);

/// Letters in lower case: those of ASCII, Latin-1, Greek and Cyrillic; others stay.
[[nodiscard]] std::string foldCase(std::string_view text);

}  // namespace tarnwell::sandbox
