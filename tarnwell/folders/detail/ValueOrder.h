#pragma once

namespace tarnwell {

class TWValue;

namespace detail {

/// The order in which query sets sort values: by kind first, the absent ones before all others,
/// then by value; texts by code unit, what is no number (NaN) after all numbers.
[[nodiscard]] bool isBefore(const TWValue& a, const TWValue& b);

}  // namespace detail
}  // namespace tarnwell
